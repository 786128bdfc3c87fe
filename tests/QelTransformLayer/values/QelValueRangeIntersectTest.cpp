#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>

#include "QelValueRange.h"
#include "UnitTesting.h"

namespace {

constexpr unsigned seed = 20321;

QelValue plain(double number) {
    return {number, QEL_UNIT_ARBITRARY};
}

QelValueRange between(double min, double max, bool minClosed, bool maxClosed, int discrete = 0) {
    QelValueRange range(plain(min), plain(max - min), 0, minClosed, maxClosed);
    range.setDiscrete(discrete);
    return range;
}

void expectEmpty(QelValueRange const & range, int unit, int discrete) {
    EXPECT_EQ(0.0, range.min().value());
    EXPECT_EQ(0.0, range.max().value());
    EXPECT_EQ(0.0, range.width().value());
    EXPECT_FALSE(range.minClosed());
    EXPECT_FALSE(range.maxClosed());
    EXPECT_EQ(discrete, range.discrete());
    EXPECT_EQ(unit, range.unit());
}

TEST(QelValueRangeIntersectTest, ClosedEndsTouchInAPoint) {
    // "intersect of [0, 1] and [1, 2] closed gives the point 1 with width 0; with the first's upper
    // end open it gives the empty range"
    QelValueRange const point = between(0, 1, true, true).intersect(between(1, 2, true, true));
    EXPECT_EQ("[1 arbitrary unit, 1 arbitrary unit]", exactText(point));
    EXPECT_EQ(0.0, point.width().value());
    expectEmpty(between(0, 1, true, false).intersect(between(1, 2, true, true)), 0, 0);
    expectEmpty(between(0, 1, true, true).intersect(between(1, 2, false, true)), 0, 0);
    expectEmpty(between(1, 2, false, true).intersect(between(0, 1, true, true)), 0, 0);
    expectEmpty(between(1, 2, true, true).intersect(between(0, 1, true, false)), 0, 0);
}

TEST(QelValueRangeIntersectTest, ClosedEndsOfSamplesTouchInASample) {
    QelValueRange const sample =
        between(0, 1, true, true, 1).intersect(between(1, 2, true, true, 1));
    EXPECT_EQ("[1 arbitrary unit, 1 arbitrary unit] discrete", exactText(sample));
    EXPECT_EQ(1.0, sample.width().value());
    expectEmpty(between(0, 1, true, false, 1).intersect(between(1, 2, true, true, 1)), 0, 1);
}

TEST(QelValueRangeIntersectTest, RangesApartGiveTheEmptyOneOfTheLeft) {
    QelValueRange const left(inches(3), inches(2), 1, true, true);
    QelValueRange const right(centimeters(100), centimeters(2), 0, true, true);
    expectEmpty(left.intersect(right), QEL_UNIT_INCH, 1);
    expectEmpty(right.intersect(left), QEL_UNIT_CENTIMETER, 0);
}

TEST(QelValueRangeIntersectTest, TheOtherIsConverted) {
    QelValueRange const left(inches(1), inches(4), 0, false, true);
    QelValueRange const right(QelValue(0.0508, QEL_UNIT_METER), QelValue(1, QEL_UNIT_METER), 1,
                              true, true);
    QelValueRange const both = left.intersect(QelValueRange(
        QelValue(0.0508, QEL_UNIT_METER), QelValue(1, QEL_UNIT_METER), 0, true, true));
    EXPECT_EQ("[2 inches, 5 inches]", exactText(both));
    EXPECT_EQ(3.0, both.width().value());
    // A meter's sample 0 is at 0 inches.
    expectEmpty(left.intersect(right), QEL_UNIT_INCH, 0);
}

TEST(QelValueRangeIntersectTest, EndsWithinTheToleranceAreOne) {
    // The greater minimum, closed only if both are.
    QelValueRange const a = between(1.0, 5, true, true);
    QelValueRange const b = between(1.0000004, 5, false, true);
    QelValueRange const both = a.intersect(b);
    EXPECT_EQ(1.0000004, both.min().value());
    EXPECT_FALSE(both.minClosed());
    QelValueRange const c = between(1.0000004, 5, true, true);
    EXPECT_FALSE(between(1.0, 5, false, true).intersect(c).minClosed());
    expectEmpty(between(0, 1, true, false).intersect(c), 0, 0);
}

TEST(QelValueRangeIntersectTest, LeavesItsOperandsAlone) {
    QelValueRange const a = between(0, 3, true, false, 1);
    QelValueRange const b = between(1, 7, false, true);
    std::string const before = exactText(a) + exactText(b);
    static_cast<void>(a.intersect(b));
    EXPECT_EQ(before, exactText(a) + exactText(b));
    EXPECT_EQ(exactText(a), exactText(a.intersect(a)));
}

bool isWithin(QelValueRange const & range, double at) {
    bool const above = range.minClosed() ? at >= range.min().value() : at > range.min().value();
    bool const below = range.maxClosed() ? at <= range.max().value() : at < range.max().value();
    return above && below;
}

bool oneOfTwo(std::mt19937 & random) {
    return random() % 2 == 0;
}

// A range with whole ends; one of samples has some.
QelValueRange anyRange(std::mt19937 & random, int discrete) {
    double const min = std::uniform_int_distribution<int>(-6, 6)(random);
    double const width = std::uniform_int_distribution<int>(discrete, 6)(random);
    return {plain(min), plain(width), discrete, oneOfTwo(random), oneOfTwo(random)};
}

// Ends are whole: eighths between them, and the ends themselves, tell one set of points from any
// other.
template <class Action>
void forPoints(Action && action) {
    for (double at = -20; at <= 20; at += 0.125)
        action(at);
}

TEST(QelValueRangeIntersectTest, HasThePointsThatBothHave) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 4000; ++i) {
        QelValueRange const a = anyRange(random, 0);
        QelValueRange const b = anyRange(random, 0);
        QelValueRange const both = a.intersect(b);
        SCOPED_TRACE(exactText(a) + " and " + exactText(b) + " give " + exactText(both));
        forPoints([&](double at) {
            EXPECT_EQ(isWithin(a, at) && isWithin(b, at), isWithin(both, at)) << at;
        });
        EXPECT_EQ(both.max().value() - both.min().value(), both.width().value());
        EXPECT_TRUE(both.width() != 0.0 || both.minClosed() == both.maxClosed());
        if (HasFailure()) return;
    }
}

TEST(QelValueRangeIntersectTest, HasTheSamplesThatBothHave) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 10000; ++i) {
        QelValueRange const a = anyRange(random, 1);
        QelValueRange const b = anyRange(random, 1);
        QelValueRange const both = a.intersect(b);
        SCOPED_TRACE(exactText(a) + " and " + exactText(b) + " give " + exactText(both));
        int count = 0;
        for (int at = -20; at <= 20; ++at) {
            bool const expected = a.contains(plain(at)) && b.contains(plain(at));
            count += expected ? 1 : 0;
            EXPECT_EQ(expected, both.contains(plain(at))) << at;
        }
        EXPECT_EQ(count, both.width().value());
        EXPECT_EQ(1, both.discrete());
        if (HasFailure()) return;
    }
}

TEST(QelValueRangeIntersectTest, IsSymmetricInOneUnit) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 4000; ++i) {
        int const discrete = oneOfTwo(random);
        QelValueRange const a = anyRange(random, discrete);
        QelValueRange const b = anyRange(random, discrete);
        ASSERT_EQ(exactText(a.intersect(b)), exactText(b.intersect(a)));
    }
}

}  // namespace
