#include "QelXyRegion.h"

#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "RegionTesting.h"

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

// Its own name is the key of the registry.
class OtherRegion : public QelXySimpleRegion {
  public:
    using QelXySimpleRegion::QelXySimpleRegion;
};

struct Refusal {
    std::string what;
    int code;
    std::string text;
    std::function<void()> action;
};

void expectRefusals(std::vector<Refusal> const & cases) {
    for (Refusal const & row : cases) {
        SCOPED_TRACE(row.what);
        expectRaises(row.code, row.text, row.action);
    }
}

}  // namespace

// ---- Construction

TEST(QelXyRegionTest, EveryConstructorRefusesANullSpace) {
    QelXyCoordSpace const * const none = nullptr;
    QelValue const one(1.0, QEL_UNIT_INCH);
    QelValue const second(1.0, QEL_UNIT_SECOND);
    QelValueRange const range = continuous(0.0, 1.0, QEL_UNIT_INCH);
    expectRefusals({
        {"space", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none); }},
        {"box", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, QelXyBox(range, range)); }},
        {"points", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, QelXyPoint(one, one), QelXyPoint(one, one)); }},
        {"points that do not convert", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, QelXyPoint(one, one), QelXyPoint(second, second)); }},
        {"values", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, one, one, one, one); }},
        {"values that do not convert", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, one, one, second, second); }},
        {"integers", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, 0, 0, 1, 1); }},
        {"ranges", QelErrorCode::nullPointer, nullSpaceRefusal,
         [&] { QelXySimpleRegion give(none, range, range); }},
    });
}

TEST(QelXyRegionTest, ThePixelsOfAPixelBasedSpace) {
    expectBox(pixelBoxAt(0, 0, 640, 480), *regionOf(pixelSpace(640, 480)));
}

TEST(QelXyRegionTest, TheExtentsOfAPhysicalSpace) {
    MoxSmartPtr<QelXyCoordSpace> const space = physicalSpace(8.5, 11.0);
    space->setOrigin(0, inches(-2.0));
    space->setOrigin(1, inches(3.0));
    expectBox(boxIn(QEL_UNIT_INCH, -2.0, 3.0, 8.5, 11.0), *regionOf(space));
}

TEST(QelXyRegionTest, TheWholeOfARelativeSpace) {
    for (int const unit :
         {QEL_UNIT_WIDTH_RELATIVE, QEL_UNIT_HEIGHT_RELATIVE, QEL_UNIT_NORMALIZED}) {
        SCOPED_TRACE(unit);
        expectBox(boxIn(unit, 0.0, 0.0, 1.0, 1.0), *regionOf(relativeSpace(unit)));
    }
}

TEST(QelXyRegionTest, FromCornerToCornerInTheUnitsOfTheFirst) {
    MoxSmartPtr<QelXyCoordSpace> const space = physicalSpace(100.0, 100.0);
    QelXyPoint const topLeft(inches(1.0), centimeters(10.0));
    QelXyPoint const bottomRight(centimeters(25.4), inches(10.0));
    MoxSmartPtr<QelXySimpleRegion> const region(new QelXySimpleRegion(space, topLeft, bottomRight));
    expectBox(
        QelXyBox(continuous(1.0, 9.0, QEL_UNIT_INCH), continuous(10.0, 15.4, QEL_UNIT_CENTIMETER)),
        *region);
}

TEST(QelXyRegionTest, FromCornerToCornerInPixelsIsDiscrete) {
    MoxSmartPtr<QelXySimpleRegion> const region(
        new QelXySimpleRegion(pixelSpace(100, 100), QelXyPoint(pixels(10.0), pixels(20.0)),
                              QelXyPoint(pixels(15.0), pixels(90.0))));
    expectBox(pixelBoxAt(10, 20, 5, 70), *region);
}

TEST(QelXyRegionTest, FromValuesIntegersAndRanges) {
    MoxSmartPtr<QelXyCoordSpace> const space = sampledSpace(10.0, 10.0, 100, 100);
    expectBox(QelXyBox(continuous(1.0, 2.0, QEL_UNIT_INCH), wholePixels(3, 4)),
              *MoxSmartPtr<QelXySimpleRegion>(new QelXySimpleRegion(space, inches(1.0), pixels(3.0),
                                                                    inches(2.0), pixels(4.0))));
    expectBox(pixelBoxAt(1, 2, 3, 4),
              *MoxSmartPtr<QelXySimpleRegion>(new QelXySimpleRegion(space, 1, 2, 3, 4)));
    expectBox(QelXyBox(wholePixels(5, 6), continuous(0.25, 0.5, QEL_UNIT_NORMALIZED)),
              *MoxSmartPtr<QelXySimpleRegion>(new QelXySimpleRegion(
                  space, wholePixels(5, 6), continuous(0.25, 0.5, QEL_UNIT_NORMALIZED))));
}

