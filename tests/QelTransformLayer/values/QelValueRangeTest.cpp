#include "QelValueRange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "ExpectError.h"
#include "UnitTesting.h"

namespace {

constexpr char const * negativeWidth = "Negative width value";
constexpr char const * toInches =
    "Cannot convert from unit pixels (id = 1) to unit inches (id = 43)";

QelValue plain(double number) {
    return {number, QEL_UNIT_ARBITRARY};
}

QelValueRange discrete(double min, double width, bool minClosed = true, bool maxClosed = true) {
    return {plain(min), plain(width), 1, minClosed, maxClosed};
}

QelValueRange continuous(double min, double width, bool minClosed = true, bool maxClosed = true) {
    return {plain(min), plain(width), 0, minClosed, maxClosed};
}

std::string told(QelValueRange const & range) {
    std::ostringstream out;
    out << (range.minClosed() ? '[' : '(') << range.min().value() << ' ' << range.max().value()
        << (range.maxClosed() ? ']' : ')') << ' ' << range.width().value() << " of " << range.unit()
        << ' ' << range.max().unit() << ' ' << range.width().unit()
        << (range.discrete() == 1 ? " discrete" : "");
    return out.str();
}

TEST(QelValueRangeTest, TheMaximumFollowsFromTheWidth) {
    EXPECT_EQ("[0 9] 10 of 0 0 0 discrete", told(discrete(0, 10)));
    EXPECT_EQ("[0 10) 10 of 0 0 0 discrete", told(discrete(0, 10, true, false)));
    EXPECT_EQ("(0 10] 10 of 0 0 0 discrete", told(discrete(0, 10, false, true)));
    EXPECT_EQ("(0 11) 10 of 0 0 0 discrete", told(discrete(0, 10, false, false)));
    EXPECT_EQ("[5 5] 1 of 0 0 0 discrete", told(discrete(5, 1)));
    EXPECT_EQ("(0 10) 10 of 0 0 0", told(continuous(0, 10, false, false)));
}

TEST(QelValueRangeTest, AContinuousRangeEndsAtMinimumPlusWidth) {
    // "A continuous range from 2.0 of width 3.0 has max 5.0"
    EXPECT_EQ("[2 5] 3 of 0 0 0", told(continuous(2.0, 3.0)));
}

TEST(QelValueRangeTest, ConstructionConvertsAndRounds) {
    QelValueRange const range(QelValue(1.0, QEL_UNIT_HOUR), QelValue(90, QEL_UNIT_MINUTE), 0, true,
                              false);
    EXPECT_EQ("[1 2.5) 1.5 of 21 21 21", told(range));
    EXPECT_EQ("[3 12] 10 of 0 0 0 discrete", told(discrete(2.5, 9.5)));
    EXPECT_EQ("[-2 -2] 1 of 0 0 0 discrete", told(discrete(-2.5, 0.5)));
    // Any other number than 0 means discrete.
    EXPECT_EQ(1, QelValueRange(plain(0), plain(1), 7, true, true).discrete());
}

TEST(QelValueRangeTest, WithoutWidthBothEndsAreAlike) {
    EXPECT_EQ("[2 2] 0 of 0 0 0", told(continuous(2, 0, true, false)));
    EXPECT_EQ("(2 2) 0 of 0 0 0", told(continuous(2, 0, false, true)));
    EXPECT_EQ("[2 2] 0 of 0 0 0 discrete", told(discrete(2, 0, true, false)));
    EXPECT_EQ("[2 2] 0 of 0 0 0 discrete", told(discrete(2, -0.3)));
}

TEST(QelValueRangeTest, ANegativeWidthIsRefused) {
    expectRaises(QelErrorCode::illegalWidth, negativeWidth, [] { continuous(0, -1e-300); });
    expectRaises(QelErrorCode::illegalWidth, negativeWidth, [] { discrete(0, -0.51); });
    for (QelValueRange range : {continuous(1, 2), discrete(1, 2)}) {
        std::string const before = told(range);
        expectRaises(QelErrorCode::illegalWidth, negativeWidth, [&] { range.setWidth(plain(-1)); });
        EXPECT_EQ(before, told(range));
    }
}

TEST(QelValueRangeTest, UnitsThatDoNotConvertAreRefusedAndChangeNothing) {
    expectRaises(QelErrorCode::cannotConvertUnit, toInches,
                 [] { QelValueRange(inches(1), pixels(1), 0, true, true); });
    QelValueRange range(inches(1), inches(2), 0, true, true);
    QelValueRange const other(pixels(1), pixels(2), 1, false, false);
    std::string const before = told(range);
    QelValue const bad = pixels(1);
    expectRaises(QelErrorCode::cannotConvertUnit, toInches, [&] { range = other; });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches, [&] { range.setMin(bad); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches, [&] { range.setWidth(bad); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches, [&] { range.setMinKeepMax(bad); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches, [&] { range.setMax(bad); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches,
                 [&] { range.setMinMax(bad, inches(1)); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches,
                 [&] { range.setMinMax(inches(0), bad); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches, [&] { range.translate(bad); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches,
                 [&] { static_cast<void>(range.contains(bad)); });
    expectRaises(QelErrorCode::cannotConvertUnit, toInches,
                 [&] { static_cast<void>(range.intersect(other)); });
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit inches (id = 43) to unit pixels (id = 1)",
                 [&] { range.setUnit(QEL_UNIT_PIXEL); });
    expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 9 has not been registered",
                 [&] { range.setUnit(9); });
    EXPECT_EQ(before, told(range));
}

TEST(QelValueRangeTest, ADiscreteRangeContainsItsSamples) {
    // "A discrete range from 0 of width 10, both closed: max 9; contains(9) true, contains(9.5)
    // true (cut by floor), contains(10) false"
    QelValueRange const range = discrete(0, 10);
    EXPECT_EQ(9.0, range.max().value());
    EXPECT_TRUE(range.contains(plain(9)));
    EXPECT_TRUE(range.contains(plain(9.5)));
    EXPECT_FALSE(range.contains(plain(10)));
    EXPECT_TRUE(range.contains(plain(0)));
    EXPECT_FALSE(range.contains(plain(-0.5)));
}

TEST(QelValueRangeTest, ContainsKnowsOpenEndsAndNoTolerance) {
    QelValueRange const range(QelValue(1, QEL_UNIT_METER), QelValue(1, QEL_UNIT_METER), 0, false,
                              true);
    EXPECT_FALSE(range.contains(QelValue(1, QEL_UNIT_METER)));
    EXPECT_TRUE(range.contains(QelValue(1.0000000001, QEL_UNIT_METER)));
    EXPECT_TRUE(range.contains(QelValue(2, QEL_UNIT_METER)));
    EXPECT_FALSE(range.contains(QelValue(2.0000000001, QEL_UNIT_METER)));
    EXPECT_TRUE(range.contains(QelValue(150, QEL_UNIT_CENTIMETER)));
    EXPECT_FALSE(range.contains(QelValue(std::nan(""), QEL_UNIT_METER)));
    EXPECT_FALSE(continuous(1, 0).contains(plain(1)));
    EXPECT_FALSE(discrete(1, 0).contains(plain(1)));
    EXPECT_TRUE(discrete(1, 1).contains(plain(1)));
}

TEST(QelValueRangeTest, OpeningTheUpperEndKeepsTheMaximum) {
    // "Opening the upper end of that range keeps max at 9 and gives width 9"
    QelValueRange range = discrete(0, 10);
    range.setMaxOpen(true);
    EXPECT_EQ("[0 9) 9 of 0 0 0 discrete", told(range));
    range.setMaxOpen(true);
    EXPECT_EQ("[0 9) 9 of 0 0 0 discrete", told(range));
    range.setMinOpen(true);
    EXPECT_EQ("(0 9) 8 of 0 0 0 discrete", told(range));
    range.setMaxOpen(false);
    EXPECT_EQ("(0 9] 9 of 0 0 0 discrete", told(range));
    range.setOpen(false);
    EXPECT_EQ("[0 9] 10 of 0 0 0 discrete", told(range));
    range.setOpen(true);
    EXPECT_EQ("(0 9) 8 of 0 0 0 discrete", told(range));
}

TEST(QelValueRangeTest, TheEndsOfAPointGoTogether) {
    for (QelValueRange range : {continuous(2, 0), discrete(2, 0), discrete(2, 1)}) {
        double const width = range.width().value();
        range.setMinOpen(true);
        EXPECT_FALSE(range.maxClosed());
        EXPECT_EQ(0.0, range.width().value());
        range.setMaxOpen(false);
        EXPECT_TRUE(range.minClosed());
        EXPECT_EQ(0.0, range.width().value()) << width;
    }
}

TEST(QelValueRangeTest, NeighboursThatAreClosedAgainAreCounted) {
    QelValueRange range = discrete(0, 2);
    range.setOpen(true);
    EXPECT_EQ("(0 1) 0 of 0 0 0 discrete", told(range));
    range.setMinOpen(false);
    EXPECT_EQ("[0 1) 1 of 0 0 0 discrete", told(range));
    range.setOpen(true);
    range.setOpen(false);
    EXPECT_EQ("[0 1] 2 of 0 0 0 discrete", told(range));
    range.setOpen(true);
    range.setDiscrete(0);
    EXPECT_EQ("(0 1) 1 of 0 0 0", told(range));
}

TEST(QelValueRangeTest, ScalingByMinusOneMirrors) {
    // "The same range scaled by -1.0 runs from -9 with the closed flags swapped, and width 10"
    QelValueRange range = discrete(0, 10);
    range.scale(-1.0);
    EXPECT_EQ("[-9 0] 10 of 0 0 0 discrete", told(range));
    QelValueRange halfOpen = discrete(0, 10, true, false);
    halfOpen.scale(-1.0);
    EXPECT_EQ("(-10 0] 10 of 0 0 0 discrete", told(halfOpen));
    QelValueRange other = continuous(2, 3, false, true);
    other.scale(-2.0);
    EXPECT_EQ("[-10 -4) 6 of 0 0 0", told(other));
}

TEST(QelValueRangeTest, ScalingRoundsDiscreteOnes) {
    QelValueRange range = discrete(3, 5);
    range.scale(0.5);
    EXPECT_EQ("[2 4] 3 of 0 0 0 discrete", told(range));
    QelValueRange vanishing = discrete(3, 5, true, false);
    vanishing.scale(0.01);
    EXPECT_EQ("[0 0] 0 of 0 0 0 discrete", told(vanishing));
    QelValueRange none = continuous(2, 3, false, true);
    none.scale(0.0);
    EXPECT_EQ("(0 0) 0 of 0 0 0", told(none));
}

TEST(QelValueRangeTest, TranslatesBothEnds) {
    QelValueRange range(inches(1), inches(2), 0, true, false);
    range.translate(QelValue(0.0254, QEL_UNIT_METER));
    EXPECT_EQ("[2 4) 2 of 43 43 43", told(range));
    QelValueRange samples = discrete(0, 10, false, false);
    samples.translate(plain(-2.5));
    EXPECT_EQ("(-2 9) 10 of 0 0 0 discrete", told(samples));
    samples.translate(plain(0.4));
    EXPECT_EQ("(-2 9) 10 of 0 0 0 discrete", told(samples));
}

TEST(QelValueRangeTest, SettersKeepWhatTheySay) {
    QelValueRange range = discrete(0, 10);
    range.setMin(plain(2.5));
    EXPECT_EQ("[3 12] 10 of 0 0 0 discrete", told(range));
    range.setWidth(plain(4.5));
    EXPECT_EQ("[3 7] 5 of 0 0 0 discrete", told(range));
    range.setMinKeepMax(plain(-1));
    EXPECT_EQ("[-1 7] 9 of 0 0 0 discrete", told(range));
    range.setMax(plain(-1.2));
    EXPECT_EQ("[-1 -1] 1 of 0 0 0 discrete", told(range));
    range.setMinMax(plain(1.5), plain(1.5));
    EXPECT_EQ("[2 2] 1 of 0 0 0 discrete", told(range));
    QelValueRange length(inches(1), inches(2), 0, false, true);
    length.setMax(QelValue(5 * 0.0254, QEL_UNIT_METER));
    EXPECT_EQ("(1 5] 4 of 43 43 43", told(length));
    length.setMinMax(plain(2), plain(2));
    EXPECT_EQ("(2 2) 0 of 43 43 43", told(length));
}

TEST(QelValueRangeTest, APointWithoutSamplesStaysOne) {
    QelValueRange range = discrete(5, 0);
    range.setMax(plain(5.2));
    EXPECT_EQ("[5 5] 0 of 0 0 0 discrete", told(range));
    range.setMinKeepMax(plain(4.9));
    EXPECT_EQ("[5 5] 0 of 0 0 0 discrete", told(range));
    range.setMinMax(plain(5), plain(5));
    EXPECT_EQ("[5 5] 1 of 0 0 0 discrete", told(range));
}

TEST(QelValueRangeTest, EndsInTheWrongOrderAreRefused) {
    // The end is changed when the refusal comes.
    QelValueRange range = continuous(1, 2);
    expectRaises(QelErrorCode::invertedRange,
                 "Range with min value of 1 and max value of 0.5 (unit identifier = 0)",
                 [&] { range.setMax(plain(0.5)); });
    EXPECT_EQ(0.5, range.max().value());
    QelValueRange low(inches(1), inches(2), 0, true, true);
    expectRaises(QelErrorCode::invertedRange,
                 "Range with min value of 4 and max value of 3 (unit identifier = 43)",
                 [&] { low.setMinKeepMax(inches(4)); });
    EXPECT_EQ(4.0, low.min().value());
    QelValueRange both = discrete(1, 2);
    expectRaises(QelErrorCode::invertedRange,
                 "Range with min value of 3 and max value of 2 (unit identifier = 0)",
                 [&] { both.setMinMax(plain(2.6), plain(2.4)); });
    GroupedLocale const grouped;
    expectRaises(QelErrorCode::invertedRange,
                 "Range with min value of 12345.5 and max value of 0 (unit identifier = 0)",
                 [&] { continuous(0, 0).setMinKeepMax(plain(12345.5)); });
}

TEST(QelValueRangeTest, EndsWithinTheToleranceAreInOrder) {
    QelValueRange range = continuous(1, 2);
    range.setMax(plain(1 - 5e-7));
    EXPECT_EQ(0.0, range.width().value());
    EXPECT_TRUE(range.maxClosed());
}

TEST(QelValueRangeTest, TheUnitChanges) {
    QelValueRange range(QelValue(1, QEL_UNIT_HOUR), QelValue(2, QEL_UNIT_HOUR), 0, true, false);
    range.setUnit(QEL_UNIT_MINUTE);
    EXPECT_EQ("[60 180) 120 of 20 20 20", told(range));
    range.setUnit(QEL_UNIT_ARBITRARY);
    EXPECT_EQ("[60 180) 120 of 0 0 0", told(range));
    QelValueRange samples(QelValue(90, QEL_UNIT_MINUTE), QelValue(91, QEL_UNIT_MINUTE), 1, true,
                          true);
    samples.setUnit(QEL_UNIT_HOUR);
    EXPECT_EQ("[2 3] 2 of 21 21 21 discrete", told(samples));
    QelValueRange none(QelValue(90, QEL_UNIT_MINUTE), QelValue(0, QEL_UNIT_MINUTE), 1, true, true);
    none.setUnit(QEL_UNIT_HOUR);
    EXPECT_EQ("[2 2] 0 of 21 21 21 discrete", told(none));
}

TEST(QelValueRangeTest, BecomesDiscreteAndBack) {
    QelValueRange range = continuous(0.5, 8.7, true, false);
    range.setDiscrete(1);
    EXPECT_EQ("[1 9) 8 of 0 0 0 discrete", told(range));
    range.setDiscrete(2);
    EXPECT_EQ("[1 9) 8 of 0 0 0 discrete", told(range));
    range.setOpen(false);
    range.setDiscrete(0);
    EXPECT_EQ("[1 9] 8 of 0 0 0", told(range));
    QelValueRange point = continuous(2.5, 0);
    point.setDiscrete(1);
    EXPECT_EQ("[3 3] 0 of 0 0 0 discrete", told(point));
}

TEST(QelValueRangeTest, AssignmentKeepsTheUnit) {
    QelValueRange range(inches(7), inches(7), 0, true, true);
    range = QelValueRange(QelValue(0.0254, QEL_UNIT_METER), QelValue(0.0508, QEL_UNIT_METER), 0,
                          false, true);
    EXPECT_EQ("(1 3] 2 of 43 43 43", told(range));
    range = discrete(3, 4, false, false);
    EXPECT_EQ("(3 8) 4 of 43 43 43 discrete", told(range));
    range = discrete(3, 0);
    EXPECT_EQ("[3 3] 0 of 43 43 43 discrete", told(range));
    range = continuous(3, 0, false, false);
    EXPECT_EQ("(3 3) 0 of 43 43 43", told(range));
    QelValueRange const & itself = range;
    range = itself;
    EXPECT_EQ("(3 3) 0 of 43 43 43", told(range));
    range.replaceWith(discrete(3, 4));
    EXPECT_EQ("[3 6] 4 of 0 0 0 discrete", told(range));
    QelValueRange const copy = range;
    EXPECT_EQ(told(range), told(copy));
}

TEST(QelValueRangeTest, ItsOwnEndsMayBeArguments) {
    QelValueRange range = continuous(1, 2);
    range.setMin(range.max());
    EXPECT_EQ("[3 5] 2 of 0 0 0", told(range));
    range.translate(range.min());
    EXPECT_EQ("[6 8] 2 of 0 0 0", told(range));
    range.setWidth(range.max());
    EXPECT_EQ("[6 14] 8 of 0 0 0", told(range));
    range.setMinMax(range.width(), range.min() + 10.0);
    EXPECT_EQ("[8 16] 8 of 0 0 0", told(range));
}

TEST(QelValueRangeTest, IsWrittenWithItsEnds) {
    EXPECT_EQ("[0 arbitrary units, 9 arbitrary units] discrete", exactText(discrete(0, 10)));
    EXPECT_EQ("(1 inch, 3 inches)",
              exactText(QelValueRange(inches(1), inches(2), 0, false, false)));
}

TEST(QelValueRangeTest, ErrorsNameTheirSource) {
    std::optional<ZanError> const error = errorOf([] { continuous(0, -1); });
    ASSERT_TRUE(error);
    EXPECT_THAT(error->getFile(), testing::EndsWith("/QelValueRange.cpp"));
}

}  // namespace
