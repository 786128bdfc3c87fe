#include "QelValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "ExpectError.h"
#include "UnitTesting.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

static_assert(sizeof(QelValue) == 16);
static_assert(!std::is_polymorphic_v<QelValue>);
static_assert(std::is_trivially_copyable_v<QelValue>);

constexpr char const * pixelsToInches =
    "Cannot convert from unit pixels (id = 1) to unit inches (id = 43)";
constexpr char const * inchesToPixels =
    "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)";

void expectValue(double number, int unit, QelValue const & value) {
    EXPECT_EQ(number, value.value());
    EXPECT_EQ(unit, value.unit());
}

TEST(QelValueTest, TheDefaultIsZeroInArbitraryUnits) {
    expectValue(0.0, QEL_UNIT_ARBITRARY, QelValue());
}

TEST(QelValueTest, ConstructorsConvertAndCheckTheUnit) {
    expectValue(2.5, QEL_UNIT_HOUR, QelValue(2.5, QEL_UNIT_HOUR));
    expectValue(0.1, QEL_UNIT_INCH, QelValue(QelValue(0.1, QEL_UNIT_INCH), QEL_UNIT_INCH));
    expectValue(150.0, QEL_UNIT_MINUTE, QelValue(QelValue(2.5, QEL_UNIT_HOUR), QEL_UNIT_MINUTE));
    expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered",
                 [] { QelValue(1.0, 9); });
    expectRaises(QelErrorCode::noSuchUnit, "Unit identifier 256 is not in the range 0 through 255",
                 [] { QelValue(1.0, 256); });
    expectRaises(QelErrorCode::noSuchUnit, "Unit identifier -1 is not in the range 0 through 255",
                 [] { QelValue(1.0, -1); });
    expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered",
                 [] { QelValue(QelValue(), 9); });
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [] { QelValue(inches(1.0), QEL_UNIT_PIXEL); });
}

TEST(QelValueTest, AssignmentTakesOrKeepsTheUnit) {
    QelValue value(1.0, QEL_UNIT_INCH);
    value = 3.0;
    expectValue(3.0, QEL_UNIT_INCH, value);
    value.setValue(4.0);
    expectValue(4.0, QEL_UNIT_INCH, value);
    value.assignConverted(QelValue(0.0508, QEL_UNIT_METER));
    expectValue(0.0508 / 0.0254, QEL_UNIT_INCH, value);
    value.assignConverted(QelValue(7.0, QEL_UNIT_ARBITRARY));
    expectValue(7.0, QEL_UNIT_INCH, value);
    expectRaises(QelErrorCode::cannotConvertUnit, pixelsToInches,
                 [&] { value.assignConverted(pixels(2.0)); });
    expectValue(7.0, QEL_UNIT_INCH, value);
    value = pixels(2.0);
    expectValue(2.0, QEL_UNIT_PIXEL, value);
}

TEST(QelValueTest, ConvertsInPlace) {
    QelValue value(90.0, QEL_UNIT_MINUTE);
    value.convertTo(QEL_UNIT_HOUR);
    expectValue(1.5, QEL_UNIT_HOUR, value);
    value.convertTo(QEL_UNIT_HOUR);
    expectValue(1.5, QEL_UNIT_HOUR, value);
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit hours (id = 21) to unit meters (id = 5)",
                 [&] { value.convertTo(QEL_UNIT_METER); });
    expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 127 has not been registered",
                 [&] { value.convertTo(127); });
    expectValue(1.5, QEL_UNIT_HOUR, value);
    EXPECT_EQ(90.0, value.valueIn(QEL_UNIT_MINUTE));
    EXPECT_EQ(QEL_UNIT_SECOND, value.getStandardUnit());
}

TEST(QelValueTest, ArbitraryUnitsAreRelabelled) {
    for (int id : builtInIds()) {
        SCOPED_TRACE(id);
        QelValue value(12.75, QEL_UNIT_ARBITRARY);
        value.convertTo(id);
        expectValue(12.75, id, value);
        value.convertTo(QEL_UNIT_ARBITRARY);
        expectValue(12.75, QEL_UNIT_ARBITRARY, value);
    }
}

