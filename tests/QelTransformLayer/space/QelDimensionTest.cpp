#include "QelDimension.h"

#include <cmath>
#include <iostream>
#include <limits>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "SpaceTesting.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

constexpr char const * relativeWidth =
    "dimension based on relative unit of measure must have a width of 0.0 or 1.0";
constexpr char const * noWidth = "Dimension object constructed with width <= 0.0";

void expectRange(QelDimension const & dimension, int unit, double min, double max, double width,
                 int discrete) {
    QelValueRange const & range = dimension.range();
    EXPECT_EQ(unit, dimension.unit());
    EXPECT_EQ(unit, range.max().unit());
    EXPECT_EQ(unit, dimension.width().unit());
    EXPECT_DOUBLE_EQ(min, range.min().value());
    EXPECT_DOUBLE_EQ(max, range.max().value());
    EXPECT_DOUBLE_EQ(width, range.width().value());
    EXPECT_EQ(discrete, range.discrete());
    EXPECT_TRUE(range.minClosed());
    EXPECT_TRUE(range.maxClosed());
}

QelDimension physical() {
    return {"length", inches(2.0), inches(10.0), 0};
}

QelDimension inPixels() {
    return {"x", 640};
}

QelDimension relative() {
    return {"part", normalized(1.0)};
}

TEST(QelDimensionTest, OfPixelsIsDiscreteFromZero) {
    QelDimension const dimension("x", 640);
    EXPECT_EQ("x", dimension.name());
    expectRange(dimension, QEL_UNIT_PIXEL, 0, 639, 640, 1);
    EXPECT_TRUE(dimension.isPixelBased());
    EXPECT_FALSE(dimension.isRelative());
    expectRange(QelDimension("x", 4294967295U), QEL_UNIT_PIXEL, 0, 4294967294.0, 4294967295.0, 1);
    expectRange(QelDimension("x", pixels(3.6)), QEL_UNIT_PIXEL, 0, 3, 4, 1);
}

// A length has a unit; its number alone is no count of pixels.
static_assert(std::is_constructible_v<QelDimension, char const *, int>);
static_assert(std::is_constructible_v<QelDimension, std::string, std::size_t>);
static_assert(!std::is_constructible_v<QelDimension, char const *, double>);
static_assert(!std::is_constructible_v<QelDimension, std::string, float>);

TEST(QelDimensionTest, CountsThatDoNotFitAreRefused) {
    std::string const end = " is not from 0 to 4294967295";
    expectRaises(QelErrorCode::invalidValue, "pixel count -5" + end, [] { QelDimension("x", -5); });
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967296" + end,
                 [] { QelDimension("x", std::size_t{1} << 32); });
}

// The edge cases: no pixel is an error, a relative width of 0.0 is none.
TEST(QelDimensionTest, OfZeroPixelsRaisesButARelativeWidthOfZeroIsLegal) {
    expectRaises(QelErrorCode::illegalWidth,
                 "pixel based dimension object constructed with width equal to zero pixels",
                 [] { QelDimension("x", 0U); });
    expectRange(QelDimension("x", normalized(0.0)), QEL_UNIT_NORMALIZED, 0, 0, 0, 0);
    expectRange(QelDimension("x", normalized(0.0), normalized(0.0), 0), QEL_UNIT_NORMALIZED, 0, 0,
                0, 0);
}

TEST(QelDimensionTest, OfAWidthIsContinuousFromZero) {
    expectRange(QelDimension("x", inches(8.5)), QEL_UNIT_INCH, 0, 8.5, 8.5, 0);
    expectRange(QelDimension("x", {1.0, QEL_UNIT_WIDTH_RELATIVE}), QEL_UNIT_WIDTH_RELATIVE, 0, 1, 1,
                0);
    expectRange(QelDimension("x", {1.0, QEL_UNIT_HEIGHT_RELATIVE}), QEL_UNIT_HEIGHT_RELATIVE, 0, 1,
                1, 0);
    EXPECT_TRUE(relative().isRelative());
}

