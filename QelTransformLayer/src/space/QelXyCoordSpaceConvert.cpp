#include <algorithm>
#include <cmath>
#include <string>

#include "QelError.h"
#include "QelXyCoordSpace.h"

namespace {

// Results within this of a whole pixel are that pixel: a pixel's centre, converted there and back,
// stays in its pixel. Adding 0.0 turns -0.0 into 0.0.
constexpr double slack = 1e-6;

double floorOf(double pixels) {
    return std::floor(pixels + slack) + 0.0;
}

double ceilingOf(double pixels) {
    return std::ceil(pixels - slack) + 0.0;
}

std::string quoted(int unit) {
    return '"' + QelValue::getUnitInfo(unit).singularName + '"';
}

}  // namespace

// The arithmetic along one axis. Positions "in the world" are numbers in the space's unit, measured
// from its zero; spans are lengths there.
class QelXyCoordSpace::Converter {
  public:
    // `thing` is what is converted, for messages.
    Converter(QelXyCoordSpace const & space, unsigned axis, char const * thing)
        : space_(space),
          axis_(space.axis(axis)),
          index_(axis),
          thing_(thing),
          unit_(axis_.unit()),
          length_(axis_.width().value()),
          crossLength_(space.axis(1 - axis).width().value()),
          origin_(axis_.origin().value()),
          ownRelative_(axis == 0 ? QEL_UNIT_WIDTH_RELATIVE : QEL_UNIT_HEIGHT_RELATIVE),
          crossRelative_(axis == 0 ? QEL_UNIT_HEIGHT_RELATIVE : QEL_UNIT_WIDTH_RELATIVE) {}

    QelValue position(QelValue const & value, int target, bool discrete) const {
        if (value.unit() == target) return value;
        checkTarget(target);
        if (isPixelUnit(target)) {
            double const pixels = pixelPosition(worldPosition(value, false));
            return {discrete ? floorOf(pixels - 0.5) : pixels, target};
        }
        if (isPlain(value.unit(), target)) return {value, target};
        return {fromWorld(value, target, worldPosition(value, discrete), origin_), target};
    }

    QelValue span(QelValue const & value, int target, bool discrete) const {
        if (value.unit() == target) return value;
        checkTarget(target);
        if (isPixelUnit(target)) {
            double const pixels = worldSpan(value) * dpuToPixels();
            return {discrete ? floorOf(pixels) : pixels, target};
        }
        if (isPlain(value.unit(), target)) return {value, target};
        return {fromWorld(value, target, worldSpan(value), 0.0), target};
    }

    QelValueRange range(QelValueRange const & range, int target, bool discrete) const {
        if (range.unit() == target) return range;
        checkTarget(target);
        if (isPixelUnit(target)) return pixelRange(range, discrete);
        if (isPlain(range.unit(), target)) {
            return closed(QelValue(range.min(), target), QelValue(range.width(), target), 0);
        }
        bool const fromPixels = isPixelUnit(range.unit());
        double const width = fromPixels ? widthOfPixels(range, discrete) : worldSpan(range.width());
        QelValue const min(
            fromWorld(range.min(), target, worldPosition(range.min(), discrete), origin_), target);
        return closed(min, QelValue(fromWorld(range.width(), target, width, 0.0), target), 0);
    }

  private:
    static QelValueRange closed(QelValue const & min, QelValue const & width, int discrete) {
        return {min, width, discrete, true, true};
    }

    // Neither depends on this space, so its unit does not matter.
    static bool isPlain(int source, int target) {
        return !isPixelUnit(source) && !isRelativeUnit(source) && !isRelativeUnit(target);
    }

    bool isOwn(int unit) const { return unit == ownRelative_ || unit == QEL_UNIT_NORMALIZED; }
    bool isCross(int unit) const { return unit == crossRelative_; }

    char const * axisName() const { return index_ == 0 ? "horizontal" : "vertical"; }

    // Parts of one extent mean nothing in a space that knows only the other one.
    void checkTarget(int target) const {
        bool const bad = isCross(target) ? isOwn(unit_) : isOwn(target) && isCross(unit_);
        if (!bad) return;
        // Only here the text says "position" whatever is converted; clients know it.
        bool const known = index_ == 0 && std::string(thing_) == "span" && isCross(target);
        qelRaise(QelErrorCode::cannotConvertUnit,
                 std::string("Cannot convert ") + axisName() + ' ' + (known ? "position" : thing_) +
                     " to unit " + quoted(target) + " when the underlying coord space is in unit " +
                     quoted(unit_));
    }

    // Dots per unit of the selected resolution, or of the only one. `direction` completes the
    // sentence "QelXyCoordSpace cannot convert horizontal position".
    double dpu(char const * direction) const {
        double const selected = space_.selectedOn(index_).dpu;
        if (selected != 0.0) return selected;
        if (axis_.numResolutions() != 1) {
            raiseNoDpu(QelErrorCode::noSelectedResolution, direction,
                       "when there is no selected resolution and the coord space is not "
                       "single-res");
        }
        double const only = axis_.resolution(0).dpu;
        if (only != 0.0) return only;
        raiseNoDpu(QelErrorCode::arbitraryResolution, direction,
                   "when there is no selected resolution and coord space supports only arbitrary "
                   "res");
    }
    [[noreturn]] void raiseNoDpu(int code, char const * direction, char const * why) const {
        qelRaise(code, std::string("QelXyCoordSpace cannot convert ") + axisName() + ' ' + thing_ +
                           direction + why);
    }
    double dpuToPixels() const { return dpu(" to pixels, "); }
    double dpuFromPixels() const { return dpu(" in pixels to another unit, "); }