TEST(QelXyRegionTest, RefusesBoxesThatTheSpaceCannotHold) {
    MoxSmartPtr<QelXyCoordSpace> const page = physicalSpace(8.0, 10.0);
    MoxSmartPtr<QelXyCoordSpace> const byWidth = relativeSpace(QEL_UNIT_WIDTH_RELATIVE);
    QelXyPoint const right(inches(5.0), inches(5.0));
    QelXyPoint const left(inches(4.0), inches(6.0));
    expectRefusals({
        {"pixels without a selection", QelErrorCode::noSelectedResolution, pixelRefusal,
         [&] { QelXySimpleRegion give(page, 0, 0, 1, 1); }},
        {"another relative unit", QelErrorCode::cannotConvertUnit, relativeRefusal,
         [&] {
             QelXySimpleRegion give(byWidth, boxIn(QEL_UNIT_HEIGHT_RELATIVE, 0.0, 0.0, 1.0, 1.0));
         }},
        {"a unit that does not convert", QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit inches (id = 43) to unit seconds (id = 6)",
         [&] { QelXySimpleRegion give(page, boxIn(QEL_UNIT_SECOND, 0.0, 0.0, 1.0, 1.0)); }},
        {"a negative width", QelErrorCode::illegalWidth, "Negative width value",
         [&] { QelXySimpleRegion give(pixelSpace(9, 9), 0, 0, -1, 1); }},
        {"a negative height", QelErrorCode::illegalWidth, "Negative width value",
         [&] { QelXySimpleRegion give(page, inches(0), inches(0), inches(1), inches(-1)); }},
        {"corners the wrong way", QelErrorCode::illegalWidth, "Negative width value",
         [&] { QelXySimpleRegion give(page, right, left); }},
        {"no number", QelErrorCode::illegalWidth, "Negative width value",
         [&] {
             QelXySimpleRegion give(page, inches(std::nan("")), inches(0), inches(1), inches(1));
         }},
    });
}

// ---- Edge cases

TEST(QelXyRegionTest, ABoxPastTheRightEdgeOfA100PixelSpaceEndsAtPixel99) {
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(100, 100);
    for (QelXyBox const & box : {pixelBoxAt(90, 0, 50, 100), boxIn(1, 90, 0, 50, 100)}) {
        MoxSmartPtr<QelXySimpleRegion> const region = regionOf(space, box);
        EXPECT_EQ(99.0, region->box()->xMax().value());
        expectBox(pixelBoxAt(90, 0, 10, 100), *region);
        EXPECT_EQ(QelRect(90, 0, 10, 100), region->pixelBounds());
    }
}

TEST(QelXyRegionTest, ABoxWhollyToTheRightBecomesAZeroWidthRange) {
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(pixelSpace(100, 100), pixelBoxAt(100, 10, 5, 5));
    expectBox(pixelBoxAt(99, 10, 0, 5), *region);
    EXPECT_TRUE(region->pixelBounds().isEmpty());
    MoxSmartPtr<QelXySimpleRegion> const inInches =
        regionOf(physicalSpace(8.0, 10.0), boxIn(QEL_UNIT_INCH, 8.5, 1.0, 1.0, 1.0));
    expectBox(boxIn(QEL_UNIT_INCH, 8.0, 1.0, 0.0, 1.0), *inInches);
}

TEST(QelXyRegionTest, ABoxInPixelsOnAPhysicalSpaceWithoutSelectionRaises410) {
    expectRaises(QelErrorCode::noSelectedResolution, pixelRefusal,
                 [] { regionOf(physicalSpace(8.0, 10.0), pixelBoxAt(0, 0, 1, 1)); });
}

TEST(QelXyRegionTest, ABoxInHeightRelativeUnitsOnAWidthRelativeSpaceRaises306) {
    expectRaises(QelErrorCode::cannotConvertUnit, relativeRefusal, [] {
        regionOf(relativeSpace(QEL_UNIT_WIDTH_RELATIVE),
                 boxIn(QEL_UNIT_HEIGHT_RELATIVE, 0.0, 0.0, 0.5, 0.5));
    });
}