TEST(QelValueTest, FactoriesHaveTheirUnit) {
    expectValue(2.0, QEL_UNIT_INCH, inches(2.0));
    expectValue(2.0, QEL_UNIT_CENTIMETER, centimeters(2.0));
    expectValue(2.0, QEL_UNIT_POINT, points(2.0));
    expectValue(2.0, QEL_UNIT_NORMALIZED, normalized(2.0));
    expectValue(2.0, QEL_UNIT_PIXEL, pixels(2.0));
    QelValue const meter(1.0, QEL_UNIT_METER);
    expectValue(1.0 / 0.0254, QEL_UNIT_INCH, inches(meter));
    expectValue(1.0 / 0.01, QEL_UNIT_CENTIMETER, centimeters(meter));
    expectValue(1.0 / 0.00035277777777777776, QEL_UNIT_POINT, points(meter));
    expectValue(3.0, QEL_UNIT_NORMALIZED, normalized(QelValue(3.0, 0)));
    expectValue(3.0, QEL_UNIT_PIXEL, pixels(QelValue(3.0, 0)));
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit meters (id = 5) to unit normalized units (id = 4)",
                 [&] { normalized(meter); });
}

TEST(QelValueTest, ArithmeticIsInTheLeftUnit) {
    // "Two inches plus one centimeter gives a value in inches: 2 + 0.01/0.0254"
    expectValue(2 + 0.01 / 0.0254, QEL_UNIT_INCH, inches(2.0) + centimeters(1.0));
    expectValue(2 - 0.01 / 0.0254, QEL_UNIT_INCH, inches(2.0) - centimeters(1.0));
    expectValue(3.5, QEL_UNIT_INCH, inches(2.0) + 1.5);
    expectValue(0.5, QEL_UNIT_INCH, inches(2.0) - 1.5);
    expectValue(3.0, QEL_UNIT_INCH, inches(2.0) * 1.5);
    expectValue(5.0, QEL_UNIT_PIXEL, pixels(2.0) + QelValue(3.0, 0));
    expectValue(5.0, QEL_UNIT_ARBITRARY, QelValue(2.0, 0) + pixels(3.0));
    QelValue value = inches(2.0);
    value += inches(1.0);
    value -= QelValue(0.5, 0);
    value += 1.5;
    value -= 2.0;
    value *= 4.0;
    expectValue(8.0, QEL_UNIT_INCH, value);
    value.scale(0.5);
    expectValue(4.0, QEL_UNIT_INCH, value);
    value += value;
    expectValue(8.0, QEL_UNIT_INCH, value);
}

TEST(QelValueTest, ArithmeticWithOtherStandardsIsRefused) {
    QelValue value = inches(2.0);
    expectRaises(QelErrorCode::cannotConvertUnit, pixelsToInches, [&] { value += pixels(1.0); });
    expectRaises(QelErrorCode::cannotConvertUnit, pixelsToInches, [&] { value -= pixels(1.0); });
    expectRaises(QelErrorCode::cannotConvertUnit, pixelsToInches,
                 [&] { static_cast<void>(value + pixels(1.0)); });
    expectRaises(QelErrorCode::cannotConvertUnit, pixelsToInches,
                 [&] { static_cast<void>(value - pixels(1.0)); });
    expectValue(2.0, QEL_UNIT_INCH, value);
}

TEST(QelValueTest, RoundsInPlace) {
    struct Case {
        double number, rounded, truncated, ceiling, floored;
    };
    for (Case const & each : {
             Case{2.5, 3, 2, 3, 2},
             {-2.5, -2, -2, -2, -3},
             {2.49, 2, 2, 3, 2},
             {-2.51, -3, -2, -2, -3},
             {7, 7, 7, 7, 7},
             {-0.5, 0, 0, 0, -1},
             {1e300, 1e300, 1e300, 1e300, 1e300},
             {-inf, -inf, -inf, -inf, -inf},
         }) {
        SCOPED_TRACE(each.number);
        QelValue const value(each.number, QEL_UNIT_POINT);
        QelValue result = value;
        result.round();
        expectValue(each.rounded, QEL_UNIT_POINT, result);
        (result = value).truncate();
        expectValue(each.truncated, QEL_UNIT_POINT, result);
        (result = value).ceiling();
        expectValue(each.ceiling, QEL_UNIT_POINT, result);
        (result = value).floor();
        expectValue(each.floored, QEL_UNIT_POINT, result);
    }
}

