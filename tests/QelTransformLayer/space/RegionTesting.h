#pragma once

#include <cmath>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "Qel.h"

// Spaces, boxes and regions for tests, and what is expected of them.

inline MoxSmartPtr<QelXyCoordSpace> pixelSpace(unsigned width, unsigned height) {
    return new QelXyCoordSpace(width, height);
}

inline MoxSmartPtr<QelXyCoordSpace> relativeSpace(int unit) {
    return new QelXyCoordSpace(unit);
}

// Without resolutions.
inline MoxSmartPtr<QelXyCoordSpace> physicalSpace(double width, double height,
                                                  int unit = QEL_UNIT_INCH) {
    return new QelXyCoordSpace(QelValue(width, unit), QelValue(height, unit));
}

// With one resolution, which is selected.
inline MoxSmartPtr<QelXyCoordSpace> sampledSpace(double width, double height, unsigned pixelsWide,
                                                 unsigned pixelsHigh, int unit = QEL_UNIT_INCH) {
    MoxSmartPtr<QelXyCoordSpace> space = physicalSpace(width, height, unit);
    space->addResolution(pixelsWide, pixelsHigh);
    space->selectResolution(pixelsWide, pixelsHigh);
    return space;
}

inline QelValueRange continuous(double min, double width, int unit) {
    return {QelValue(min, unit), QelValue(width, unit), 0, true, true};
}

inline QelValueRange wholePixels(double min, double width) {
    return {QelValue(min, QEL_UNIT_PIXEL), QelValue(width, QEL_UNIT_PIXEL), 1, true, true};
}

// Continuous.
inline QelXyBox boxIn(int unit, double x, double y, double width, double height) {
    return {continuous(x, width, unit), continuous(y, height, unit)};
}

inline QelXyBox pixelBoxAt(double x, double y, double width, double height) {
    return {wholePixels(x, width), wholePixels(y, height)};
}

inline MoxSmartPtr<QelXySimpleRegion> regionOf(QelXyCoordSpace const * space) {
    return new QelXySimpleRegion(space);
}

inline MoxSmartPtr<QelXySimpleRegion> regionOf(QelXyCoordSpace const * space,
                                               QelXyBox const & box) {
    return new QelXySimpleRegion(space, box);
}

inline std::string textOf(QelXyRegion const & region) {
    std::ostringstream text;
    text.precision(17);
    region.write(text);
    return text.str();
}

inline void expectRange(QelValueRange const & expected, QelValueRange const & range) {
    double const slack = 1e-9 * (1.0 + std::fabs(expected.min().value()));
    EXPECT_EQ(expected.unit(), range.unit());
    EXPECT_NEAR(expected.min().value(), range.min().value(), slack);
    EXPECT_NEAR(expected.width().value(), range.width().value(),
                1e-9 * (1.0 + expected.width().value()));
    EXPECT_EQ(expected.discrete(), range.discrete());
    EXPECT_EQ(expected.minClosed(), range.minClosed());
    EXPECT_EQ(expected.maxClosed(), range.maxClosed());
}

inline void expectBox(QelXyBox const & expected, QelXyRegion const & region) {
    SCOPED_TRACE("x");
    expectRange(expected.range(0), region.box()->range(0));
    SCOPED_TRACE("then y");
    expectRange(expected.range(1), region.box()->range(1));
}

// Shows what happens without a space, and with any box.
class LooseRegion : public QelXySimpleRegion {
  public:
    using QelXyRegion::reset;
    using QelXySimpleRegion::QelXySimpleRegion;
};

// Whole texts of refusals.
inline constexpr char const * nullSpaceRefusal =
    "Cannot construct QelXyRegion with NULL coord space pointer";
inline constexpr char const * pixelRefusal =
    "Cannot specify region's bounding box in units of pixels, because there's no selected "
    "resolution in the underlying coordinate space object";
inline constexpr char const * relativeRefusal =
    "Cannot specify region's bounding box in a relative unit of measure, if the coordinate space "
    "is defined using a different relative unit";