TEST(QelXyRegionTest, ThePolygonOfTheWholeExtentsIsTheUnitSquareClockwise) {
    QelPolygon const square({{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}});
    for (MoxSmartPtr<QelXyCoordSpace> const & space :
         {pixelSpace(640, 480), physicalSpace(8.5, 11.0), relativeSpace(QEL_UNIT_NORMALIZED)}) {
        EXPECT_TRUE(square == *regionOf(space)->polygon(1.0, 1.0)) << *space;
    }
}

TEST(QelXyRegionTest, ThePolygonIsTheBoxInAPlaneOfThatSize) {
    MoxSmartPtr<QelXyCoordSpace> const space = sampledSpace(8.0, 4.0, 800, 400);
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(space, boxIn(QEL_UNIT_INCH, 2.0, 1.0, 4.0, 2.0));
    EXPECT_TRUE(QelPolygon({{20.0, 50.0}, {60.0, 50.0}, {60.0, 150.0}, {20.0, 150.0}}) ==
                *region->polygon(80.0, 200.0));
    // In other units the box is converted first.
    region->setBox(boxIn(QEL_UNIT_NORMALIZED, 0.25, 0.25, 0.5, 0.5));
    EXPECT_TRUE(QelPolygon({{2.0, 1.0}, {6.0, 1.0}, {6.0, 3.0}, {2.0, 3.0}}) ==
                *region->polygon(8.0, 4.0));
}

// ---- Pixel bounds

TEST(QelXyRegionTest, PixelBoundsAreTheBoxInPixels) {
    MoxSmartPtr<QelXyCoordSpace> const space = sampledSpace(8.0, 4.0, 800, 400);
    EXPECT_EQ(QelRect(0, 0, 800, 400), regionOf(space)->pixelBounds());
    EXPECT_EQ(QelRect(100, 50, 200, 25),
              regionOf(space, boxIn(QEL_UNIT_INCH, 1.0, 0.5, 2.0, 0.25))->pixelBounds());
    EXPECT_EQ(QelRect(100, 50, 200, 25),
              regionOf(space, boxIn(QEL_UNIT_PIXEL, 100.9, 50.9, 200.9, 25.9))->pixelBounds());
}

TEST(QelXyRegionTest, PixelBoundsWithoutASelectionRaise410) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(physicalSpace(8.0, 4.0));
    expectRaises(QelErrorCode::noSelectedResolution,
                 "QelXyCoordSpace cannot convert horizontal range to pixels, when there is no "
                 "selected resolution and the coord space is not single-res",
                 [&] { region->pixelBounds(); });
}

// Any box, for which a region must have no space.
MoxSmartPtr<LooseRegion> looseRegion(double x, double width) {
    MoxSmartPtr<LooseRegion> const region(new LooseRegion);
    region->reset(nullptr, boxIn(QEL_UNIT_PIXEL, x, x, width, width));
    return region;
}

TEST(QelXyRegionTest, PixelBoundsAreCutToWholePixels) {
    struct Case {
        double x;
        double width;
        std::int32_t left;
        std::int32_t wide;
    };
    Case const cases[] = {
        {0.0, 2147483647.0, 0, most},
        {-2147483648.0, 1.0, least, 1},
        {2147483646.9, 0.9, 2147483646, 0},
        {-0.9, 1.9, 0, 1},
        {2147483647.9, 2147483647.9, most, most},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(testing::Message() << row.x << " wide " << row.width);
        QelRect const bounds = looseRegion(row.x, row.width)->pixelBounds();
        EXPECT_EQ(row.left, bounds.x);
        EXPECT_EQ(row.left, bounds.y);
        EXPECT_EQ(row.wide, bounds.width);
        EXPECT_EQ(row.wide, bounds.height);
    }
}

