#include "Region.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <optional>
#include <sstream>

#include "Arguments.h"
#include "Commands.h"

namespace {

std::vector<std::string> split(std::string const & text) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, ',');)
        parts.push_back(part);
    // getline() drops an empty part after the last comma.
    if (!text.empty() && text.back() == ',') parts.emplace_back();
    return parts;
}

bool isBlank(std::istream & in) {
    return (in >> std::ws).eof();
}

// Nothing for a text that is not a value.
std::optional<QelValue> valueOf(std::string const & text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    QelValue value;
    try {
        in >> value;
    } catch (ZanError const &) {
        return {};
    }
    return isBlank(in) ? std::optional(value) : std::nullopt;
}

std::optional<QelValue> pixelsOf(std::string const & text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    std::int32_t number = 0;
    if (!(in >> number) || !isBlank(in)) return {};
    return QelValue(number, QEL_UNIT_PIXEL);
}

bool isPixels(QelValue const & value) {
    return isPixelUnit(value.unit());
}

bool isWholePixels(QelValue const & value) {
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    double const number = value.value();
    return isPixels(value) && number == std::trunc(number) && std::fabs(number) <= most;
}

// In the unit of the space; pixels at their near edge.
QelValueRange rangeOf(QelXyCoordSpace const & space, bool horizontal, QelValue const & start,
                      QelValue const & size) {
    int const unit = space.unit();
    QelValue const min = horizontal ? space.convertHorzPosition(start, unit)
                                    : space.convertVertPosition(start, unit);
    QelValue const width =
        horizontal ? space.convertHorzSpan(size, unit) : space.convertVertSpan(size, unit);
    return {min, width, 0, true, true};
}

}  // namespace

Region::Region(std::string const & text, std::string const & what) : text_(text) {
    for (std::string const & part : split(text)) {
        std::optional<QelValue> value = ::pixelsOf(part);
        if (!value) value = valueOf(part);
        if (!value) break;
        values_.push_back(*value);
    }
    bool const good = values_.size() == 4 && split(text).size() == 4 && values_[2].value() > 0.0 &&
                      values_[3].value() > 0.0;
    if (good) return;
    throw UsageError(what + " is \"" + text +
                     "\", it must be X,Y,W,H, each in whole pixels or as a value with a unit such "
                     "as 2.5 centimeters, with W and H above 0");
}

bool Region::isInPixels() const {
    return std::all_of(values_.begin(), values_.end(), isWholePixels);
}

bool Region::isPhysical() const {
    return std::any_of(values_.begin(), values_.end(), [](QelValue const & value) {
        return !isPixels(value) && !isRelativeUnit(value.unit());
    });
}

QelRect Region::pixelsOf(Picture const & picture) const {
    if (isInPixels()) {
        auto const whole = [this](std::size_t i) {
            return static_cast<std::int32_t>(values_[i].value());
        };
        return QelRect(whole(0), whole(1), whole(2), whole(3));
    }
    QelXyCoordSpace const & space = *picture.space;
    // Braces set the order: an error in x is reported first.
    QelXySimpleRegion const region{&space, rangeOf(space, true, values_[0], values_[2]),
                                   rangeOf(space, false, values_[1], values_[3])};
    QelRect const pixels = region.pixelBounds();
    if (!pixels.isEmpty()) return pixels;
    throw QelError(QelErrorCode::invalidValue,
                   "The region " + text_ + " has no pixel of " + picture.name, __FILE__, __LINE__);
}

void remarkOnResolution(Picture const & picture, Region const & region) {
    if (picture.hasResolution || !region.isPhysical()) return;
    std::cerr << "qel: " << picture.name
              << " does not say its resolution; 72 dots per inch are assumed\n";
}