TEST(QelDimensionTest, OfARangeConvertsTheWidthAndRoundsWhatIsDiscrete) {
    expectRange(QelDimension("x", inches(1.0), centimeters(5.08), 0), QEL_UNIT_INCH, 1, 3, 2, 0);
    expectRange(QelDimension("x", inches(-1.6), inches(9.5), 1), QEL_UNIT_INCH, -2, 7, 10, 1);
    expectRange(QelDimension("x", pixels(0.0), pixels(9.0), 1), QEL_UNIT_PIXEL, 0, 8, 9, 1);
    // What stands for one is converted too.
    expectRange(QelDimension("x", pixels(0.0), {9.0, QEL_UNIT_ARBITRARY}, 7), QEL_UNIT_PIXEL, 0, 8,
                9, 1);
}

TEST(QelDimensionTest, WidthConstructorRefuses) {
    struct Case {
        QelValue width;
        int code;
        char const * text;
    };
    Case const cases[] = {
        {normalized(0.5), QelErrorCode::illegalExtent, relativeWidth},
        {normalized(nan), QelErrorCode::illegalExtent, relativeWidth},
        {{1.0 + 1e-9, QEL_UNIT_WIDTH_RELATIVE}, QelErrorCode::illegalExtent, relativeWidth},
        {{-1.0, QEL_UNIT_HEIGHT_RELATIVE}, QelErrorCode::illegalExtent, relativeWidth},
        {inches(0.0), QelErrorCode::illegalWidth, noWidth},
        {inches(-1.0), QelErrorCode::illegalWidth, noWidth},
        // Within the tolerance.
        {inches(1e-07), QelErrorCode::illegalWidth, noWidth},
        {inches(3.9e-05), QelErrorCode::illegalWidth, noWidth},
        {inches(nan), QelErrorCode::illegalWidth, noWidth},
        {pixels(0.0), QelErrorCode::illegalWidth, noWidth},
        {pixels(0.4), QelErrorCode::illegalWidth, noWidth},
        {pixels(-3.0), QelErrorCode::illegalWidth, noWidth},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.width.value());
        expectRaises(each.code, each.text, [&] { QelDimension("x", each.width); });
    }
    EXPECT_NO_THROW(QelDimension("x", inches(4e-05)));
}

TEST(QelDimensionTest, RangeConstructorRefusesInThisOrder) {
    constexpr char const * negative = "Negative width value";
    struct Case {
        char const * name;
        QelValue origin;
        QelValue width;
        int discrete;
        int code;
        char const * text;
    };
    Case const cases[] = {
        {"negative", inches(0), inches(-1), 0, QelErrorCode::illegalWidth, negative},
        {"negative comes first", pixels(1), pixels(-1), 0, QelErrorCode::illegalWidth, negative},
        {"not a number", inches(0), inches(nan), 0, QelErrorCode::illegalWidth, negative},
        {"units", pixels(1), inches(1), 0, QelErrorCode::cannotConvertUnit,
         "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)"},
        {"continuous pixels", pixels(1), pixels(0), 0, QelErrorCode::illegalExtent,
         "pixel based dimension object must use discrete coordinates"},
        {"pixels from elsewhere", pixels(1), pixels(0), 1, QelErrorCode::illegalExtent,
         "pixel based dimension object must have origin at zero"},
        {"pixels from nowhere", pixels(nan), pixels(1), 1, QelErrorCode::illegalExtent,
         "pixel based dimension object must have origin at zero"},
        {"no pixels", pixels(0), pixels(0.4), 1, QelErrorCode::illegalWidth, noWidth},
        {"discrete parts", normalized(1), normalized(0.5), 1, QelErrorCode::illegalExtent,
         "dimension based on relative unit of measure must use continuous coordinates"},
        {"parts from elsewhere", normalized(1e-9), normalized(0.5), 0, QelErrorCode::illegalExtent,
         "dimension based on relative unit of measure must have origin at zero"},
        {"half", normalized(0), normalized(0.5), 0, QelErrorCode::illegalExtent, relativeWidth},
        {"nothing", inches(0), inches(0), 0, QelErrorCode::illegalWidth, noWidth},
        {"within the tolerance", inches(0), inches(1e-07), 0, QelErrorCode::illegalWidth, noWidth},
        {"rounded to nothing", inches(0), inches(0.4), 1, QelErrorCode::illegalWidth, noWidth},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        expectRaises(each.code, each.text,
                     [&] { QelDimension("x", each.origin, each.width, each.discrete); });
    }
}

