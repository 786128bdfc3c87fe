#include "QelXyCoordSpace.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "SpaceTesting.h"

// Constructors and access.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QelResolution half(double dpu, int unit, std::uint32_t count) {
    QelResolution resolution;
    resolution.dpu = dpu;
    resolution.unit = unit;
    resolution.pixels = count;
    return resolution;
}

void expectSelected(QelXyCoordSpace const & space, std::uint32_t width, std::uint32_t height) {
    EXPECT_EQ(width != 0, space.hasSelectedResolution());
    EXPECT_EQ(width, space.numPixelsWide());
    EXPECT_EQ(height, space.numPixelsHigh());
}

void expectSize(QelXyCoordSpace const & space, int unit, double width, double height) {
    EXPECT_EQ(unit, space.unit());
    EXPECT_EQ(unit, space.height().unit());
    EXPECT_DOUBLE_EQ(width, space.width().value());
    EXPECT_DOUBLE_EQ(height, space.height().value());
    EXPECT_EQ(0.0, space.xDimension().origin().value());
    EXPECT_EQ(0.0, space.yDimension().origin().value());
    EXPECT_EQ("x", space.xDimension().name());
    EXPECT_EQ("y", space.yDimension().name());
    EXPECT_EQ(isPixelUnit(unit) ? 1 : 0, space.xDimension().range().discrete());
}

TEST(QelXyCoordSpaceTest, OfAUnitIsOneByOne) {
    for (int const unit : {0, 2, 3, 4, 5, 6, 43}) {
        SCOPED_TRACE(unit);
        QelXyCoordSpace const space(unit);
        expectSize(space, unit, 1, 1);
        EXPECT_EQ(0U, space.numResolutions());
        expectSelected(space, 0, 0);
        EXPECT_EQ(unit >= 2 && unit <= 4, space.isRelative());
        EXPECT_FALSE(space.isPixelBased());
    }
    QelXyCoordSpace const pixel(QEL_UNIT_PIXEL);
    expectSize(pixel, QEL_UNIT_PIXEL, 1, 1);
    expectSelected(pixel, 1, 1);
    EXPECT_EQ(1U, pixel.numResolutions());
    EXPECT_TRUE(pixel.isPixelBased());
}

TEST(QelXyCoordSpaceTest, OfCountsIsPixelBased) {
    QelXyCoordSpace const space(640, 480);
    expectSize(space, QEL_UNIT_PIXEL, 640, 480);
    expectSelected(space, 640, 480);
    ASSERT_EQ(1U, space.numResolutions());
    EXPECT_EQ(1.0, space.getResolution(0).horz.dpu);
    EXPECT_EQ(QEL_UNIT_PIXEL, space.getResolution(0).vert.unit);
    EXPECT_EQ(640, space.selectedPixelWidth());
    EXPECT_EQ(480, space.selectedPixelHeight());
}

TEST(QelXyCoordSpaceTest, CountsMayBeAsLargeAsTheyGet) {
    QelXyCoordSpace const space(4294967295U, 2147483648U);
    expectSize(space, QEL_UNIT_PIXEL, 4294967295.0, 2147483648.0);
    expectSelected(space, 4294967295U, 2147483648U);
    // A tile's place has them as signed numbers.
    EXPECT_EQ(2147483647, QelXyCoordSpace(2147483647U, 1U).selectedPixelWidth());
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967295 is not from 0 to 2147483647",
                 [&] { space.selectedPixelWidth(); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 2147483648 is not from 0 to 2147483647",
                 [&] { space.selectedPixelHeight(); });
    EXPECT_EQ(4294967294.0, space.convertHorzPosition(normalized(1), QEL_UNIT_PIXEL, true).value());
    EXPECT_EQ(4294967295.0, space.convertHorzSpan(normalized(1), QEL_UNIT_PIXEL, true).value());
}

// Not cut to what C++ makes of them.
static_assert(std::is_constructible_v<QelXyCoordSpace, int, int>);
static_assert(std::is_constructible_v<QelXyCoordSpace, std::size_t, std::uint16_t>);
static_assert(!std::is_constructible_v<QelXyCoordSpace, double, double>);
static_assert(!std::is_constructible_v<QelXyCoordSpace, double, int>);
static_assert(!std::is_constructible_v<QelXyCoordSpace, unsigned, float>);
static_assert(!std::is_constructible_v<QelXyCoordSpace, double>);