TEST(QelXyRegionTest, PixelBoundsBeyond32BitsAreRefused) {
    constexpr double infinite = std::numeric_limits<double>::infinity();
    std::string const end = " is not from -2147483648 to 2147483647";
    struct Case {
        double x;
        double width;
        std::string text;
    };
    Case const cases[] = {
        {0.0, 2147483648.0, "pixel count 2147483648" + end},
        {-2147483649.0, 1.0, "pixel position -2147483649" + end},
        {2147483648.0, 1.0, "pixel position 2147483648" + end},
        {1e300, 1e300, "pixel position 1e+300" + end},
        {-infinite, 1.0, "pixel position -inf" + end},
        {0.0, infinite, "pixel count inf" + end},
        {std::nan(""), 1.0, "pixel position nan" + end},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(testing::Message() << row.x << " wide " << row.width);
        expectRaises(QelErrorCode::invalidValue, row.text,
                     [&] { looseRegion(row.x, row.width)->pixelBounds(); });
    }
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(4294967295U, 10);
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967295" + end,
                 [&] { regionOf(space)->pixelBounds(); });
    expectRaises(QelErrorCode::invalidValue, "pixel position 4000000000" + end,
                 [&] { regionOf(space, pixelBoxAt(4e9, 0, 1000, 10))->pixelBounds(); });
}

// A corner between pixels is given with a unit.
static_assert(std::is_constructible_v<QelXySimpleRegion, QelXyCoordSpace *, int, int, int, int>);
static_assert(
    !std::is_constructible_v<QelXySimpleRegion, QelXyCoordSpace *, double, double, double, double>);
static_assert(!std::is_constructible_v<QelXySimpleRegion, QelXyCoordSpace *, int, int, int, float>);
static_assert(!std::is_constructible_v<QelXySimpleRegion, MoxSmartPtr<QelXyCoordSpace>, double, int,
                                       int, int>);
static_assert(!std::is_constructible_v<OtherRegion, QelXyCoordSpace *, int, double, int, int>);

TEST(QelXyRegionTest, SetPixelBoundsMakesAClippedDiscreteBox) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(sampledSpace(8.0, 4.0, 800, 400));
    region->setPixelBounds({-10, 390, 30, 30});
    expectBox(pixelBoxAt(0, 390, 20, 10), *region);
    region->setPixelBounds({5, 6, -7, 8});
    expectBox(pixelBoxAt(5, 6, 0, 8), *region);
    region->setPixelBounds({most, least, most, most});
    expectBox(pixelBoxAt(799, 0, 0, 0), *region);
}

// ---- The rest

TEST(QelXyRegionTest, BoundingBoxIsTheBoxItselfInItsOwnUnit) {
    MoxSmartPtr<QelXyCoordSpace> const space = sampledSpace(8.0, 4.0, 800, 400);
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(space, boxIn(QEL_UNIT_INCH, 1.0, 1.0, 2.0, 2.0));
    EXPECT_EQ(region->box().get(), region->boundingBox(QEL_UNIT_INCH).get());
    MoxConstSmartPtr<QelXyBox> const other = region->boundingBox(QEL_UNIT_CENTIMETER);
    EXPECT_NE(region->box().get(), other.get());
    expectRange(continuous(2.54, 5.08, QEL_UNIT_CENTIMETER), other->range(0));
    region->setBox(QelXyBox(continuous(1.0, 2.0, QEL_UNIT_INCH), wholePixels(100, 200)));
    EXPECT_NE(region->box().get(), region->boundingBox(QEL_UNIT_PIXEL).get());
    EXPECT_EQ(QelRect(100, 100, 200, 200), region->pixelBounds());
}

TEST(QelXyRegionTest, PartsOfTheRangesInAnyUnit) {
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(sampledSpace(8.0, 4.0, 800, 400), boxIn(QEL_UNIT_INCH, 1.0, 0.5, 2.0, 0.25));
    EXPECT_EQ(QelValue(100.0, QEL_UNIT_PIXEL), region->xMin(QEL_UNIT_PIXEL));
    EXPECT_EQ(QelValue(50.0, QEL_UNIT_PIXEL), region->yMin(QEL_UNIT_PIXEL));
    EXPECT_EQ(QelValue(200.0, QEL_UNIT_PIXEL), region->width(QEL_UNIT_PIXEL));
    EXPECT_EQ(QelValue(25.0, QEL_UNIT_PIXEL), region->height(QEL_UNIT_PIXEL));
    EXPECT_EQ(centimeters(2.54), region->xMin(QEL_UNIT_CENTIMETER));
}

