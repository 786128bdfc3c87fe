#include "QelResolution.h"

#include <algorithm>
#include <cmath>

#include "QelError.h"
#include "QelTextStream.h"

namespace {

// Converted through the distance between two dots.
double converted(double dpu, int from, int to) {
    return 1.0 / QelValue(1.0 / dpu, from).valueIn(to);
}

}  // namespace

QelResolution::QelResolution(double dotsPerUnit, int ofUnit) : dpu(dotsPerUnit), unit(ofUnit) {
    QelValue::getUnitInfo(ofUnit);
    if (!(dotsPerUnit >= 0.0)) {
        QelTextStream text;
        text << "Cannot construct resolution object with dots-per-unit = " << dotsPerUnit;
        qelRaise(QelErrorCode::illegalDotsPerUnit, text.str());
    }
    if (dotsPerUnit == 0.0) unit = QEL_UNIT_ARBITRARY;
}

QelResolution QelResolution::ofPixels(std::uint32_t count) {
    QelResolution resolution;
    resolution.pixels = count;
    return resolution;
}

double QelResolution::getDpu(int inUnit) const {
    if (isPixelsOnly())
        qelRaise(QelErrorCode::unsuitableResolution,
                 "cannot convert resolution object with no dpu info");
    if (isArbitrary())
        qelRaise(QelErrorCode::arbitraryResolution,
                 "cannot do unit conversion on arbitrary res object");
    return inUnit == unit ? dpu : converted(dpu, unit, inUnit);
}

bool QelResolution::isEquivalent(QelResolution const & other, double tolerance,
                                 bool relative) const {
    if (isArbitrary() || other.isArbitrary()) return true;
    if (dpu == 0.0 || other.dpu == 0.0) return false;
    double theirs = other.dpu;
    try {
        if (other.unit != unit) theirs = converted(other.dpu, other.unit, unit);
    } catch (...) {
        return false;
    }
    double const difference = std::fabs(dpu - theirs);
    if (!relative) return difference < tolerance;
    return difference <= tolerance * std::min(std::fabs(dpu), std::fabs(theirs));
}
