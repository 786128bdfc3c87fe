#include <limits>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// The list of resolutions, and the selected one.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

QelResolution samples(std::uint32_t count) {
    return QelResolution::ofPixels(count);
}

Resolution row(std::uint32_t width, std::uint32_t height) {
    return {samples(width), samples(height)};
}

QelXyCoordSpace spaceWith(std::initializer_list<Resolution> rows) {
    QelXyCoordSpace space(inches(10), inches(20));
    for (Resolution const & each : rows)
        space.addResolution(each);
    return space;
}

// "WIDTHxHEIGHT " of each row.
std::string rowsOf(QelXyCoordSpace const & space) {
    std::string text;
    for (unsigned i = 0; i < space.numResolutions(); ++i) {
        Resolution const each = space.getResolution(i);
        text += std::to_string(each.horz.pixels) + 'x' + std::to_string(each.vert.pixels) + ' ';
    }
    return text;
}

void expectSelected(QelXyCoordSpace const & space, std::uint32_t width, std::uint32_t height) {
    EXPECT_TRUE(space.hasSelectedResolution());
    EXPECT_EQ(width, space.numPixelsWide());
    EXPECT_EQ(height, space.numPixelsHigh());
}

TEST(QelXyCoordSpaceListTest, RowsHaveTwoHalves) {
    QelXyCoordSpace space = spaceWith({row(1000, 1000)});
    space.addResolution(500, 400);
    space.addResolution({{50, QEL_UNIT_INCH}, {10, QEL_UNIT_CENTIMETER}});
    space.addResolution({samples(7), {}});
    space.addResolution(Resolution());
    EXPECT_EQ("1000x1000 500x400 500x508 7x0 0x0 ", rowsOf(space));
    EXPECT_DOUBLE_EQ(50, space.getResolution(0).vert.dpu);
    EXPECT_DOUBLE_EQ(25.4, space.getResolution(2).vert.dpu);
    EXPECT_FALSE(space.hasSelectedResolution());
    space.removeResolution(1);
    EXPECT_EQ("1000x1000 500x508 7x0 0x0 ", rowsOf(space));
}

TEST(QelXyCoordSpaceListTest, InPixelsARowIsTheSize) {
    QelXyCoordSpace space(640, 480);
    space.addResolution(320, 200);
    EXPECT_EQ("320x200 ", rowsOf(space));
    EXPECT_EQ(320.0, space.width().value());
    expectSelected(space, 320, 200);
    space.addResolution(Resolution{{1.0, QEL_UNIT_PIXEL}, samples(100)});
    expectSelected(space, 320, 100);
    space.addResolution(4294967295U, 2147483648U);
    expectSelected(space, 4294967295U, 2147483648U);
    // Removing is refused silently.
    space.removeResolution(0);
    EXPECT_EQ("4294967295x2147483648 ", rowsOf(space));
    space.clearSelection();
    expectSelected(space, 4294967295U, 2147483648U);
}

