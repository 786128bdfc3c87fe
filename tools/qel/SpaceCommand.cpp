#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "Listing.h"
#include "QelClients.h"

namespace {

struct Arguments {
    std::vector<std::string> size;
    std::vector<double> dpi;
    std::optional<std::string> convert;
    bool listUnits = false;
    bool json = false;
};

QelValue parseValue(std::string const & text, std::string const & what) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    QelValue value;
    try {
        in >> value;
    } catch (ZanError const &) {
        in.setstate(std::ios_base::failbit);
    }
    if (!in.fail() && (in >> std::ws).eof()) return value;
    throw UsageError(what + " is \"" + text +
                     "\", it must be a number and a unit, as in \"2.5 centimeters\"; \"qel space "
                     "--list-units\" lists the units");
}

void addUnit(Listing & listing, QelUnitInfo const & unit) {
    listing.add({unit.id, unit.singularName, unit.pluralName,
                 QelValue::getUnitInfo(unit.standardId).singularName,
                 unit.multiplier != 0.0 ? Value(unit.multiplier) : Value(), unit.tolerance});
}

void listUnits(bool asJson) {
    Listing listing({{"id", "id"},
                     {"singular_name", "singular"},
                     {"plural_name", "plural"},
                     {"standard_unit", "standard unit"},
                     {"multiplier", "multiplier"},
                     {"tolerance", "tolerance"}});
    for (int id = 0; id < 128; ++id) {
        try {
            addUnit(listing, QelValue::getUnitInfo(id));
        } catch (QelError const &) {
            // Not every identifier is taken.
        }
    }
    listing.print(std::cout, asJson);
}

QelXyCoordSpace makeSpace(Arguments const & arguments) {
    QelXyCoordSpace space{parseValue(arguments.size[0], "--size"),
                          parseValue(arguments.size[1], "--size")};
    if (arguments.dpi.empty()) return space;
    if (space.isPixelBased()) {
        throw UsageError("--dpi goes with a --size in inches or the like, not in pixels");
    }
    QelXyCoordSpace::Resolution const resolution{{arguments.dpi.front(), QEL_UNIT_INCH},
                                                 {arguments.dpi.back(), QEL_UNIT_INCH}};
    space.addResolution(resolution);
    space.selectResolution(resolution);
    return space;
}

void print(QelXyCoordSpace const & space) {
    std::cout << "space:       " << space.width() << " by " << space.height();
    if (!space.isPixelBased()) {
        if (space.hasSelectedResolution()) {
            std::cout << ", " << space.numPixelsWide() << " by " << space.numPixelsHigh()
                      << " pixels";
        } else {
            std::cout << ", no resolution";
        }
    }
    std::cout << '\n';
}

// Shows a value as a position on the x axis, as a length, and as a range from 0 to there.
void printConversions(QelXyCoordSpace const & space, QelValue const & value) {
    constexpr int pixel = QEL_UNIT_PIXEL;
    int const unit = value.unit();
    QelValue const at = space.convertHorzPosition(value, pixel);
    QelValue const inside = space.convertHorzPosition(value, pixel, true);
    std::cout << "position:    " << value << " from the left is " << at << ", behind the centre of "
              << "pixel " << inside.value() << '\n'
              << "  back:      pixel " << inside.value() << " starts at "
              << space.convertHorzPosition(inside, unit) << ", its centre is at "
              << space.convertHorzPosition(inside, unit, true) << '\n';

    QelValue const length = space.convertHorzSpan(value, pixel);
    QelValue const whole = space.convertHorzSpan(value, pixel, true);
    std::cout << "span:        " << value << " are " << length << ", " << whole.value()
              << " of them whole\n"
              << "  back:      " << whole << " are " << space.convertHorzSpan(whole, unit) << '\n';

    QelValueRange const range(QelValue(0.0, unit), value, isPixelUnit(unit) ? 1 : 0, true, true);
    QelValueRange const pixels = space.convertHorzRange(range, pixel, true);
    QelValueRange const back = space.convertHorzRange(pixels, unit);
    std::cout << "range:       0 to " << value << " has the centres of " << pixels.width().value()
              << " pixels, " << pixels.min().value() << " to " << pixels.max().value() << '\n'
              << "  back:      these reach from " << back.min() << " to " << back.max() << '\n';
}

void run(Arguments const & arguments) {
    if (arguments.json && (!arguments.listUnits || !arguments.size.empty())) {
        throw UsageError("--json goes with --list-units alone, without --size");
    }
    bool const converts = !arguments.dpi.empty() || arguments.convert;
    if (arguments.listUnits && arguments.size.empty() && converts) {
        throw UsageError("--dpi and --convert go with --size");
    }
    if (arguments.listUnits) listUnits(arguments.json);
    if (arguments.size.empty()) {
        if (arguments.listUnits) return;
        throw UsageError("--size or --list-units is required");
    }
    std::optional<QelValue> value;
    if (arguments.convert) value = parseValue(*arguments.convert, "--convert");
    QelXyCoordSpace const space = makeSpace(arguments);
    print(space);
    if (value) printConversions(space, *value);
}

}  // namespace

void addSpaceCommand(CommandLine & tool) {
    Command command = tool.add("space", "Show how units, extents and pixels convert");
    auto const arguments = std::make_shared<Arguments>();
    command.option("--size", arguments->size, 2, "W H", "width and height, as in \"8.5 inches\"");
    command.option("--dpi", arguments->dpi, "N", "dots per inch, for both axes or for each");
    command.option("--convert", arguments->convert, "VALUE",
                   "convert a value, as in \"2.5 centimeters\", as a position, a length and a "
                   "range along the width");
    command.flag("--list-units", arguments->listUnits, "list the units of measure");
    command.flag("--json", arguments->json, "list the units as JSON");
    command.runs([arguments] { run(*arguments); });
}
