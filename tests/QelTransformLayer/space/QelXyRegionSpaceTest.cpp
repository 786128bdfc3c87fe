#include <algorithm>
#include <cmath>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "RegionTesting.h"

// Regions that go into another space, and spaces that change below a region.

namespace {

constexpr int W = QEL_UNIT_WIDTH_RELATIVE;
constexpr int H = QEL_UNIT_HEIGHT_RELATIVE;
constexpr int N = QEL_UNIT_NORMALIZED;
constexpr int P = QEL_UNIT_PIXEL;
constexpr int inch = QEL_UNIT_INCH;

struct Interval {
    double min;
    double width;
};

// One axis of setCoordSpace(), in plain numbers.
Interval mapped(Interval box, double origin, double newOrigin, double ratio) {
    return {(box.min - origin) * ratio + newOrigin, box.width * ratio};
}

// Cut to an axis of a space, the box being in that one's unit.
Interval cut(Interval box, double from, double to, bool whole) {
    if (whole) {
        box = {std::floor(box.min + 0.5), std::floor(box.width + 0.5)};
        to -= 1.0;
        double const last = box.width == 0.0 ? box.min : box.min + box.width - 1.0;
        if (last < from) return {from, 0.0};
        if (box.min > to) return {to, 0.0};
        if (box.width == 0.0) return box;
        double const first = std::max(box.min, from);
        return {first, std::min(last, to) - first + 1.0};
    }
    double const end = box.min + box.width;
    if (end < from) return {from, 0.0};
    if (box.min > to) return {to, 0.0};
    double const start = std::max(box.min, from);
    return {start, std::min(end, to) - start};
}

double endOf(QelXyCoordSpace const & space, int axis) {
    bool const endless = space.unit() == (axis == 0 ? H : W);
    if (endless) return std::numeric_limits<double>::max();
    QelXyDimension const & dimension = axis == 0 ? space.xDimension() : space.yDimension();
    return dimension.origin().value() + dimension.width().value();
}

double ratioOf(QelXyCoordSpace const & from, QelXyCoordSpace const & to, int axis) {
    if (from.unit() == W) return to.width().value();
    if (from.unit() == H) return to.height().value();
    return axis == 0 ? to.width().value() / from.width().value()
                     : to.height().value() / from.height().value();
}

Interval expectedOn(QelXyCoordSpace const & from, QelXyCoordSpace const & to, int axis,
                    QelValueRange const & range) {
    QelXyDimension const & old = axis == 0 ? from.xDimension() : from.yDimension();
    QelXyDimension const & next = axis == 0 ? to.xDimension() : to.yDimension();
    double const origin = from.unit() == W || from.unit() == H ? 0.0 : old.origin().value();
    Interval const moved = mapped({range.min().value(), range.width().value()}, origin,
                                  next.origin().value(), ratioOf(from, to, axis));
    return cut(moved, next.origin().value(), endOf(to, axis), to.unit() == P);
}

class RandomSpaces {
  public:
    explicit RandomSpaces(unsigned seed) : random_(seed) {}

    double real(double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(random_);
    }
    int number(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }

    MoxSmartPtr<QelXyCoordSpace> space() {
        int const units[] = {P, W, H, N, inch, QEL_UNIT_CENTIMETER, QEL_UNIT_ARBITRARY};
        int const unit = units[number(0, 6)];
        if (isRelativeUnit(unit)) return relativeSpace(unit);
        if (unit == P) {
            return pixelSpace(static_cast<unsigned>(number(1, 500)),
                              static_cast<unsigned>(number(1, 500)));
        }
        MoxSmartPtr<QelXyCoordSpace> made = physicalSpace(real(0.5, 30.0), real(0.5, 30.0), unit);
        for (unsigned axis = 0; axis < 2; ++axis)
            made->setOrigin(axis, QelValue(number(-3, 3), unit));
        return made;
    }

    // Somewhere about the extents of the space, in its unit.
    QelXyBox box(QelXyCoordSpace const & space) {
        return {range(space.xDimension()), range(space.yDimension())};
    }

  private:
    QelValueRange range(QelXyDimension const & axis) {
        double const size = axis.width().value();
        QelValue const min(axis.origin().value() + real(-0.3, 0.9) * size, axis.unit());
        return {min, QelValue(real(0.0, 0.8) * size, axis.unit()), axis.unit() == P ? 1 : 0, true,
                true};
    }