TEST(QelXyCoordSpaceListTest, ChangesAreRefused) {
    QelXyCoordSpace space = spaceWith({row(10, 10)});
    QelXyCoordSpace pixel(5, 6);
    QelXyCoordSpace part(QEL_UNIT_HEIGHT_RELATIVE);
    constexpr char const * relative =
        "Cannot modify resolution information for coordinate space whose unit of measure is "
        "\"height relative unit\"";
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, relative, part, part.addResolution(row(1, 1)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, relative, part, part.addResolution(0, 0));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, relative, part, part.removeResolution(0));
    constexpr char const * noWidth =
        "Cannot add resolution to coordinate space and specify a width in pixels of zero";
    EXPECT_REFUSED(QelErrorCode::zeroPixelsWide, noWidth, space, space.addResolution(0, 5));
    EXPECT_REFUSED(QelErrorCode::zeroPixelsWide, noWidth, space, space.addResolution(0, 0));
    EXPECT_REFUSED(QelErrorCode::zeroPixelsHigh,
                   "Cannot add resolution to coordinate space and specify a height in pixels of "
                   "zero",
                   pixel, pixel.addResolution(5, 0));
    // The second half is bad: the first is not added either.
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", space,
                   space.addResolution(Resolution{samples(5), {1, QEL_UNIT_SECOND}}));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot add resolution to dimension object defined in units of \"pixels\"",
                   pixel, pixel.addResolution(Resolution{samples(5), {}}));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot add resolution to dimension object defined in units of \"pixels\"",
                   pixel, pixel.addResolution(Resolution{samples(5), {2.0, QEL_UNIT_PIXEL}}));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "resolution index value 1 passed to QelXyCoordSpace::removeResolution(), but "
                   "object has only 1 resolution entries",
                   space, space.removeResolution(1));
    EXPECT_REFUSED(QelErrorCode::outOfRange,
                   "resolution index value 3 passed to QelXyCoordSpace::removeResolution(), but "
                   "object has only 1 resolution entries",
                   pixel, pixel.removeResolution(3));
}

// The edge case: the selection holds the values of the row that went.
TEST(QelXyCoordSpaceListTest, RemovingTheSelectedRowLeavesTheSelection) {
    QelXyCoordSpace space = spaceWith({row(1000, 1000), row(500, 500)});
    space.selectResolution(500, 500);
    space.removeResolution(1);
    EXPECT_EQ("1000x1000 ", rowsOf(space));
    expectSelected(space, 500, 500);
    EXPECT_DOUBLE_EQ(50, space.selectedResolution().horz.dpu);
    space.removeResolution(0);
    expectSelected(space, 500, 500);
}

TEST(QelXyCoordSpaceListTest, HasPixelResolutionTable) {
    QelXyCoordSpace const space = spaceWith({row(10, 20), row(30, 0), row(0, 40)});
    struct Case {
        std::uint32_t width;
        std::uint32_t height;
        bool expected;
    };
    for (Case const & each :
         {Case{10, 20, true}, Case{10, 21, false}, Case{11, 20, false}, Case{30, 1, true},
          Case{30, 4294967295U, true}, Case{99, 40, true}, Case{99, 41, false}, Case{0, 40, false},
          Case{30, 0, false}, Case{0, 0, false}}) {
        SCOPED_TRACE(std::to_string(each.width) + 'x' + std::to_string(each.height));
        EXPECT_EQ(each.expected, space.hasPixelResolution(each.width, each.height));
    }
    EXPECT_FALSE(QelXyCoordSpace(inches(1), inches(1)).hasPixelResolution(1, 1));
    EXPECT_TRUE(QelXyCoordSpace(5, 6).hasPixelResolution(5, 6));
}

TEST(QelXyCoordSpaceListTest, SupportsResolutionCountsTheSamples) {
    QelXyCoordSpace const space = spaceWith({row(100, 100)});
    EXPECT_TRUE(space.supportsResolution(row(100, 100)));
    EXPECT_TRUE(space.supportsResolution({{10, QEL_UNIT_INCH}, {5, QEL_UNIT_INCH}}));
    EXPECT_TRUE(space.supportsResolution({{10.04, QEL_UNIT_INCH}, {5, QEL_UNIT_INCH}}));
    EXPECT_FALSE(space.supportsResolution({{10.05, QEL_UNIT_INCH}, {5, QEL_UNIT_INCH}}));
    EXPECT_FALSE(space.supportsResolution({samples(100), {}}));
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", [&] {
                     space.supportsResolution({{1, QEL_UNIT_SECOND}, {}});
                 });
}