TEST(QelDimensionTest, SetUnitConverts) {
    QelDimension dimension = physical();
    dimension.setUnit(QEL_UNIT_CENTIMETER);
    expectRange(dimension, QEL_UNIT_CENTIMETER, 5.08, 30.48, 25.4, 0);
    dimension.setUnit(QEL_UNIT_ARBITRARY);
    expectRange(dimension, QEL_UNIT_ARBITRARY, 5.08, 30.48, 25.4, 0);
    dimension.setUnit(QEL_UNIT_PIXEL);
    expectRange(dimension, QEL_UNIT_PIXEL, 0, 24, 25, 1);
    dimension.setUnit(QEL_UNIT_ARBITRARY);
    expectRange(dimension, QEL_UNIT_ARBITRARY, 0, 24, 25, 1);
    dimension.setUnit(QEL_UNIT_HEIGHT_RELATIVE);
    expectRange(dimension, QEL_UNIT_HEIGHT_RELATIVE, 0, 1, 1, 0);
}

TEST(QelDimensionTest, SetUnitRefuses) {
    QelDimension zero("x", normalized(0.0));
    QelDimension narrow("x", QelValue(0.4, QEL_UNIT_ARBITRARY));
    QelDimension thin("x", QelValue(1e-5, QEL_UNIT_ARBITRARY));
    QelDimension pixel = inPixels();
    QelDimension part = relative();
    QelDimension length = physical();
    // The edge case: pixels are not set to pixels again.
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert dimension object from unit \"pixel\" to unit \"pixel\"", pixel,
                   pixel.setUnit(QEL_UNIT_PIXEL));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert dimension object from unit \"inch\" to unit \"pixel\"", length,
                   length.setUnit(QEL_UNIT_PIXEL));
    EXPECT_REFUSED(
        QelErrorCode::cannotConvertUnit,
        "Cannot convert dimension object from unit \"normalized unit\" to unit \"normalized unit\"",
        part, part.setUnit(QEL_UNIT_NORMALIZED));
    EXPECT_REFUSED(
        QelErrorCode::cannotConvertUnit,
        "Cannot convert dimension object from unit \"inch\" to unit \"width relative unit\"",
        length, length.setUnit(QEL_UNIT_WIDTH_RELATIVE));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit inches (id = 43) to unit seconds (id = 6)", length,
                   length.setUnit(QEL_UNIT_SECOND));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit pixels (id = 1) to unit inches (id = 43)", pixel,
                   pixel.setUnit(QEL_UNIT_INCH));
    EXPECT_REFUSED(QelErrorCode::unitNotRegistered, "Unit identifier 99 has not been registered",
                   length, length.setUnit(99));
    EXPECT_REFUSED(QelErrorCode::noSuchUnit, "Unit identifier -1 is not in the range 0 through 255",
                   length, length.setUnit(-1));
    EXPECT_REFUSED(QelErrorCode::illegalWidth,
                   "Dimension object with was converted to unit \"pixel\" and the width of the "
                   "dimension extent is now <= 0.0",
                   narrow, narrow.setUnit(QEL_UNIT_PIXEL));
    EXPECT_REFUSED(QelErrorCode::illegalWidth,
                   "Dimension object with was converted to unit \"inch\" and the width of the "
                   "dimension extent is now <= 0.0",
                   thin, thin.setUnit(QEL_UNIT_INCH));
    EXPECT_REFUSED(QelErrorCode::illegalWidth,
                   "Dimension object with was converted to unit \"arbitrary unit\" and the width "
                   "of the dimension extent is now <= 0.0",
                   zero, zero.setUnit(QEL_UNIT_ARBITRARY));
}

TEST(QelDimensionTest, ChangesItsExtent) {
    QelDimension dimension = physical();
    dimension.setOrigin(centimeters(2.54));
    expectRange(dimension, QEL_UNIT_INCH, 1, 11, 10, 0);
    dimension.setWidth(centimeters(12.7));
    expectRange(dimension, QEL_UNIT_INCH, 1, 6, 5, 0);
    dimension.translate(centimeters(-5.08));
    expectRange(dimension, QEL_UNIT_INCH, -1, 4, 5, 0);
    dimension.scale(2.0);
    expectRange(dimension, QEL_UNIT_INCH, -2, 8, 10, 0);
    dimension.scale(-0.5);
    expectRange(dimension, QEL_UNIT_INCH, -4, 1, 5, 0);
    dimension.setRange({centimeters(25.4), centimeters(2.54), 0, false, false});
    expectRange(dimension, QEL_UNIT_INCH, 10, 11, 1, 0);
    dimension.setName("renamed");
    EXPECT_EQ("renamed", dimension.name());
}