TEST(QelValueTest, PixelsDoNotCompareWithInches) {
    QelValue const a = pixels(1.0);
    QelValue const b = inches(1.0);
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [&] { static_cast<void>(a == b); });
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [&] { static_cast<void>(a != b); });
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [&] { static_cast<void>(a < b); });
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [&] { static_cast<void>(a > b); });
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [&] { static_cast<void>(a <= b); });
    expectRaises(QelErrorCode::cannotConvertUnit, inchesToPixels,
                 [&] { static_cast<void>(a >= b); });
    expectRaises(QelErrorCode::cannotConvertUnit, pixelsToInches,
                 [&] { static_cast<void>(b == a); });
    EXPECT_TRUE(a == QelValue(1.0, QEL_UNIT_ARBITRARY));
    EXPECT_TRUE(QelValue(1.0, QEL_UNIT_ARBITRARY) == b);
}

TEST(QelValueTest, TheLeftToleranceDecides) {
    // "0.0 meters equals 0.5 microns, while 0.5 microns does not equal 0.0 meters"
    QelValue const zero(0.0, QEL_UNIT_METER);
    QelValue const half(0.5, QEL_UNIT_MICRON);
    EXPECT_TRUE(zero == half);
    EXPECT_FALSE(zero < half);
    EXPECT_FALSE(half == zero);
    EXPECT_TRUE(half > zero);
}

TEST(QelValueTest, ComparesWithNumbersInItsOwnUnit) {
    QelValue const value(1.0, QEL_UNIT_MILLIMETER);
    EXPECT_TRUE(value == 1.0009);
    EXPECT_TRUE(value != 1.0011);
    EXPECT_TRUE(value < 1.0011);
    EXPECT_FALSE(value < 1.0009);
    EXPECT_TRUE(value <= 0.9991);
    EXPECT_FALSE(value <= 0.9989);
    EXPECT_TRUE(value > 0.9989);
    EXPECT_FALSE(value > 0.9991);
    EXPECT_TRUE(value >= 1.0009);
    EXPECT_FALSE(value >= 1.0011);
}

TEST(QelValueTest, ATolerancesBreadthApartIsOneThingOnly) {
    // Taking 0.001 from 0.701 rounds to 0.7 although the two are further apart than that.
    QelValue const a(0.7, QEL_UNIT_MILLIMETER);
    QelValue const b(0.701, QEL_UNIT_MILLIMETER);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(a > b);
    EXPECT_TRUE(b > a);
    EXPECT_FALSE(b < a);
}

TEST(QelValueTest, InfinitiesEqualThemselves) {
    QelValue const value(inf, QEL_UNIT_METER);
    EXPECT_TRUE(value == inf);
    EXPECT_FALSE(value < inf);
    EXPECT_FALSE(value > inf);
    EXPECT_TRUE(value > -inf);
    EXPECT_TRUE(QelValue(-inf, QEL_UNIT_METER) < 0.0);
}

TEST(QelValueTest, CompatibleUnitsAreThoseThatConvert) {
    for (int a : builtInIds()) {
        for (int b : builtInIds()) {
            SCOPED_TRACE(std::to_string(a) + ' ' + std::to_string(b));
            bool converts = true;
            try {
                QelValue(QelValue(1.0, a), b);
            } catch (ZanError const & error) {
                EXPECT_EQ(QelErrorCode::cannotConvertUnit, error.getErrcode());
                converts = false;
            }
            EXPECT_EQ(converts, QelValue::isCompatible(a, b));
            EXPECT_EQ(converts, QelValue(1.0, a).isCompatible(QelValue(1.0, b)));
        }
    }
}

TEST(QelValueTest, CompatibilityLooksUnitsUpOnlyIfItHasTo) {
    EXPECT_TRUE(QelValue::isCompatible(9, 9));
    EXPECT_TRUE(QelValue::isCompatible(0, 999));
    EXPECT_TRUE(QelValue::isCompatible(-5, 0));
    expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered",
                 [] { QelValue::isCompatible(5, 9); });
    expectRaises(QelErrorCode::noSuchUnit, "Unit identifier 256 is not in the range 0 through 255",
                 [] { QelValue::isCompatible(256, 5); });
}

}  // namespace