TEST(QelXyRegionTest, ClassNameIsTheRunTimeClassAndTheKeyOfTheRegistry) {
    MoxSmartPtr<QelXyRegion> const region = regionOf(pixelSpace(1, 1)).get();
    EXPECT_EQ("QelXySimpleRegion", region->className());
    EXPECT_EQ(region->className(), qelNewRegion(region->className())->className());
    MoxSmartPtr<QelXyRegion> const other(new OtherRegion(pixelSpace(1, 1)));
    EXPECT_NE(std::string::npos, other->className().find("OtherRegion"));
}

TEST(QelXyRegionTest, OneWithoutASpaceRefusesWhatNeedsOne) {
    MoxSmartPtr<QelXySimpleRegion> const region(new QelXySimpleRegion);
    EXPECT_EQ(nullptr, region->coordSpace().get());
    EXPECT_EQ(nullptr, region->xyCoordSpace().get());
    char const * const text = "QelXyRegion has no coord space";
    expectRefusals({
        {"setBox", QelErrorCode::nullPointer, text,
         [&] { region->setBox(pixelBoxAt(0, 0, 1, 1)); }},
        {"setPixelBounds", QelErrorCode::nullPointer, text,
         [&] {
             region->setPixelBounds({0, 0, 1, 1});
         }},
        {"pixelBounds", QelErrorCode::nullPointer, text, [&] { region->pixelBounds(); }},
        {"xRange", QelErrorCode::nullPointer, text, [&] { region->xRange(QEL_UNIT_INCH); }},
        {"polygon", QelErrorCode::nullPointer, text, [&] { region->polygon(1.0, 1.0); }},
        {"setCoordSpace", QelErrorCode::nullPointer, text,
         [&] { region->setCoordSpace(pixelSpace(1, 1)); }},
        {"setResolution", QelErrorCode::nullPointer, text, [&] { region->setResolution(1, 1); }},
        {"scaleX", QelErrorCode::nullPointer, text, [&] { region->scaleX(1.0, false); }},
    });
}

TEST(QelXyRegionTest, EqualComparesClassSpaceAndBox) {
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(sampledSpace(8.0, 4.0, 800, 400), boxIn(QEL_UNIT_INCH, 1.0, 1.0, 2.0, 2.0));
    struct Case {
        char const * what;
        MoxSmartPtr<QelXyCoordSpace> space;
        QelXyBox box;
        bool equal;
    };
    QelXyBox const box = boxIn(QEL_UNIT_INCH, 1.0, 1.0, 2.0, 2.0);
    MoxSmartPtr<QelXyCoordSpace> const moved = sampledSpace(8.0, 4.0, 800, 400);
    moved->setOrigin(0, inches(0.5));
    MoxSmartPtr<QelXyCoordSpace> const more = sampledSpace(8.0, 4.0, 800, 400);
    more->addResolution(80, 40);
    Case const cases[] = {
        {"made alike", sampledSpace(8.0, 4.0, 800, 400), box, true},
        {"another selection", sampledSpace(8.0, 4.0, 400, 200), box, false},
        {"more resolutions", more, box, false},
        {"another origin", moved, box, false},
        {"another width", sampledSpace(9.0, 4.0, 800, 400), box, false},
        {"another box", sampledSpace(8.0, 4.0, 800, 400), boxIn(43, 1.0, 1.0, 2.0, 1.0), false},
        {"an equal box in another unit", sampledSpace(8.0, 4.0, 800, 400),
         boxIn(QEL_UNIT_CENTIMETER, 2.54, 2.54, 5.08, 5.08), false},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        MoxSmartPtr<QelXySimpleRegion> const other = regionOf(row.space, row.box);
        EXPECT_EQ(row.equal, region->equal(*other));
        EXPECT_EQ(row.equal, other->equal(*region));
    }
    EXPECT_TRUE(region->equal(*region->clone()));
    MoxSmartPtr<QelXyRegion> const derived(new OtherRegion(sampledSpace(8.0, 4.0, 800, 400), box));
    EXPECT_FALSE(region->equal(*derived));
    EXPECT_FALSE(derived->equal(*region));
}

TEST(QelXyRegionTest, RegionsWithoutASpaceAreEqualByTheirBox) {
    MoxSmartPtr<QelXySimpleRegion> const one(new QelXySimpleRegion);
    MoxSmartPtr<QelXySimpleRegion> const two(new QelXySimpleRegion);
    EXPECT_TRUE(one->equal(*two));
    EXPECT_FALSE(one->equal(*regionOf(pixelSpace(1, 1))));
}