    std::mt19937 random_;
};

bool areWidthAndHeight(int a, int b) {
    return (a == W && b == H) || (a == H && b == W);
}

std::string cannotMap(int from, int to) {
    return "Region cannot setCoordSpace a new coord space based on unit \"" +
           QelValue::getUnitInfo(to).singularName +
           "\" when current coord space is based on unit \"" +
           QelValue::getUnitInfo(from).singularName + "\"";
}

// A region, and what must not change of it.
class Watched {
  public:
    explicit Watched(MoxSmartPtr<QelXySimpleRegion> region)
        : region_(region),
          space_(region->xyCoordSpace()),
          box_(region->box()),
          text_(textOf(*region)) {}

    void expectUnchanged() const {
        EXPECT_EQ(space_.get(), region_->xyCoordSpace().get());
        EXPECT_EQ(box_.get(), region_->box().get());
        EXPECT_EQ(text_, textOf(*region_));
    }

  private:
    MoxSmartPtr<QelXySimpleRegion> region_;
    MoxConstSmartPtr<QelXyCoordSpace> space_;
    MoxConstSmartPtr<QelXyBox> box_;
    std::string text_;
};

MoxSmartPtr<QelXyCoordSpace> manySpace() {
    MoxSmartPtr<QelXyCoordSpace> space = sampledSpace(8.0, 4.0, 800, 400);
    space->addResolution(80, 40);
    return space;
}

}  // namespace

TEST(QelXyRegionSpaceTest, SetCoordSpaceMapsByTheRatioOfTheExtents) {
    constexpr unsigned seed = 20260802;
    std::cout << "seed " << seed << '\n';
    RandomSpaces random(seed);
    int mappedOnes = 0;
    for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
        MoxSmartPtr<QelXyCoordSpace> const from = random.space();
        MoxSmartPtr<QelXyCoordSpace> const to = random.space();
        MoxSmartPtr<QelXySimpleRegion> const region = regionOf(from, random.box(*from));
        MoxConstSmartPtr<QelXyBox> const box = region->box();
        SCOPED_TRACE(testing::Message()
                     << "round " << round << ": " << *box << " from " << *from << " to " << *to);
        Watched const watched(region);
        if (areWidthAndHeight(from->unit(), to->unit())) {
            expectRaises(QelErrorCode::cannotConvertUnit, cannotMap(from->unit(), to->unit()),
                         [&] { region->setCoordSpace(to); });
            watched.expectUnchanged();
            continue;
        }
        region->setCoordSpace(to);
        if (from->unit() == to->unit() && isRelativeUnit(to->unit())) {
            watched.expectUnchanged();
            continue;
        }
        EXPECT_NE(to.get(), region->xyCoordSpace().get());
        EXPECT_EQ(to->unit(), region->xyCoordSpace()->unit());
        for (int axis = 0; axis < 2; ++axis) {
            SCOPED_TRACE(axis);
            unsigned const index = static_cast<unsigned>(axis);
            Interval const expected = expectedOn(*from, *to, axis, box->range(index));
            QelValueRange const range = region->box()->range(index);
            EXPECT_NEAR(expected.min, range.min().value(), 1e-9 * (1 + std::fabs(expected.min)));
            EXPECT_NEAR(expected.width, range.width().value(), 1e-9 * (1 + expected.width));
            EXPECT_EQ(to->unit() == P ? 1 : 0, range.discrete());
            EXPECT_EQ(to->unit(), range.unit());
        }
        ++mappedOnes;
    }
    EXPECT_LT(10000, mappedOnes);
}

TEST(QelXyRegionSpaceTest, SetCoordSpaceByHand) {
    struct Case {
        char const * what;
        MoxSmartPtr<QelXyCoordSpace> from;
        QelXyBox before;
        MoxSmartPtr<QelXyCoordSpace> to;
        QelXyBox after;
    };
    MoxSmartPtr<QelXyCoordSpace> const moved = physicalSpace(4.0, 2.0);
    moved->setOrigin(0, inches(10.0));
    Case const cases[] = {
        {"pixels to pixels", pixelSpace(100, 100), pixelBoxAt(10, 20, 30, 40), pixelSpace(200, 50),
         pixelBoxAt(20, 10, 60, 20)},
        {"pixels to inches", pixelSpace(100, 100), pixelBoxAt(25, 50, 50, 25), moved,
         boxIn(inch, 11.0, 1.0, 2.0, 0.5)},
        {"inches to pixels", moved, boxIn(inch, 11.0, 1.0, 2.0, 0.5), pixelSpace(100, 100),
         pixelBoxAt(25, 50, 50, 25)},
        {"inches to normalized", moved, boxIn(inch, 11.0, 1.0, 2.0, 0.5), relativeSpace(N),
         boxIn(N, 0.25, 0.5, 0.5, 0.25)},
        {"normalized to inches", relativeSpace(N), boxIn(N, 0.25, 0.5, 0.5, 0.25), moved,
         boxIn(inch, 11.0, 1.0, 2.0, 0.5)},
        {"width relative to inches, by the width", relativeSpace(W),
         boxIn(W, 0.25, 0.125, 0.5, 0.25), moved, boxIn(inch, 11.0, 0.5, 2.0, 1.0)},
        {"height relative to inches, by the height", relativeSpace(H),
         boxIn(H, 0.5, 0.25, 1.0, 0.5), moved, boxIn(inch, 11.0, 0.5, 2.0, 1.0)},
        {"pixels with a fraction", pixelSpace(3, 3), pixelBoxAt(1, 1, 1, 1), pixelSpace(5, 5),
         pixelBoxAt(2, 2, 2, 2)},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        MoxSmartPtr<QelXySimpleRegion> const region = regionOf(row.from, row.before);
        region->setCoordSpace(row.to);
        expectBox(row.after, *region);
    }
}

