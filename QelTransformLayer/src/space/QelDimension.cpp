#include "QelDimension.h"

#include <cmath>
#include <utility>

#include "QelError.h"

namespace {

// By more than the unit's tolerance, and not NaN.
bool isAboveZero(QelValue const & width) {
    return !std::isnan(width.value()) && !(width <= 0.0);
}

void checkWidth(QelValue const & width, std::string const & refusal) {
    if (!isAboveZero(width)) qelRaise(QelErrorCode::illegalWidth, refusal);
}

QelValueRange closedRange(QelValue const & origin, QelValue const & width, int discrete) {
    return {origin, width, discrete, true, true};
}

constexpr char const * badRelativeWidth =
    "dimension based on relative unit of measure must have a width of 0.0 or 1.0";
constexpr char const * badWidth = "Dimension object constructed with width <= 0.0";

// The width of a dimension that starts at 0.
QelValue const & checked(QelValue const & width) {
    if (!isRelativeUnit(width.unit())) {
        checkWidth(width, badWidth);
    } else if (width.value() != 0.0 && width.value() != 1.0) {
        qelRaise(QelErrorCode::illegalExtent, badRelativeWidth);
    }
    return width;
}

QelValue checkedPixels(unsigned count) {
    if (count == 0) {
        qelRaise(QelErrorCode::illegalWidth,
                 "pixel based dimension object constructed with width equal to zero pixels");
    }
    return {static_cast<double>(count), QEL_UNIT_PIXEL};
}

std::string quoted(int unit) {
    return '"' + QelValue::getUnitInfo(unit).singularName + '"';
}

}  // namespace

QelDimension::QelDimension(std::string name, unsigned pixels)
    : name_(std::move(name)),
      range_(closedRange(QelValue(0.0, QEL_UNIT_PIXEL), checkedPixels(pixels), 1)) {}

QelDimension::QelDimension(std::string name, QelValue const & width)
    : name_(std::move(name)),
      range_(closedRange(QelValue(0.0, width.unit()), checked(width),
                         isPixelUnit(width.unit()) ? 1 : 0)) {
    if (isPixelBased()) checkWidth(range_.width(), badWidth);
}

QelDimension::QelDimension(std::string name, QelValue const & origin, QelValue const & width,
                           int discrete)
    : name_(std::move(name)), range_(closedRange(origin, width, discrete)) {
    if (isRelative()) {
        checkRelative();
        return;
    }
    if (isPixelBased()) checkPixelBased();
    checkWidth(range_.width(), badWidth);
}

QelDimension::~QelDimension() = default;

std::unique_ptr<QelDimension> QelDimension::clone() const {
    return std::make_unique<QelDimension>(*this);
}

bool QelDimension::isPixelBased() const {
    return isPixelUnit(unit());
}

bool QelDimension::isRelative() const {
    return isRelativeUnit(unit());
}

void QelDimension::checkPixelBased() const {
    if (range_.discrete() != 1) {
        qelRaise(QelErrorCode::illegalExtent,
                 "pixel based dimension object must use discrete coordinates");
    }
    if (origin().value() != 0.0) {
        qelRaise(QelErrorCode::illegalExtent,
                 "pixel based dimension object must have origin at zero");
    }
}

void QelDimension::checkRelative() const {
    if (range_.discrete() != 0) {
        qelRaise(QelErrorCode::illegalExtent,
                 "dimension based on relative unit of measure must use continuous coordinates");
    }
    if (origin().value() != 0.0) {
        qelRaise(QelErrorCode::illegalExtent,
                 "dimension based on relative unit of measure must have origin at zero");
    }
    if (width().value() != 0.0 && width().value() != 1.0)
        qelRaise(QelErrorCode::illegalExtent, badRelativeWidth);
}

void QelDimension::setUnit(int unit) {
    QelValueRange const converted = rangeIn(unit);
    checkWidth(converted.width(), "Dimension object with was converted to unit " + quoted(unit) +
                                      " and the width of the dimension extent is now <= 0.0");
    range_.replaceWith(converted);
}

QelValueRange QelDimension::rangeIn(int wanted) const {
    bool const fixed = isPixelUnit(wanted) || isRelativeUnit(wanted);
    if (fixed && unit() != QEL_UNIT_ARBITRARY) {
        qelRaise(QelErrorCode::cannotConvertUnit, "Cannot convert dimension object from unit " +
                                                      quoted(unit()) + " to unit " +
                                                      quoted(wanted));
    }
    QelValue const zero(0.0, wanted);
    if (isPixelUnit(wanted)) return closedRange(zero, width(), 1);
    if (isRelativeUnit(wanted)) return closedRange(zero, QelValue(1.0, wanted), 0);
    QelValueRange converted = range_;
    converted.setUnit(wanted);
    return converted;
}

void QelDimension::refuse(char const * action) const {
    qelRaise(QelErrorCode::unsuitableUnit,
             action + ('"' + QelValue::getUnitInfo(unit()).pluralName) + '"');
}

void QelDimension::checkMovable(char const * action) const {
    if (isPixelBased() || isRelative()) refuse(action);
}

void QelDimension::setName(std::string name) {
    name_ = std::move(name);
}

void QelDimension::setOrigin(QelValue const & origin) {
    checkMovable("Cannot change origin of dimension defined in units of ");
    range_.setMin(origin);
}

void QelDimension::setWidth(QelValue const & width) {
    if (isRelative()) refuse("Cannot change width of dimension defined in units of ");
    QelValueRange changed = range_;
    changed.setWidth(width);
    checkWidth(changed.width(),
               "attempt to set width of dimension object to a values which is <= 0.0");
    range_.replaceWith(changed);
}

void QelDimension::setRange(QelValueRange const & range) {
    QelValueRange const old = range_;
    setWidth(range.width());
    if (isPixelBased()) return;
    try {
        setOrigin(range.min());
    } catch (...) {
        restoreRange(old);
        throw;
    }
}

void QelDimension::translate(QelValue const & distance) {
    checkMovable("Cannot translate origin of dimension defined in units of ");
    range_.translate(distance);
}

void QelDimension::scale(double factor) {
    if (isRelative()) refuse("Cannot scale dimension defined in units of ");
    QelValueRange changed = range_;
    if (isPixelBased()) {
        changed.setWidth(width() * std::fabs(factor));
    } else {
        changed.scale(factor);
    }
    checkWidth(changed.width(),
               "scale( ) of dimension object resulted in dimension where width is <= 0.0");
    range_.replaceWith(changed);
}