// The edge case: a row that is arbitrary in both halves takes the counts.
TEST(QelXyCoordSpaceListTest, SelectingFromAnArbitraryRowDerivesDotsPerUnit) {
    QelXyCoordSpace space = spaceWith({Resolution()});
    space.selectResolution(640, 480);
    expectSelected(space, 640, 480);
    EXPECT_DOUBLE_EQ(64, space.selectedResolution().horz.dpu);
    EXPECT_DOUBLE_EQ(24, space.selectedResolution().vert.dpu);
    EXPECT_EQ(QEL_UNIT_INCH, space.selectedResolution().vert.unit);
    EXPECT_EQ("0x0 ", rowsOf(space));
}

TEST(QelXyCoordSpaceListTest, SelectsTheFirstRowThatOffersTheCounts) {
    QelXyCoordSpace space = spaceWith({row(10, 20), row(30, 0)});
    // The same counts by other dots per unit, later in the list.
    space.addResolution({{1.04, QEL_UNIT_INCH}, {1.02, QEL_UNIT_INCH}});
    space.selectResolution(10, 20);
    EXPECT_DOUBLE_EQ(1.0, space.selectedResolution().horz.dpu);
    space.selectResolution(30, 7);
    expectSelected(space, 30, 7);
    EXPECT_DOUBLE_EQ(0.35, space.selectedResolution().vert.dpu);
    space.selectResolution(Resolution{{1.0, QEL_UNIT_INCH}, {1.0, QEL_UNIT_INCH}});
    expectSelected(space, 10, 20);
    space.clearSelection();
    EXPECT_FALSE(space.hasSelectedResolution());
    EXPECT_EQ(0U, space.numPixelsWide());
    EXPECT_EQ(0, space.selectedPixelHeight());
}

TEST(QelXyCoordSpaceListTest, SelectingIsRefused) {
    GroupedLocale const grouped;
    QelXyCoordSpace space = spaceWith({row(1000, 2000), row(30, 0)});
    space.selectResolution(30, 7);
    // The edge case, with the word for the width.
    EXPECT_REFUSED(QelErrorCode::zeroPixelsWide,
                   "request to select zero pixel-wide resolution of coordinate space", space,
                   space.selectResolution(0, 480));
    EXPECT_REFUSED(QelErrorCode::zeroPixelsWide,
                   "request to select zero pixel-wide resolution of coordinate space", space,
                   space.selectResolution(0, 0));
    EXPECT_REFUSED(QelErrorCode::zeroPixelsWide,
                   "request to select zero pixel-high resolution of coordinate space", space,
                   space.selectResolution(640, 0));
    EXPECT_REFUSED(QelErrorCode::zeroPixelsWide,
                   "request to select zero pixel-high resolution of coordinate space", space,
                   space.selectResolution(Resolution{samples(30), {}}));
    EXPECT_REFUSED(QelErrorCode::noSuchResolution,
                   "requested resolution, 6400x4800 pixels, is not supported by coordinate space\n"
                   "    [(1000,2000)(30,0)]",
                   space, space.selectResolution(6400, 4800));
    QelXyCoordSpace none(inches(1), inches(1));
    EXPECT_REFUSED(QelErrorCode::noSuchResolution,
                   "requested resolution, 1x1 pixels, is not supported by coordinate space\n    []",
                   none, none.selectResolution(1, 1));
    QelXyCoordSpace pixel(5, 6);
    EXPECT_REFUSED(QelErrorCode::noSuchResolution,
                   "requested resolution, 6x5 pixels, is not supported by coordinate space\n"
                   "    [(5,6)]",
                   pixel, pixel.selectResolution(6, 5));
}

// ---- Partners

