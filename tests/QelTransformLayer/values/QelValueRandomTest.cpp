#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <random>

#include "QelValue.h"
#include "UnitTesting.h"

namespace {

constexpr unsigned seed = 20310;

// Runs `action(a, b)` for the identifiers of each pair of built-in units that convert.
template <class Action>
void forCompatiblePairs(Action && action) {
    for (int a : builtInIds()) {
        for (int b : builtInIds()) {
            if (!QelValue::isCompatible(a, b)) continue;
            SCOPED_TRACE("units " + std::to_string(a) + " and " + std::to_string(b));
            action(a, b);
            if (testing::Test::HasFailure()) return;
        }
    }
}

// The number of `number` of the unit `from` in the unit `to`, by the table alone.
long double reference(double number, int from, int to) {
    if (from == to || from == QEL_UNIT_ARBITRARY || to == QEL_UNIT_ARBITRARY) return number;
    auto const factor = [](int id) {
        double const multiplier = QelValue::getUnitInfo(id).multiplier;
        return multiplier == 0.0 ? 1.0L : static_cast<long double>(multiplier);
    };
    return number * factor(from) / factor(to);
}

double anyNumber(std::mt19937 & random) {
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-40, 40);
    return std::ldexp(mantissa(random), exponent(random));
}

TEST(QelValueRandomTest, ConversionsAgreeWithLongArithmetic) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    forCompatiblePairs([&](int a, int b) {
        for (int i = 0; i < 200; ++i) {
            double const number = anyNumber(random);
            double const converted = QelValue(number, a).valueIn(b);
            long double const exact = reference(number, a, b);
            // Two roundings of a double.
            ASSERT_LE(std::fabs(converted - exact), std::fabs(exact) * 2.3e-16L) << number;
            ASSERT_EQ(converted, QelValue(QelValue(number, a), b).value());
        }
    });
}

// Exactly one of the three holds, and the others are the opposites.
void expectPartition(QelValue const & a, QelValue const & b) {
    int const relations = (a < b) + (a == b) + (a > b);
    ASSERT_EQ(1, relations) << exactText(a) << " and " << exactText(b);
    ASSERT_NE(a == b, a != b);
    ASSERT_NE(a < b, a >= b);
    ASSERT_NE(a > b, a <= b);
    double const number = b.valueIn(a.unit());
    ASSERT_EQ(a == b, a == number);
    ASSERT_EQ(a < b, a < number);
    ASSERT_EQ(a > b, a > number);
    ASSERT_EQ(a != b, a != number);
    ASSERT_EQ(a <= b, a <= number);
    ASSERT_EQ(a >= b, a >= number);
}

// They are what the difference of the numbers says, where rounding leaves no doubt.
void expectTold(QelValue const & a, QelValue const & b) {
    long double const exact = reference(b.value(), b.unit(), a.unit());
    long double const distance = exact - a.value();
    long double const tolerance = toleranceOf(a.unit());
    long double const doubt = (std::fabs(exact) + std::fabs(a.value())) * 1e-15L;
    if (std::fabs(std::fabs(distance) - tolerance) <= doubt) return;
    ASSERT_EQ(std::fabs(distance) <= tolerance, a == b) << exactText(a) << " and " << exactText(b);
    ASSERT_EQ(distance > tolerance, a < b) << exactText(a) << " and " << exactText(b);
    ASSERT_EQ(-distance > tolerance, a > b) << exactText(a) << " and " << exactText(b);
}

// A number of the unit `unit` that lies near `a`: within some tolerances of it, at the very
// tolerance, or one representable number beside that.
QelValue nearBy(QelValue const & a, int unit, std::mt19937 & random) {
    double const tolerance = toleranceOf(a.unit());
    double offset = std::uniform_real_distribution<double>(-3.0, 3.0)(random) * tolerance;
    switch (random() % 4) {
        case 0: offset = tolerance; break;
        case 1: offset = -tolerance; break;
        default: break;
    }
    double number = a.value() + offset;
    if (random() % 3 == 0) number = std::nextafter(number, a.value());
    if (random() % 3 == 0) number = std::nextafter(number, number + offset);
    return {QelValue(number, a.unit()), unit};
}

TEST(QelValueRandomTest, OrderPartitionsEveryPairOfCompatibleUnits) {
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    KeptTolerances const kept;
    for (double factor : {1.0, 0.0, 1e-9, 1000.0, 1e12}) {
        SCOPED_TRACE("tolerances times " + std::to_string(factor));
        KeptTolerances const initial;
        for (int id : builtInIds())
            QelValue::setTolerance(id, toleranceOf(id) * factor);
        forCompatiblePairs([&](int first, int second) {
            for (int i = 0; i < 100; ++i) {
                QelValue const a(anyNumber(random), first);
                QelValue const b =
                    i % 4 == 0 ? QelValue(anyNumber(random), second) : nearBy(a, second, random);
                ASSERT_NO_FATAL_FAILURE(expectPartition(a, b));
                ASSERT_NO_FATAL_FAILURE(expectTold(a, b));
            }
        });
    }
}

// Numbers as people write them stand at the very tolerance of each other.
TEST(QelValueRandomTest, OrderPartitionsRoundNumbers) {
    for (int unit : {QEL_UNIT_MILLIMETER, QEL_UNIT_METER, QEL_UNIT_PIXEL}) {
        double const tolerance = toleranceOf(unit);
        for (int i = -2000; i <= 2000; ++i) {
            QelValue const a(i / 100.0, unit);
            for (double b : {a.value() + tolerance, a.value() - tolerance, i / 100.0 + 0.001})
                ASSERT_NO_FATAL_FAILURE(expectPartition(a, QelValue(b, unit)));
        }
    }
}

}  // namespace