    double worldPosition(QelValue const & value, bool centre) const {
        double const number = value.value();
        if (isPixelUnit(value.unit())) {
            if (isPixelUnit(unit_)) return number;
            return (centre ? number + 0.5 : number) / dpuFromPixels() + origin_;
        }
        if (isOwn(value.unit())) return number * length_ + origin_;
        if (isCross(value.unit())) return number * crossLength_ + origin_;
        return value.valueIn(unit_);
    }

    double worldSpan(QelValue const & value) const {
        double const number = value.value();
        if (isPixelUnit(value.unit())) {
            return isPixelUnit(unit_) ? number : number / dpuFromPixels();
        }
        if (isOwn(value.unit())) return number * length_;
        if (isCross(value.unit())) return number * crossLength_;
        return value.valueIn(unit_);
    }

    double pixelPosition(double world) const { return (world - origin_) * dpuToPixels(); }

    // `source`, which is at `world`, in a target that is not pixels. `origin` is 0.0 for spans.
    // Between relative units the detour through the world would cost digits.
    double fromWorld(QelValue const & source, int target, double world, double origin) const {
        if (isOwn(target)) {
            if (isOwn(source.unit())) return source.value();
            if (isCross(source.unit())) return source.value() * crossLength_ / length_;
            return (world - origin) / length_;
        }
        if (isCross(target)) {
            if (isOwn(source.unit())) return length_ * source.value() / crossLength_;
            return (world - origin) / crossLength_;
        }
        return QelValue(world, unit_).valueIn(target);
    }

    // The pixels whose centres lie in the range.
    QelValueRange pixelRange(QelValueRange const & range, bool discrete) const {
        double const world = worldPosition(range.min(), false);
        double const width = worldSpan(range.width());
        double const start = pixelPosition(world);
        if (!discrete) {
            return closed(QelValue(start, QEL_UNIT_PIXEL),
                          QelValue(width * dpuToPixels(), QEL_UNIT_PIXEL), 0);
        }
        double const first = ceilingOf(start - 0.5);
        double const last = lastPixelOf(pixelPosition(world + width));
        return closed(QelValue(first, QEL_UNIT_PIXEL),
                      QelValue(std::max(0.0, last - first + 1.0), QEL_UNIT_PIXEL), 1);
    }

    // The last pixel of a range that ends at `end`, in pixels. The extent ends with the last
    // sample, even if that is almost a centre further on, or back.
    double lastPixelOf(double end) const {
        bool const atTheEnd = std::fabs(end - length_ * dpuToPixels()) <= slack;
        return atTheEnd ? samples() - 1.0 : floorOf(end - 0.5);
    }

    // In the world. A range up to the last pixel covers the rest of the extent, even if that is not
    // a whole number of pixels.
    double widthOfPixels(QelValueRange const & range, bool centre) const {
        double const start = range.min().value();
        double const count = range.width().value();
        if (isPixelUnit(unit_)) return count;
        double const dots = dpuFromPixels();
        double const end = start + count;
        bool const toTheEnd = end == samples() || end >= dots * length_ - 0.5;
        double const rest = length_ - (centre ? start + 0.5 : start) / dots;
        return toTheEnd && rest > 0.0 ? rest : count / dots;
    }

    // Of the selected resolution, or of the only one.
    double samples() const {
        QelResolution const & selected = space_.selectedOn(index_);
        return selected.isArbitrary() ? axis_.resolution(0).pixels : selected.pixels;
    }

    QelXyCoordSpace const & space_;
    QelXyDimension const & axis_;
    unsigned index_;
    char const * thing_;
    int unit_;
    double length_;
    double crossLength_;
    double origin_;
    int ownRelative_;
    int crossRelative_;
};

QelValue QelXyCoordSpace::convertHorzPosition(QelValue const & position, int target,
                                              bool discrete) const {
    return Converter(*this, 0, "position").position(position, target, discrete);
}

QelValue QelXyCoordSpace::convertVertPosition(QelValue const & position, int target,
                                              bool discrete) const {
    return Converter(*this, 1, "position").position(position, target, discrete);
}

QelValue QelXyCoordSpace::convertHorzSpan(QelValue const & span, int target, bool discrete) const {
    return Converter(*this, 0, "span").span(span, target, discrete);
}

QelValue QelXyCoordSpace::convertVertSpan(QelValue const & span, int target, bool discrete) const {
    return Converter(*this, 1, "span").span(span, target, discrete);
}

QelValueRange QelXyCoordSpace::convertHorzRange(QelValueRange const & range, int target,
                                                bool discrete) const {
    return Converter(*this, 0, "range").range(range, target, discrete);
}

QelValueRange QelXyCoordSpace::convertVertRange(QelValueRange const & range, int target,
                                                bool discrete) const {
    return Converter(*this, 1, "range").range(range, target, discrete);
}
