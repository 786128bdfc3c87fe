#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"
#include "ZanError.h"

// Conversions of random values in random spaces, against what must hold or can be counted.

namespace {

constexpr int pixel = QEL_UNIT_PIXEL;

// Units that convert to each other.
int const lengths[] = {QEL_UNIT_METER, QEL_UNIT_MILLIMETER, QEL_UNIT_CENTIMETER, QEL_UNIT_POINT,
                       QEL_UNIT_INCH};
int const targets[] = {QEL_UNIT_ARBITRARY,  QEL_UNIT_WIDTH_RELATIVE, QEL_UNIT_HEIGHT_RELATIVE,
                       QEL_UNIT_NORMALIZED, QEL_UNIT_METER,          QEL_UNIT_MILLIMETER,
                       QEL_UNIT_CENTIMETER, QEL_UNIT_POINT,          QEL_UNIT_INCH};

// A space with one row, selected or not, anywhere.
QelXyCoordSpace randomSpace(RandomNumbers & random, double mostSamples) {
    int const unit = random.oneIn(8) ? QEL_UNIT_ARBITRARY : random.of(lengths);
    QelValue const dot(random.magnitude(1e-2, 10.0), unit);
    double const wide = random.magnitude(1.0, mostSamples);
    QelXyCoordSpace space(dot * wide, dot * random.real(0.1 * wide + 1.0, 2.0 * wide + 1.0));
    space.setOrigin(0, dot * random.real(-1e5, 1e5));
    space.setOrigin(1, dot * random.real(-1e5, 1e5));
    QelResolution const dpu(1.0 / dot.value(), unit);
    space.addResolution({dpu, QelResolution(dpu.dpu * random.real(0.5, 2.0), unit)});
    QelXyCoordSpace::Resolution const row = space.getResolution(0);
    if (random.oneIn(2)) space.selectResolution(row.horz.pixels, row.vert.pixels);
    return space;
}

// Says what failed without a stream in the loop.
struct Failure {
    int axis = -1;
    double pixel = 0.0;
    double count = 0.0;
    int unit = 0;
    QelValue found;
};

template <class Convert>
bool comesBack(double number, int unit, bool centre, Convert const & convert, Failure & failure) {
    failure.found = convert(convert(pixels(number), unit, centre), pixel, true);
    return failure.found.value() == number && failure.found.unit() == pixel;
}

bool roundTrips(QelXyCoordSpace const & space, unsigned axis, double start, double count, int unit,
                Failure & failure) {
    failure = {static_cast<int>(axis), start, count, unit, {}};
    auto const position = [&](QelValue const & value, int to, bool discrete) {
        return axis == 0 ? space.convertHorzPosition(value, to, discrete)
                         : space.convertVertPosition(value, to, discrete);
    };
    auto const span = [&](QelValue const & value, int to, bool discrete) {
        return axis == 0 ? space.convertHorzSpan(value, to, discrete)
                         : space.convertVertSpan(value, to, discrete);
    };
    auto const range = [&](QelValueRange const & value, int to, bool discrete) {
        return axis == 0 ? space.convertHorzRange(value, to, discrete)
                         : space.convertVertRange(value, to, discrete);
    };
    if (!comesBack(start, unit, true, position, failure)) return false;
    if (!comesBack(count, unit, false, span, failure)) return false;
    QelValueRange const there = range({pixels(start), pixels(count), 1, true, true}, unit, false);
    QelValueRange const back = range(there, pixel, true);
    failure.found = back.min();
    if (back.min().value() != start) return false;
    failure.found = back.width();
    return back.width().value() == count && back.discrete() == 1;
}

TEST(QelXyCoordSpaceConvertRandomTest, PixelsComeBackFromAnyUnit) {
    RandomNumbers random(20);
    Failure failure;
    // Three round trips each: a million of them.
    constexpr int spaces = 25000;
    constexpr int cases = 14;
    for (int i = 0; i < spaces; ++i) {
        QelXyCoordSpace const space = randomSpace(random, 2e4);
        for (int j = 0; j < cases; ++j) {
            unsigned const axis = j % 2 == 0 ? 0 : 1;
            QelResolution const row =
                axis == 0 ? space.getResolution(0).horz : space.getResolution(0).vert;
            std::uint32_t const start = random.whole(0U, row.pixels - 1);
            // Often to the last sample.
            std::uint32_t const count =
                random.oneIn(3) ? row.pixels - start : random.whole(1U, row.pixels - start);
            ASSERT_TRUE(roundTrips(space, axis, start, count, random.of(targets), failure))
                << space << " axis " << failure.axis << ", " << failure.count << " pixels from "
                << failure.pixel << " in unit " << failure.unit << " came back as "
                << failure.found;
        }
    }
}

TEST(QelXyCoordSpaceConvertRandomTest, ContinuousPixelsComeBackAsWell) {
    RandomNumbers random(21);
    for (int i = 0; i < 2000; ++i) {
        QelXyCoordSpace const space = randomSpace(random, 2e4);
        for (int const unit : targets) {
            double const at = random.real(-1000.0, 1000.0);
            ASSERT_NEAR(
                at,
                space.convertHorzPosition(space.convertHorzPosition(pixels(at), unit), pixel)
                    .value(),
                1e-6);
            ASSERT_NEAR(
                at, space.convertVertSpan(space.convertVertSpan(pixels(at), unit), pixel).value(),
                1e-9 * (1.0 + std::fabs(at)));
        }
    }
}

// A closed range from `low` to `high`, in pixels, with what passes for exact.
struct Centres {
    int first = 0;
    int count = 0;
};

Centres centresIn(double low, double high, int from, int to) {
    Centres found;
    for (int p = from; p <= to; ++p) {
        double const centre = p + 0.5;
        if (centre < low - 1e-6 || centre > high + 1e-6) continue;
        if (found.count++ == 0) found.first = p;
    }
    return found;
}

TEST(QelXyCoordSpaceConvertRandomTest, DiscreteRangesAreThePixelsWhoseCentresTheyHave) {
    RandomNumbers random(22);
    for (int i = 0; i < 20000; ++i) {
        QelXyCoordSpace const space = randomSpace(random, 100.0);
        bool const vert = random.oneIn(2);
        QelXyDimension const & axis = vert ? space.yDimension() : space.xDimension();
        double const dpu = axis.resolution(0).dpu;
        // On edges and centres, or anywhere; also beyond the extent.
        bool const aligned = random.oneIn(2);
        double const low = aligned ? random.whole(-40, 240) / 2.0 : random.real(-20, 120);
        double const width = aligned ? random.whole(0, 100) / 2.0 : random.real(0, 50);
        QelValueRange const world(axis.origin() + low / dpu, QelValue(width / dpu, axis.unit()), 0,
                                  true, true);
        QelValueRange const found = vert ? space.convertVertRange(world, pixel, true)
                                         : space.convertHorzRange(world, pixel, true);
        Centres const expected = centresIn(low, low + width, -30, 200);
        SCOPED_TRACE(i);
        ASSERT_EQ(expected.count, found.width().value());
        if (expected.count == 0) continue;
        ASSERT_EQ(expected.first, found.min().value());
    }
}

TEST(QelXyCoordSpaceConvertRandomTest, DiscretePositionsAreTheLastCentreAtOrBefore) {
    RandomNumbers random(23);
    for (int i = 0; i < 20000; ++i) {
        QelXyCoordSpace const space = randomSpace(random, 100.0);
        double const at = random.oneIn(2) ? random.whole(0, 400) / 2.0 : random.real(0, 200);
        QelXyDimension const & axis = space.xDimension();
        QelValue const world = axis.origin() + at / axis.resolution(0).dpu;
        Centres const expected = centresIn(-0.5, at, -1, 300);
        int const last = expected.count - 2;
        ASSERT_EQ(last, space.convertHorzPosition(world, pixel, true).value()) << at;
    }
}

TEST(QelXyCoordSpaceConvertRandomTest, SpansOfPixelsAreTheirWholePart) {
    RandomNumbers random(24);
    for (int i = 0; i < 20000; ++i) {
        QelXyCoordSpace const space = randomSpace(random, 100.0);
        double const length = random.oneIn(2) ? random.whole(0, 400) : random.real(0, 200);
        QelXyDimension const & axis = space.yDimension();
        QelValue const world(length / axis.resolution(0).dpu, axis.unit());
        ASSERT_EQ(std::floor(length), space.convertVertSpan(world, pixel, true).value()) << length;
    }
}

// Nothing is undefined, whatever the numbers are; sanitizers look on.
TEST(QelXyCoordSpaceConvertRandomTest, ExtremesAreNumbersLikeOthers) {
    double const numbers[] = {std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::denorm_min(),
                              1e300,
                              -1e300,
                              4294967295.0,
                              2147483648.0,
                              -2147483649.0,
                              0.0};
    QelXyCoordSpace huge(inches(1e300), inches(1e-4));
    huge.addResolution(4294967295U, 2147483648U);
    huge.selectResolution(4294967295U, 2147483648U);
    QelXyCoordSpace endless(inches(std::numeric_limits<double>::infinity()), inches(1));
    endless.addResolution(4294967295U, 1U);
    QelXyCoordSpace nowhere(inches(1), inches(1));
    nowhere.setOrigin(0, inches(std::numeric_limits<double>::quiet_NaN()));
    nowhere.addResolution(4294967295U, 1U);
    QelXyCoordSpace const spaces[] = {huge, endless, nowhere, {4294967295U, 2147483648U}};
    int converted = 0;
    int refused = 0;
    auto const attempt = [&](auto const & convert) {
        try {
            convert();
            ++converted;
        } catch (ZanError const &) {
            ++refused;
        }
    };
    for (QelXyCoordSpace const & space : spaces) {
        for (double const number : numbers) {
            for (int const source : {pixel, 2, 3, 4, 43}) {
                for (int const target : {pixel, 2, 3, 4, 32}) {
                    QelValue const value(number, source);
                    attempt([&] { space.convertHorzPosition(value, target, true); });
                    attempt([&] { space.convertVertSpan(value, target, true); });
                    attempt([&] {
                        space.convertVertRange({value, value, 0, true, true}, target, true);
                    });
                }
            }
        }
    }
    std::cout << converted << " converted, " << refused << " refused\n";
    EXPECT_LT(0, converted);
    EXPECT_LT(0, refused);
}

}  // namespace