TEST(QelXyCoordSpaceTest, CountsAreRefusedThatDoNotFit) {
    std::string const end = " is not from 0 to 4294967295";
    expectRaises(QelErrorCode::invalidValue, "pixel count -5" + end,
                 [] { QelXyCoordSpace(-5, 5); });
    expectRaises(QelErrorCode::invalidValue, "pixel count -1" + end,
                 [] { QelXyCoordSpace(5, -1); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967296" + end,
                 [] { QelXyCoordSpace(std::size_t{1} << 32, 1); });
    expectRaises(QelErrorCode::invalidValue, "pixel count -9223372036854775808" + end,
                 [] { QelXyCoordSpace(1U, std::numeric_limits<std::int64_t>::min()); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 5000000000" + end,
                 [] { QelXyCoordSpace(pixels(5e9), pixels(1)); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 1e+300" + end,
                 [] { QelXyCoordSpace(pixels(1e300), pixels(1)); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 1e+300" + end,
                 [] { QelXyCoordSpace(640, 480).newSpace(pixels(-5), pixels(1e300)); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967296" + end,
                 [] { QelXyCoordSpace(pixels(1), pixels(4294967295.5)); });
    expectSize(QelXyCoordSpace(pixels(4294967295.4), pixels(1)), QEL_UNIT_PIXEL, 4294967295.0, 1);
    expectSize(QelXyCoordSpace(std::size_t{7}, std::int8_t{8}), QEL_UNIT_PIXEL, 7, 8);
    expectRaises(QelErrorCode::zeroPixelsWide, "Cannot construct zero pixel-wide coordinate space",
                 [] { QelXyCoordSpace(0, -5 + 6); });
}

TEST(QelXyCoordSpaceTest, OfValuesConvertsTheHeight) {
    expectSize(QelXyCoordSpace(inches(8.5), centimeters(27.94)), QEL_UNIT_INCH, 8.5, 11);
    expectSize(QelXyCoordSpace(inches(infinity), inches(1e300)), QEL_UNIT_INCH, infinity, 1e300);
    QelXyCoordSpace const rounded(pixels(639.5), QelValue(480.4, QEL_UNIT_ARBITRARY));
    expectSize(rounded, QEL_UNIT_PIXEL, 640, 480);
    expectSelected(rounded, 640, 480);
}

TEST(QelXyCoordSpaceTest, OfAResolutionIsAsLargeAsItsPixels) {
    QelXyCoordSpace const space(
        Resolution{half(100, QEL_UNIT_INCH, 850), half(100 / 2.54, QEL_UNIT_CENTIMETER, 1100)});
    expectSize(space, QEL_UNIT_INCH, 8.5, 11);
    ASSERT_EQ(1U, space.numResolutions());
    expectSelected(space, 850, 1100);
    EXPECT_EQ(QEL_UNIT_INCH, space.getResolution(0).vert.unit);
    EXPECT_DOUBLE_EQ(100, space.getResolution(0).vert.dpu);
    QelXyCoordSpace const pixel(Resolution{half(1, QEL_UNIT_PIXEL, 5), half(1, QEL_UNIT_PIXEL, 7)});
    expectSize(pixel, QEL_UNIT_PIXEL, 5, 7);
    expectSelected(pixel, 5, 7);
}

TEST(QelXyCoordSpaceTest, OfAResolutionKeepsEveryCount) {
    RandomNumbers random(11);
    for (int i = 0; i < 5000; ++i) {
        std::uint32_t const wide = random.whole(1U, 4294967295U);
        std::uint32_t const high = random.whole(1U, 100000U);
        QelXyCoordSpace const space(
            Resolution{half(random.magnitude(0.1, 1e4), QEL_UNIT_INCH, wide),
                       half(random.magnitude(0.1, 1e4), QEL_UNIT_METER, high)});
        ASSERT_EQ(wide, space.numPixelsWide());
        ASSERT_EQ(high, space.numPixelsHigh());
    }
}

TEST(QelXyCoordSpaceTest, ConstructorsOfCountsAndValuesRefuse) {
    GroupedLocale const grouped;
    constexpr char const * noWidth = "Cannot construct zero pixel-wide coordinate space";
    constexpr char const * noHeight = "Cannot construct zero pixel-high coordinate space";
    constexpr char const * relative =
        "Cannot create coordinate space with relative unit of measure AND size information";
    expectRaises(QelErrorCode::zeroPixelsWide, noWidth, [] { QelXyCoordSpace(0U, 5U); });
    expectRaises(QelErrorCode::zeroPixelsHigh, noHeight, [] { QelXyCoordSpace(5U, 0U); });
    expectRaises(QelErrorCode::zeroPixelsWide, noWidth, [] { QelXyCoordSpace(0U, 0U); });
    expectRaises(QelErrorCode::noSuchUnit, "Unit identifier 256 is not in the range 0 through 255",
                 [] { QelXyCoordSpace(256); });
    struct Case {
        QelValue width;
        QelValue height;
        int code;
        char const * text;
    };
    Case const cases[] = {
        {inches(0), inches(0), QelErrorCode::illegalWorldWidth,
         "Cannot create coordinate space with world-width = 0 inches"},
        {inches(-1234567), inches(1), QelErrorCode::illegalWorldWidth,
         "Cannot create coordinate space with world-width = -1.23457e+06 inches"},
        {inches(nan), inches(1), QelErrorCode::illegalWorldWidth,
         "Cannot create coordinate space with world-width = nan inches"},
        {inches(1), inches(0), QelErrorCode::illegalWorldHeight,
         "Cannot create coordinate space with world-height = 0 inches"},
        {normalized(0), normalized(1), QelErrorCode::illegalWorldWidth,
         "Cannot create coordinate space with world-width = 0 normalized units"},
        {normalized(1), normalized(-2500), QelErrorCode::illegalWorldHeight,
         "Cannot create coordinate space with world-height = -2500 normalized units"},
        {normalized(1), normalized(1), QelErrorCode::unsuitableUnit, relative},
        {{1, QEL_UNIT_WIDTH_RELATIVE}, inches(1), QelErrorCode::unsuitableUnit, relative},
        {{1, QEL_UNIT_HEIGHT_RELATIVE}, inches(1), QelErrorCode::unsuitableUnit, relative},
        {inches(1), normalized(1), QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit normalized units (id = 4) to unit inches (id = 43)"},
        {pixels(1), inches(1), QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)"},
        {pixels(0.4), pixels(0.4), QelErrorCode::zeroPixelsWide, noWidth},
        {pixels(1), pixels(0.4), QelErrorCode::zeroPixelsHigh, noHeight},
        // Above 0.0, but not beyond the tolerance.
        {inches(1e-07), inches(1), QelErrorCode::illegalWidth,
         "Dimension object constructed with width <= 0.0"},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.text);
        expectRaises(each.code, each.text, [&] { QelXyCoordSpace(each.width, each.height); });
    }
}

TEST(QelXyCoordSpaceTest, TheConstructorOfAResolutionRefuses) {
    constexpr char const * otherThanOne =
        "Cannot create pixel-based coordinate space with resolution other than 1.0 dots per unit";
    constexpr char const * relative =
        "Cannot create coordinate space with relative unit of measure AND resolution information.";
    constexpr int inch = QEL_UNIT_INCH;
    constexpr int pixel = QEL_UNIT_PIXEL;
    struct Case {
        QelResolution horz;
        QelResolution vert;
        int code;
        std::string text;
    };
    std::string const prefix = "Cannot construct coordinate space from resolution object ";
    Case const cases[] = {
        {half(2, pixel, 5), half(1, pixel, 5), QelErrorCode::unsuitableResolution, otherThanOne},
        {half(1, pixel, 5), half(2, pixel, 5), QelErrorCode::unsuitableResolution, otherThanOne},
        {half(1, pixel, 5), half(0, 0, 0), QelErrorCode::unsuitableResolution, otherThanOne},
        {half(1, QEL_UNIT_NORMALIZED, 5), half(1, QEL_UNIT_NORMALIZED, 5),
         QelErrorCode::unsuitableResolution, relative},
        {half(0, 0, 5), half(0, 0, 0), QelErrorCode::illegalDotsPerUnit,
         prefix + "with horizontal dots-per-unit = 0"},
        {half(-2500, inch, 5), half(1, inch, 5), QelErrorCode::illegalDotsPerUnit,
         prefix + "with horizontal dots-per-unit = -2500"},
        {half(nan, inch, 5), half(1, inch, 5), QelErrorCode::illegalDotsPerUnit,
         prefix + "with horizontal dots-per-unit = nan"},
        {half(1, inch, 5), half(0, 0, 5), QelErrorCode::illegalDotsPerUnit,
         prefix + "with vertical dots-per-unit = 0"},
        {half(1, inch, 5), half(-1, inch, 5), QelErrorCode::illegalDotsPerUnit,
         prefix + "with vertical dots-per-unit = -1"},
        {half(1, inch, 0), half(1, inch, 0), QelErrorCode::zeroPixelsWide,
         prefix + "with width-in-pixels = 0"},
        {half(1, inch, 5), half(1, inch, 0), QelErrorCode::zeroPixelsHigh,
         prefix + "with height-in-pixels = 0"},
        {half(1, inch, 5), half(1, QEL_UNIT_SECOND, 5), QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)"},
        {half(1, pixel, 5), half(1, inch, 5), QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)"},
        {half(1e12, inch, 5), half(1e12, inch, 5), QelErrorCode::illegalWidth,
         "Dimension object constructed with width <= 0.0"},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.text);
        expectRaises(each.code, each.text, [&] {
            QelXyCoordSpace space(Resolution{each.horz, each.vert});
        });
    }
}

TEST(QelXyCoordSpaceTest, KnowsItsKind) {
    QelXyCoordSpace space(inches(10), inches(10));
    EXPECT_FALSE(space.isArbitraryRes());
    space.addResolution({half(0, 0, 100), {}});
    space.addResolution({{}, half(0, 0, 100)});
    EXPECT_FALSE(space.isArbitraryRes());
    space.addResolution(Resolution());
    EXPECT_TRUE(space.isArbitraryRes());
    EXPECT_EQ(3U, space.numResolutions());
    EXPECT_FALSE(QelXyCoordSpace(1U, 1U).isArbitraryRes());
}

TEST(QelXyCoordSpaceTest, GetResolutionRefusesABadIndex) {
    QelXyCoordSpace const space(5, 5);
    expectRaises(QelErrorCode::outOfRange,
                 "index value 1 passed to QelXyDimension::resolution(), but object has only 1 "
                 "resolution entries",
                 [&] { space.getResolution(1); });
}

TEST(QelXyCoordSpaceTest, ClonesKeepClassAndSelection) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution({half(0, 0, 100), {}});
    space.selectResolution(100, 50);
    MoxSmartPtr<QelCoordSpace> const clone = space.clone();
    ASSERT_NE(nullptr, dynamic_cast<QelXyCoordSpace *>(clone.get()));
    EXPECT_EQ(stateOf(static_cast<QelCoordSpace &>(space)), stateOf(*clone));
    MoxSmartPtr<QelXyCoordSpace> const xy = space.cloneXy();
    EXPECT_EQ(stateOf(space), stateOf(*xy));
    EXPECT_EQ(1, xy->refCount());
}

TEST(QelXyCoordSpaceTest, IsCompatibleTable) {
    QelXyCoordSpace own(inches(10), inches(10));
    own.addResolution(1000, 1000);
    own.addResolution(500, 500);
    auto const spaceOf = [](QelValue const & width, QelValue const & height, std::uint32_t wide,
                            std::uint32_t high) {
        QelXyCoordSpace space(width, height);
        space.addResolution(wide, high);
        space.selectResolution(wide, high);
        return space;
    };
    EXPECT_FALSE(own.isCompatible(own)) << "nothing is selected";
    QelXyCoordSpace sharing(own);
    sharing.selectResolution(500, 500);
    EXPECT_TRUE(own.isCompatible(sharing));
    EXPECT_TRUE(own.isCompatible(spaceOf(inches(10), inches(10), 500, 500)));
    EXPECT_FALSE(own.isCompatible(spaceOf(inches(10), inches(10), 500, 501)));
    EXPECT_FALSE(own.isCompatible(spaceOf(centimeters(25.4), centimeters(25.4), 500, 500)));
    // A dot of the other's: 1 / 49.9 and 1 / 50.1 of an inch.
    EXPECT_TRUE(own.isCompatible(spaceOf(inches(10.0199), inches(10), 500, 500)));
    EXPECT_FALSE(own.isCompatible(spaceOf(inches(10.0202), inches(10), 500, 500)));
    EXPECT_TRUE(own.isCompatible(spaceOf(inches(10), inches(9.9801), 500, 500)));
    EXPECT_FALSE(own.isCompatible(spaceOf(inches(10), inches(9.9799), 500, 500)));
}

TEST(QelXyCoordSpaceTest, NewSpaceKeepsDotsPerUnit) {
    QelXyCoordSpace space(inches(10), inches(20));
    space.addResolution(1000, 1000);
    space.addResolution({half(0, 0, 500), {}});
    space.selectResolution(1000, 1000);
    MoxSmartPtr<QelXyCoordSpace> const other = space.newSpace(centimeters(12.7), inches(10));
    expectSize(*other, QEL_UNIT_INCH, 5, 10);
    ASSERT_EQ(2U, other->numResolutions());
    EXPECT_EQ(500U, other->getResolution(0).horz.pixels);
    EXPECT_EQ(500U, other->getResolution(0).vert.pixels);
    EXPECT_DOUBLE_EQ(100, other->getResolution(0).horz.dpu);
    EXPECT_EQ(250U, other->getResolution(1).horz.pixels);
    EXPECT_TRUE(other->getResolution(1).vert.isArbitrary());
    expectSelected(*other, 500, 500);
    expectSelected(space, 1000, 1000);
    // Parts are those of the old extents.
    expectSize(*space.newSpace(normalized(0.5), {0.5, QEL_UNIT_WIDTH_RELATIVE}), QEL_UNIT_INCH, 5,
               5);
}

TEST(QelXyCoordSpaceTest, NewSpaceOfPixelsMustHaveTheSameSize) {
    QelXyCoordSpace const space(1640, 480);
    EXPECT_EQ(stateOf(space), stateOf(*space.newSpace(pixels(1640.2), pixels(479.5))));
    GroupedLocale const grouped;
    std::string const prefix =
        "It is illegal to create a new QEL_UNIT_PIXEL coordinate space from an old QEL_UNIT_PIXEL "
        "coord space that has a different number of pixels: ";
    expectRaises(QelErrorCode::pixelCountsDiffer, prefix + "(1640,481) vs. (1640,480)",
                 [&] { space.newSpace(pixels(1640), pixels(481)); });
    expectRaises(QelErrorCode::pixelCountsDiffer, prefix + "(0,4294967295) vs. (1640,480)",
                 [&] { space.newSpace(pixels(-5), pixels(4294967295.0)); });
    expectRaises(QelErrorCode::pixelCountsDiffer, prefix + "(0,0) vs. (1640,480)",
                 [&] { space.newSpace(pixels(nan), pixels(-1e300)); });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)",
                 [&] { space.newSpace(inches(5), pixels(480)); });
}

TEST(QelXyCoordSpaceTest, IsNotAssignedToThroughItsBase) {
    QelXyCoordSpace space(640, 480);
    QelCoordSpace & base = space;
    QelCoordSpace const other(std::make_unique<QelDimension>("length", inches(10)));
    std::string const before = stateOf(space);
    expectRaises(QelErrorCode::unsupported,
                 "Cannot override x-dimension of QelXyCoordSpace by calling operator=( )",
                 [&] { base = other; });
    EXPECT_EQ(before, stateOf(space));
    QelCoordSpace const & same = space;
    base = same;
    EXPECT_EQ(before, stateOf(space));
    space = QelXyCoordSpace(5, 6);
    EXPECT_EQ(5U, space.numPixelsWide());
}

}  // namespace