TEST(QelXyCoordSpaceListTest, FindsTheOtherHalf) {
    QelXyCoordSpace const space =
        spaceWith({row(10, 20), row(0, 30), row(70, 30), row(0, 40), row(50, 0), row(60, 0)});
    auto const horz = [&](std::uint32_t y) { return space.findHorzResolution(samples(y)); };
    auto const vert = [&](std::uint32_t x) { return space.findVertResolution(samples(x)); };
    EXPECT_EQ(10U, horz(20).pixels);
    EXPECT_EQ(70U, horz(30).pixels) << "not the arbitrary one ahead of it";
    // Only an arbitrary partner: the same dots per unit, 40 / 20 inches.
    EXPECT_EQ(20U, horz(40).pixels);
    EXPECT_DOUBLE_EQ(2.0, horz(40).dpu);
    EXPECT_EQ(50U, horz(99).pixels) << "an arbitrary half on the other side";
    EXPECT_EQ(20U, vert(10).pixels);
    EXPECT_EQ(100U, vert(50).pixels);
    EXPECT_DOUBLE_EQ(5.0, vert(50).dpu);
    EXPECT_EQ(30U, vert(99).pixels);
    // By dots per unit, in another unit.
    EXPECT_EQ(10U, space.findHorzResolution({1 / 2.54, QEL_UNIT_CENTIMETER}).pixels);
}

TEST(QelXyCoordSpaceListTest, FindsTheSameDotsPerUnitInAnArbitraryRow) {
    QelXyCoordSpace const space = spaceWith({Resolution()});
    EXPECT_EQ(50U, space.findHorzResolution(samples(100)).pixels);
    EXPECT_EQ(200U, space.findVertResolution(samples(100)).pixels);
}

TEST(QelXyCoordSpaceListTest, FindingIsRefused) {
    QelXyCoordSpace const space = spaceWith({row(10, 20)});
    expectRaises(QelErrorCode::arbitraryResolution,
                 "Cannot find matching horizontal resolution for \"arbitrary\" y-resolution",
                 [&] { space.findHorzResolution({}); });
    expectRaises(QelErrorCode::arbitraryResolution,
                 "Cannot find matching vertical resolution for \"arbitrary\" x-resolution",
                 [&] { space.findVertResolution({}); });
    expectRaises(QelErrorCode::noSuchResolution,
                 "the y-resolution specified to findHorzResolution() is not supported by the "
                 "coordinate space",
                 [&] { space.findHorzResolution(samples(10)); });
    expectRaises(QelErrorCode::noSuchResolution,
                 "the x-resolution specified to findVertResolution() is not supported by the "
                 "coordinate space",
                 [&] { space.findVertResolution(samples(20)); });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", [&] {
                     space.findVertResolution({1, QEL_UNIT_SECOND});
                 });
}

// ---- The largest

TEST(QelXyCoordSpaceListTest, GetMaxResolutionTable) {
    struct Case {
        char const * name;
        std::initializer_list<Resolution> rows;
        std::uint32_t width;
        std::uint32_t height;
    };
    Case const cases[] = {
        {"the product", {row(10, 20), row(15, 15), row(100, 1)}, 15, 15},
        {"the first of equal ones", {row(10, 20), row(20, 10)}, 10, 20},
        {"beyond 32 bits",
         {row(4294967295U, 2), row(65536, 65536), row(4294967295U, 4294967295U)},
         4294967295U,
         4294967295U},
        {"arbitrary", {row(10, 20), row(0, 0), row(30, 0)}, 0, 0},
        {"width only", {row(10, 20), row(5, 0), row(7, 0)}, 7, 0},
        {"height only", {row(0, 5), row(0, 3), row(1000, 1000)}, 0, 5},
        {"the wider", {row(0, 5), row(6, 0)}, 6, 0},
        {"the higher", {row(5, 0), row(0, 6)}, 0, 6},
        {"as high as wide", {row(5, 0), row(0, 5)}, 0, 5},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        std::uint32_t width = 77;
        std::uint32_t height = 77;
        spaceWith(each.rows).getMaxResolution(width, height);
        EXPECT_EQ(each.width, width);
        EXPECT_EQ(each.height, height);
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    expectRaises(QelErrorCode::noSelectedResolution, "Coordinate space contains no resolution info",
                 [&] { spaceWith({}).getMaxResolution(width, height); });
}

}  // namespace