TEST(QelXyRegionSpaceTest, ABoxInAnotherUnitIsConvertedAheadOfMapping) {
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(physicalSpace(8.0, 4.0), boxIn(N, 0.25, 0.5, 0.5, 0.25));
    region->setCoordSpace(physicalSpace(16.0, 16.0, QEL_UNIT_CENTIMETER));
    expectBox(boxIn(QEL_UNIT_CENTIMETER, 4.0, 8.0, 8.0, 4.0), *region);
}

TEST(QelXyRegionSpaceTest, SetCoordSpaceRefusesWhatIsNoImagesSpace) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(manySpace());
    Watched const watched(region);
    expectRaises(QelErrorCode::nullPointer, "null coordinate space pointer passed to function",
                 [&] { region->setCoordSpace(nullptr); });
    QelCoordSpace const time(std::make_unique<QelDimension>("t", QelValue(1.0, QEL_UNIT_SECOND)));
    expectRaises(QelErrorCode::wrongClass,
                 "coord space passed to QelXyRegion::setCoordSpace must be an QelXyCoordSpace",
                 [&] { region->setCoordSpace(&time); });
    watched.expectUnchanged();
    MoxSmartPtr<QelXySimpleRegion> const none(new QelXySimpleRegion);
    expectRaises(QelErrorCode::nullPointer, "null coordinate space pointer passed to function",
                 [&] { none->setCoordSpace(nullptr); });
}

TEST(QelXyRegionSpaceTest, SetCoordSpaceTakesItsOwnSpace) {
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(pixelSpace(100, 100), pixelBoxAt(10, 20, 30, 40));
    region->setCoordSpace(region->coordSpace());
    expectBox(pixelBoxAt(10, 20, 30, 40), *region);
}

TEST(QelXyRegionSpaceTest, ThePixelSpaceGrowsAndTheBoxStays) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(pixelSpace(100, 100));
    region->setResolution(50, 200);
    EXPECT_EQ(50U, region->xyCoordSpace()->numPixelsWide());
    expectBox(pixelBoxAt(0, 0, 50, 100), *region);
}

TEST(QelXyRegionSpaceTest, SelectingAnotherResolutionClipsPixelsAnew) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(manySpace(), pixelBoxAt(60, 30, 90, 90));
    region->selectResolution(80, 40);
    expectBox(pixelBoxAt(60, 30, 20, 10), *region);
    EXPECT_EQ(80U, region->xyCoordSpace()->numPixelsWide());
    region->selectResolution(800, 400);
    expectBox(pixelBoxAt(60, 30, 20, 10), *region);
}

