#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <random>

#include "QelErrorCode.h"
#include "QelValueRange.h"
#include "UnitTesting.h"
#include "ZanError.h"

namespace {

constexpr unsigned seed = 20320;

QelValue plain(double number) {
    return {number, QEL_UNIT_ARBITRARY};
}

bool oneOfTwo(std::mt19937 & random) {
    return random() % 2 == 0;
}

// Quarters, so that sums are exact.
double quarters(std::mt19937 & random, int least, int most) {
    return std::uniform_int_distribution<int>(4 * least, 4 * most)(random) / 4.0;
}

QelValueRange anyRange(std::mt19937 & random, int discrete) {
    return {plain(quarters(random, -20, 20)), plain(quarters(random, 0, 15)), discrete,
            oneOfTwo(random), oneOfTwo(random)};
}

// Is `at` between the ends? Looks at the ends alone.
bool isWithin(QelValueRange const & range, double at) {
    bool const above = range.minClosed() ? at >= range.min().value() : at > range.min().value();
    bool const below = range.maxClosed() ? at <= range.max().value() : at < range.max().value();
    return above && below;
}

// Counts one by one.
int samplesOf(QelValueRange const & range) {
    int count = 0;
    for (double at = range.min().value() - 1; at <= range.max().value() + 1; ++at)
        count += isWithin(range, at) ? 1 : 0;
    return count;
}

bool isWhole(QelValue const & value) {
    return value.value() == std::floor(value.value());
}

void expectInvariants(QelValueRange const & range) {
    SCOPED_TRACE(exactText(range) + " of width " + exactText(range.width()));
    double const width = range.width().value();
    ASSERT_EQ(range.unit(), range.min().unit());
    ASSERT_EQ(range.unit(), range.max().unit());
    ASSERT_EQ(range.unit(), range.width().unit());
    ASSERT_GE(width, 0.0);
    ASSERT_TRUE(range.discrete() == 0 || range.discrete() == 1);
    ASSERT_TRUE(width != 0.0 || range.minClosed() == range.maxClosed());
    if (range.discrete() == 0) {
        double const scale = std::fabs(range.min().value()) + std::fabs(range.max().value());
        ASSERT_NEAR(range.max().value(), range.min().value() + width, 1e-15 * scale);
        return;
    }
    ASSERT_TRUE(isWhole(range.min()) && isWhole(range.max()) && isWhole(range.width()));
    if (width != 0.0) {
        ASSERT_EQ(width, samplesOf(range));
    } else if (range.minClosed()) {
        ASSERT_EQ(range.min().value(), range.max().value());
    } else {
        ASSERT_EQ(0, samplesOf(range));
    }
}

// What contains() says of every quarter around the range.
void expectContains(QelValueRange const & range) {
    SCOPED_TRACE(exactText(range));
    for (double at = range.min().value() - 2; at <= range.max().value() + 2; at += 0.25) {
        double const looked = range.discrete() == 1 ? std::floor(at) : at;
        bool const expected = range.width().value() != 0.0 && isWithin(range, looked);
        ASSERT_EQ(expected, range.contains(plain(at))) << at;
    }
}

TEST(QelValueRangeRandomTest, WidthsOfNewRangesCountTheirSamples) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 5000; ++i) {
        double const min = quarters(random, -20, 20);
        double const width = quarters(random, 0, 15);
        QelValueRange const samples(plain(min), plain(width), 1, oneOfTwo(random),
                                    oneOfTwo(random));
        ASSERT_EQ(std::floor(min + 0.5), samples.min().value());
        ASSERT_EQ(std::floor(width + 0.5), samples.width().value());
        ASSERT_NO_FATAL_FAILURE(expectInvariants(samples));
        ASSERT_NO_FATAL_FAILURE(expectContains(samples));
        QelValueRange const length(plain(min), plain(width), 0, oneOfTwo(random), oneOfTwo(random));
        ASSERT_EQ(min, length.min().value());
        ASSERT_EQ(width, length.width().value());
        ASSERT_EQ(min + width, length.max().value());
        ASSERT_NO_FATAL_FAILURE(expectContains(length));
    }
}

// One setter with any arguments; raises nothing but what their order asks for.
std::string change(QelValueRange & range, std::mt19937 & random) {
    double const a = quarters(random, -20, 20);
    double const b = quarters(random, -20, 20);
    bool const open = oneOfTwo(random);
    switch (random() % 13) {
        case 0: return range.setMinOpen(open), "setMinOpen";
        case 1: return range.setMaxOpen(open), "setMaxOpen";
        case 2: return range.setOpen(open), "setOpen";
        case 3: return range.setMin(plain(a)), "setMin";
        case 4: return range.setWidth(plain(std::fabs(a))), "setWidth";
        case 5: return range.setMinKeepMax(range.max() - std::fabs(a)), "setMinKeepMax";
        case 6: return range.setMax(range.min() + std::fabs(a)), "setMax";
        case 7: return range.setMinMax(plain(std::min(a, b)), plain(std::max(a, b))), "setMinMax";
        case 8: return range.translate(plain(a)), "translate";
        case 9: return range.scale(open ? -1.0 : 0.5), "scale";
        case 10: return range.setDiscrete(open), "setDiscrete";
        case 11: return range = anyRange(random, open), "assignment";
        default: return range.setUnit(open ? QEL_UNIT_PIXEL : QEL_UNIT_ARBITRARY), "setUnit";
    }
}

TEST(QelValueRangeRandomTest, SequencesOfSettersKeepTheInvariants) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 1000; ++i) {
        QelValueRange range = anyRange(random, oneOfTwo(random));
        std::string story = exactText(range);
        for (int step = 0; step < 20; ++step) {
            std::string const name = change(range, random);
            story += '\n' + name + ": " + exactText(range);
            ASSERT_NO_FATAL_FAILURE(expectInvariants(range)) << story;
            ASSERT_NO_FATAL_FAILURE(expectContains(range)) << story;
        }
    }
}

TEST(QelValueRangeRandomTest, SettersOfEndsRefuseExactlyTheWrongOrder) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 3000; ++i) {
        int const discrete = oneOfTwo(random);
        QelValueRange range = anyRange(random, discrete);
        double min = quarters(random, -5, 5);
        double max = quarters(random, -5, 5);
        bool const wrong =
            discrete != 0 ? std::floor(max + 0.5) < std::floor(min + 0.5) : max < min;
        try {
            range.setMinMax(plain(min), plain(max));
            ASSERT_FALSE(wrong) << min << ' ' << max;
            ASSERT_NO_FATAL_FAILURE(expectInvariants(range));
        } catch (ZanError const & error) {
            ASSERT_EQ(QelErrorCode::invertedRange, error.getErrcode());
            ASSERT_TRUE(wrong) << min << ' ' << max;
        }
    }
}

TEST(QelValueRangeRandomTest, OpeningMovesNoEnd) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 3000; ++i) {
        QelValueRange range = anyRange(random, oneOfTwo(random));
        double const min = range.min().value();
        double const max = range.max().value();
        range.setMinOpen(oneOfTwo(random));
        range.setMaxOpen(oneOfTwo(random));
        range.setOpen(oneOfTwo(random));
        ASSERT_EQ(min, range.min().value());
        ASSERT_EQ(max, range.max().value());
    }
}

}  // namespace
