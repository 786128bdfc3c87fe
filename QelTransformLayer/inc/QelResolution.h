#pragma once

#include <cstdint>

#include "QelValue.h"

// The sampling of one axis. A plain record, in one of three states:
// - arbitrary (dpu 0.0, pixels 0): any sampling is available;
// - pixels only (dpu 0.0): as requested, completed by QelXyDimension::specify();
// - full: dots per unit and, once specified for a dimension, the samples across it.
struct QEL_API QelResolution {
    double dpu = 0.0;          // dots per unit
    int unit = 0;              // what dpu counts in; 0 when dpu is 0.0
    std::uint32_t pixels = 0;  // samples across the extent; 0 when not known

    // Arbitrary.
    QelResolution() = default;
    // Raises noSuchUnit (300) or unitNotRegistered (301) for a bad unit, illegalDotsPerUnit (303)
    // "Cannot construct resolution object with dots-per-unit = " and the number for a negative
    // number or NaN.
    QelResolution(double dotsPerUnit, int ofUnit);
    // Pixels only.
    static QelResolution ofPixels(std::uint32_t count);

    bool isArbitrary() const { return dpu == 0.0 && pixels == 0; }
    bool isPixelsOnly() const { return dpu == 0.0 && pixels != 0; }

    // Dots per `unit`. Raises unsuitableResolution (402) "cannot convert resolution object with no
    // dpu info" for pixels only, arbitraryResolution (403) "cannot do unit conversion on arbitrary
    // res object", and cannotConvertUnit (306) for a unit that the record's unit does not convert
    // to.
    double getDpu(int inUnit) const;

    // Whether both sample alike. True if either is arbitrary; false if either has no dpu or the
    // units do not convert. With `relative` the dots per unit may differ by `tolerance` times the
    // smaller of them, inclusive; otherwise they must differ by less than `tolerance`.
    bool isEquivalent(QelResolution const & other, double tolerance, bool relative) const;
};