TEST(QelXyRegionSpaceTest, EveryChangeOfTheSpaceIsThatOfTheSpaceItself) {
    struct Case {
        char const * what;
        std::function<void(QelXyRegion &)> onRegion;
        std::function<void(QelXyCoordSpace &)> onSpace;
    };
    // The first argument of each pair is given the region, the second a space like its own.
    Case const cases[] = {
        {"setResolution", [](auto & r) { r.setResolution(8, 4); },
         [](auto & s) { s.addResolution(8, 4); }},
        {"selectResolution", [](auto & r) { r.selectResolution(80, 40); },
         [](auto & s) { s.selectResolution(80, 40); }},
        {"scaleX", [](auto & r) { r.scaleX(-0.5, true); }, [](auto & s) { s.scaleX(-0.5, true); }},
        {"scaleY", [](auto & r) { r.scaleY(2.0, false); }, [](auto & s) { s.scaleY(2.0, false); }},
        {"scaleXY", [](auto & r) { r.scaleXY(0.5, true); }, [](auto & s) { s.scaleXY(0.5, true); }},
        {"scaleWidth", [](auto & r) { r.scaleWidth(0.5, true); },
         [](auto & s) { s.scaleWidth(0.5, true); }},
        {"scaleHeight", [](auto & r) { r.scaleHeight(3.0, false); },
         [](auto & s) { s.scaleHeight(3.0, false); }},
        {"scaleWidthHeight", [](auto & r) { r.scaleWidthHeight(0.5, true); },
         [](auto & s) { s.scaleWidthHeight(0.5, true); }},
        {"scalePixels by factors", [](auto & r) { r.scalePixels(0.5, 2.0, true); },
         [](auto & s) { s.scalePixels(0.5, 2.0, true); }},
        {"scalePixels by a ratio", [](auto & r) { r.scalePixels(2, 1, true); },
         [](auto & s) { s.scalePixels(2, 1, true); }},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        MoxSmartPtr<QelXyCoordSpace> const space = manySpace();
        QelXyBox const box = boxIn(inch, 1.0, 1.0, 6.0, 2.5);
        MoxSmartPtr<QelXySimpleRegion> const region = regionOf(space, box);
        row.onRegion(*region);
        row.onSpace(*space);
        EXPECT_TRUE(region->equal(*regionOf(space, box))) << textOf(*region) << '\n'
                                                          << textOf(*regionOf(space, box));
        EXPECT_NE(space.get(), region->xyCoordSpace().get());
    }
}

TEST(QelXyRegionSpaceTest, AChangeThatIsRefusedChangesNothing) {
    struct Case {
        char const * what;
        int code;
        char const * text;
        std::function<void(QelXySimpleRegion &)> change;
    };
    // The region's box is in pixels.
    Case const cases[] = {
        {"setResolution, width", QelErrorCode::zeroPixelsWide,
         "Cannot add resolution to coordinate space and specify a width in pixels of zero",
         [](auto & r) { r.setResolution(0, 1); }},
        {"setResolution, height", QelErrorCode::zeroPixelsHigh,
         "Cannot add resolution to coordinate space and specify a height in pixels of zero",
         [](auto & r) { r.setResolution(1, 0); }},
        {"selectResolution", QelErrorCode::noSuchResolution,
         "requested resolution, 5x5 pixels, is not supported by coordinate space\n"
         "    [(800,400)(80,40)]",
         [](auto & r) { r.selectResolution(5, 5); }},
        {"scaleX", QelErrorCode::illegalFactor, "Cannot scale coord space x dimension by 0",
         [](auto & r) { r.scaleX(0.0, true); }},
        {"scaleY", QelErrorCode::illegalFactor, "Cannot scale coord space y dimension by 0",
         [](auto & r) { r.scaleY(0.0, true); }},
        {"scaleXY", QelErrorCode::illegalFactor, "Cannot scale coord space x dimension by 0",
         [](auto & r) { r.scaleXY(0.0, true); }},
        {"scaleWidth", QelErrorCode::illegalFactor, "Cannot scale coord space width by -1",
         [](auto & r) { r.scaleWidth(-1.0, true); }},
        {"scaleHeight", QelErrorCode::illegalFactor, "Cannot scale coord space height by -1",
         [](auto & r) { r.scaleHeight(-1.0, true); }},
        {"scaleWidthHeight", QelErrorCode::illegalFactor, "Cannot scale coord space width by 0",
         [](auto & r) { r.scaleWidthHeight(0.0, true); }},
        {"scalePixels that loses the selection", QelErrorCode::noSelectedResolution, pixelRefusal,
         [](auto & r) { r.scalePixels(0.5, 0.5, false); }},
        {"scalePixels by a ratio that loses it", QelErrorCode::noSelectedResolution, pixelRefusal,
         [](auto & r) { r.scalePixels(2, 1, false); }},
        {"setBox", QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit inches (id = 43) to unit seconds (id = 6)",
         [](auto & r) { r.setBox(boxIn(QEL_UNIT_SECOND, 0, 0, 1, 1)); }},
        {"setCoordSpace", QelErrorCode::nullPointer,
         "null coordinate space pointer passed to function",
         [](auto & r) { r.setCoordSpace(nullptr); }},
    };
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(manySpace(), pixelBoxAt(1, 2, 3, 4));
    Watched const watched(region);
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        expectRaises(row.code, row.text, [&] { row.change(*region); });
        watched.expectUnchanged();
    }
}