TEST(QelDimensionTest, InPixelsOnlyTheWidthChanges) {
    QelDimension dimension = inPixels();
    dimension.setWidth(pixels(99.5));
    expectRange(dimension, QEL_UNIT_PIXEL, 0, 99, 100, 1);
    dimension.scale(-0.255);
    expectRange(dimension, QEL_UNIT_PIXEL, 0, 25, 26, 1);
    dimension.setRange({pixels(7.0), pixels(9.0), 1, true, true});
    expectRange(dimension, QEL_UNIT_PIXEL, 0, 8, 9, 1);
}

TEST(QelDimensionTest, ChangesAreRefused) {
    QelDimension pixel = inPixels();
    QelDimension part = relative();
    QelDimension length = physical();
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot change origin of dimension defined in units of \"pixels\"", pixel,
                   pixel.setOrigin(pixels(0)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot change origin of dimension defined in units of \"normalized units\"",
                   part, part.setOrigin(normalized(0)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot change width of dimension defined in units of \"normalized units\"",
                   part, part.setWidth(normalized(1)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot change width of dimension defined in units of \"normalized units\"",
                   part, part.setRange(part.range()));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot translate origin of dimension defined in units of \"pixels\"", pixel,
                   pixel.translate(pixels(0)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot translate origin of dimension defined in units of \"normalized units\"",
                   part, part.translate(normalized(0)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot scale dimension defined in units of \"normalized units\"", part,
                   part.scale(1.0));

    constexpr char const * badWidth =
        "attempt to set width of dimension object to a values which is <= 0.0";
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badWidth, length, length.setWidth(inches(0)));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badWidth, length, length.setWidth(inches(1e-07)));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badWidth, pixel, pixel.setWidth(pixels(0.4)));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, "Negative width value", length,
                   length.setWidth(inches(-1)));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, "Negative width value", length,
                   length.setWidth(inches(nan)));

    constexpr char const * badScale =
        "scale( ) of dimension object resulted in dimension where width is <= 0.0";
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badScale, pixel, pixel.scale(0.0));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badScale, pixel, pixel.scale(0.0005));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badScale, length, length.scale(0.0));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, badScale, length, length.scale(nan));
    EXPECT_REFUSED(QelErrorCode::illegalWidth, "Negative width value", pixel, pixel.scale(nan));

    constexpr char const * noSeconds =
        "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)";
    QelValue const second(1.0, QEL_UNIT_SECOND);
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit, noSeconds, length, length.setOrigin(second));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit, noSeconds, length, length.setWidth(second));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit, noSeconds, length, length.translate(second));
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit, noSeconds, length,
                   length.setRange({second, second, 0, true, true}));
}

// A derived class that refuses the second half of setRange().
TEST(QelDimensionTest, SetRangeTakesTheWidthBackWhenTheOriginIsRefused) {
    class Fixed : public QelDimension {
      public:
        Fixed() : QelDimension("fixed", inches(5.0)) {}
        void setOrigin(QelValue const &) override { refuse("No "); }
    };
    Fixed dimension;
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit, "No \"inches\"", dimension,
                   dimension.setRange({inches(1), inches(2), 0, true, true}));
}

TEST(QelDimensionTest, ACloneIsIndependent) {
    QelDimension dimension = physical();
    std::unique_ptr<QelDimension> const copy = dimension.clone();
    std::string const before = stateOf(dimension);
    EXPECT_EQ(before, stateOf(*copy));
    copy->setName("copy");
    copy->scale(3.0);
    EXPECT_EQ(before, stateOf(dimension));
    expectRange(*copy, QEL_UNIT_INCH, 6, 36, 30, 0);
}

TEST(QelDimensionTest, ExtremesAreNumbersLikeOthers) {
    expectRange(QelDimension("x", inches(1e300)), QEL_UNIT_INCH, 0, 1e300, 1e300, 0);
    QelDimension dimension("x", inches(infinity));
    EXPECT_EQ(infinity, dimension.width().value());
    QelDimension pixel("x", 2147483648U);
    pixel.scale(1e300);
    EXPECT_DOUBLE_EQ(2147483648.0 * 1e300, pixel.width().value());
}

}  // namespace
