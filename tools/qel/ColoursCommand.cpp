#include <iostream>
#include <memory>
#include <string>

#include "CommandLine.h"
#include "Commands.h"
#include "Listing.h"
#include "QelClients.h"

namespace {

// One for each band, nothing for a band without a name. The table leaves those out.
Cell bandNamesOf(QelColorSpace const & space) {
    Value::List names;
    std::string shown;
    for (int band = 0; band < space.numBands(); ++band) {
        std::string const name = space.bandName(band);
        names.push_back(name.empty() ? Value() : Value(name));
        if (name.empty()) continue;
        if (!shown.empty()) shown += ", ";
        shown += name;
    }
    return {names, shown};
}

Cell rangeOf(QelColorSpace const & space) {
    double const min = space.minValue();
    double const max = space.maxValue();
    return {Value::Record{{"min", min}, {"max", max}}, textOfRange(min, max)};
}

void listColours(bool asJson) {
    Listing listing({{"class", "class"},
                     {"label", "label"},
                     {"bands", "bands"},
                     {"range", "range"},
                     {"band_names", "band names"},
                     {"alpha_partner", "alpha partner"}});
    for (MoxConstSmartPtr<QelColorSpace> const & space : qelColorSpaces()) {
        listing.add({space->className(), space->name(), space->numBands(), rangeOf(*space),
                     bandNamesOf(*space), space->alphaPartnerName()});
    }
    listing.print(std::cout, asJson);
}

}  // namespace

void addColoursCommand(CommandLine & tool) {
    Command command =
        tool.add("colours", "List the colour spaces, with the range and the names of their bands");
    auto const asJson = std::make_shared<bool>(false);
    command.flag("--json", *asJson, "list them as JSON");
    command.runs([asJson] { listColours(*asJson); });
}
