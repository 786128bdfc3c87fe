#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// Searches in lists of resolutions, by hand and against plain models on random lists.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

constexpr unsigned smaller = QelXyCoordSpace::allowSmaller;
constexpr unsigned larger = QelXyCoordSpace::allowLarger;
constexpr unsigned noArbitrary = QelXyCoordSpace::excludeArbitrary;

QelXyCoordSpace spaceWith(std::vector<Pair> const & rows) {
    QelXyCoordSpace space(inches(10), inches(20));
    for (Pair const & row : rows) {
        space.addResolution(
            {QelResolution::ofPixels(row.width), QelResolution::ofPixels(row.height)});
    }
    return space;
}

std::vector<Pair> randomRows(RandomNumbers & random, std::size_t most) {
    std::vector<Pair> rows(random.whole(std::size_t{0}, most));
    for (Pair & row : rows) {
        row.width = random.oneIn(5) ? 0 : random.whole(1U, 12U);
        row.height = random.oneIn(5) ? 0 : random.whole(1U, 12U);
    }
    return rows;
}

std::optional<Pair> found(QelXyCoordSpace const & space, Pair const & wanted, unsigned mode) {
    Resolution result;
    if (!space.findClosestResolution(result, wanted.width, wanted.height, mode)) return {};
    return Pair{result.horz.pixels, result.vert.pixels};
}

// ---- By counts

TEST(QelXyCoordSpaceFindTest, ClosestTable) {
    std::vector<Pair> const rows{{100, 100}, {200, 150}, {300, 0}, {0, 400}};
    QelXyCoordSpace const space = spaceWith(rows);
    struct Case {
        char const * name;
        Pair wanted;
        unsigned mode;
        std::optional<Pair> expected;
    };
    Case const cases[] = {
        {"no request", {0, 0}, smaller | larger, {}},
        {"exactly", {200, 150}, 0, Pair{200, 150}},
        {"nothing but exactly", {201, 150}, 0, {}},
        {"smaller", {201, 151}, smaller, Pair{200, 150}},
        {"larger", {99, 100}, larger, Pair{100, 100}},
        {"one axis larger, one smaller", {90, 160}, larger | noArbitrary, {}},
        {"both allowed", {90, 110}, smaller | larger, Pair{100, 100}},
        {"an arbitrary half takes the count", {300, 77}, 0, Pair{300, 77}},
        {"the other one too", {5, 400}, 0, Pair{5, 400}},
        {"unless it is excluded", {300, 77}, noArbitrary, {}},
        {"the closest without it", {300, 77}, noArbitrary | smaller | larger, Pair{200, 150}},
        {"width only", {200, 0}, 0, Pair{200, 150}},
        {"height only", {0, 100}, 0, Pair{100, 100}},
        {"no count without a request", {300, 0}, 0, Pair{300, 0}},
        {"excluded only on an axis with a request", {300, 0}, noArbitrary, Pair{300, 0}},
        // 10 + 10 on the one side, 10 + 10 on the other.
        {"the first of equal ones", {190, 140}, noArbitrary | larger, Pair{200, 150}},
        {"far away", {4294967295U, 4294967295U}, noArbitrary | smaller, Pair{200, 150}},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(each.expected, found(space, each.wanted, each.mode));
    }
}

TEST(QelXyCoordSpaceFindTest, WhatIsNotFoundLeavesTheResult) {
    QelXyCoordSpace const space = spaceWith({{100, 100}});
    Resolution result{QelResolution::ofPixels(7), QelResolution::ofPixels(8)};
    EXPECT_FALSE(space.findClosestResolution(result, 5, 5, 0));
    EXPECT_FALSE(space.findClosestResolution(result, 0, 0, 3));
    EXPECT_FALSE(spaceWith({}).findClosestResolution(result, 5, 5, 3));
    EXPECT_EQ(7U, result.horz.pixels);
    EXPECT_EQ(8U, result.vert.pixels);
}

TEST(QelXyCoordSpaceFindTest, TheResultIsFull) {
    Resolution result;
    ASSERT_TRUE(spaceWith({{0, 100}}).findClosestResolution(result, 50, 100, 0));
    EXPECT_DOUBLE_EQ(5.0, result.horz.dpu);
    EXPECT_EQ(QEL_UNIT_INCH, result.horz.unit);
    EXPECT_DOUBLE_EQ(5.0, result.vert.dpu);
    ASSERT_TRUE(spaceWith({{0, 100}}).findClosestResolution(result, 0, 100, 0));
    EXPECT_TRUE(result.horz.isArbitrary());
}

// Sums of differences have more than 32 bits.
TEST(QelXyCoordSpaceFindTest, DistancesDoNotWrapRound) {
    EXPECT_EQ((Pair{4294967295U, 1}),
              found(spaceWith({{4294967295U, 4294967295U}, {4294967295U, 1}}), {1, 1}, larger));
    EXPECT_EQ((Pair{4294967295U, 4294967295U}),
              found(spaceWith({{4294967295U, 4294967295U}}), {1, 1}, larger));
}

// All rows that are allowed, with their scores; the first of the best.
std::optional<Pair> bestByHand(std::vector<Pair> const & rows, Pair const & wanted, unsigned mode) {
    if (wanted == Pair{}) return {};
    std::optional<Pair> best;
    std::int64_t bestScore = std::numeric_limits<std::int64_t>::max();
    for (Pair const & row : rows) {
        std::int64_t score = 0;
        bool allowed = true;
        auto const compare = [&](std::int64_t half, std::int64_t request) {
            if (request == 0) return;
            if (half == 0) {
                if (mode & noArbitrary) allowed = false;
                return;
            }
            if (half < request && !(mode & smaller)) allowed = false;
            if (half > request && !(mode & larger)) allowed = false;
            score += std::abs(half - request);
        };
        compare(row.width, wanted.width);
        compare(row.height, wanted.height);
        if (!allowed || score >= bestScore) continue;
        bestScore = score;
        best = Pair{row.width != 0 ? row.width : wanted.width,
                    row.height != 0 ? row.height : wanted.height};
    }
    return best;
}

TEST(QelXyCoordSpaceFindTest, ClosestAgreesWithScoringEveryRow) {
    RandomNumbers random(30);
    for (int i = 0; i < 4000; ++i) {
        std::vector<Pair> const rows = randomRows(random, 8);
        QelXyCoordSpace const space = spaceWith(rows);
        for (int j = 0; j < 8; ++j) {
            Pair const wanted{random.whole(0U, 14U), random.whole(0U, 14U)};
            unsigned const mode = random.whole(0U, 15U);
            ASSERT_EQ(bestByHand(rows, wanted, mode), found(space, wanted, mode))
                << testing::PrintToString(rows) << wanted << " mode " << mode;
        }
    }
}

// ---- By dots per unit

TEST(QelXyCoordSpaceFindTest, ClosestByDotsPerUnit) {
    // 10 and 20 dots per inch on both axes, 30 by any.
    QelXyCoordSpace const space = spaceWith({{100, 200}, {200, 400}, {300, 0}});
    auto const dpi = [](double dots) { return QelResolution(dots, QEL_UNIT_INCH); };
    struct Case {
        char const * name;
        Resolution wanted;
        unsigned mode;
        std::optional<Pair> expected;
    };
    Case const cases[] = {
        {"no request", {}, smaller | larger, {}},
        {"exactly", {dpi(10), dpi(10)}, 0, Pair{100, 200}},
        {"less than a dot away is exact", {dpi(10.9), dpi(9.1)}, 0, Pair{100, 200}},
        {"a dot away is not", {dpi(11), dpi(10)}, 0, {}},
        {"smaller", {dpi(14), dpi(14)}, smaller, Pair{100, 200}},
        {"larger", {dpi(14), dpi(14)}, larger | noArbitrary, Pair{200, 400}},
        {"the closest", {dpi(14), dpi(14)}, smaller | larger | noArbitrary, Pair{100, 200}},
        {"one axis", {dpi(20), {}}, 0, Pair{200, 400}},
        {"the other axis", {{}, dpi(10)}, noArbitrary, Pair{100, 200}},
        {"in centimeters", {{20 / 2.54, QEL_UNIT_CENTIMETER}, {}}, 0, Pair{200, 400}},
        {"by counts", {QelResolution::ofPixels(200), {}}, 0, Pair{200, 400}},
        {"an arbitrary half", {dpi(30), dpi(77)}, 0, Pair{300, 1540}},
        {"none so small", {dpi(5), dpi(5)}, smaller | noArbitrary, {}},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        Resolution result;
        bool const any = space.findClosestResolution(result, each.wanted, each.mode);
        std::optional<Pair> const pair =
            any ? std::optional<Pair>(Pair{result.horz.pixels, result.vert.pixels}) : std::nullopt;
        EXPECT_EQ(each.expected, pair);
    }
    Resolution result;
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", [&] {
                     space.findClosestResolution(result, {{1, QEL_UNIT_SECOND}, {}}, 0);
                 });
}

// ---- Models

TEST(QelXyCoordSpaceFindTest, TheLargestAgreesWithAModel) {
    RandomNumbers random(31);
    for (int i = 0; i < 4000; ++i) {
        std::vector<Pair> rows = randomRows(random, 6);
        rows.push_back({random.whole(1U, 12U), random.oneIn(2) ? 0 : random.whole(1U, 12U)});
        Pair widest;
        Pair highest;
        Pair most;
        bool any = false;
        for (Pair const & row : rows) {
            any = any || row == Pair{};
            if (row.height == 0) widest.width = std::max(widest.width, row.width);
            if (row.width == 0) highest.height = std::max(highest.height, row.height);
            if (row.width * row.height > most.width * most.height) most = row;
        }
        Pair expected = widest == Pair{} && highest == Pair{} ? most : highest;
        if (widest.width > highest.height) expected = widest;
        if (any) expected = {};
        Pair maximum{99, 99};
        spaceWith(rows).getMaxResolution(maximum.width, maximum.height);
        ASSERT_EQ(expected, maximum) << testing::PrintToString(rows);
    }
}

TEST(QelXyCoordSpaceFindTest, PartnersAgreeWithAModel) {
    RandomNumbers random(32);
    for (int i = 0; i < 4000; ++i) {
        std::vector<Pair> const rows = randomRows(random, 6);
        QelXyCoordSpace const space = spaceWith(rows);
        std::uint32_t const y = random.whole(1U, 14U);
        // First the rows of that many samples, then the arbitrary ones.
        std::optional<std::uint32_t> expected;
        for (std::uint32_t const height : {y, 0U}) {
            if (expected) break;
            for (Pair const & row : rows) {
                if (row.height != height) continue;
                // Twice as high as wide: as many dots per inch are half as many samples.
                if (!expected || *expected == 0) expected = row.width;
            }
        }
        if (expected && *expected == 0) expected = (y + 1) / 2;
        std::optional<std::uint32_t> result;
        try {
            result = space.findHorzResolution(QelResolution::ofPixels(y)).pixels;
        } catch (ZanError const & error) {
            ASSERT_EQ(QelErrorCode::noSuchResolution, error.getErrcode());
        }
        ASSERT_EQ(expected, result) << testing::PrintToString(rows) << y;
        // The mirror image.
        QelXyCoordSpace turned = space;
        turned.swapXY();
        std::optional<std::uint32_t> mirrored;
        try {
            mirrored = turned.findVertResolution(QelResolution::ofPixels(y)).pixels;
        } catch (ZanError const & error) {
            ASSERT_EQ(QelErrorCode::noSuchResolution, error.getErrcode());
        }
        ASSERT_EQ(expected, mirrored);
    }
}

TEST(QelXyCoordSpaceFindTest, SelectionAgreesWithAModel) {
    RandomNumbers random(33);
    for (int i = 0; i < 4000; ++i) {
        std::vector<Pair> const rows = randomRows(random, 6);
        QelXyCoordSpace space = spaceWith(rows);
        Pair const wanted{random.whole(1U, 14U), random.whole(1U, 14U)};
        bool const expected = std::any_of(rows.begin(), rows.end(), [&](Pair const & row) {
            return (row.width == 0 || row.width == wanted.width) &&
                   (row.height == 0 || row.height == wanted.height);
        });
        ASSERT_EQ(expected, space.hasPixelResolution(wanted.width, wanted.height));
        std::string const before = stateOf(space);
        try {
            space.selectResolution(wanted.width, wanted.height);
            ASSERT_TRUE(expected);
            ASSERT_EQ(wanted, (Pair{space.numPixelsWide(), space.numPixelsHigh()}));
            ASSERT_DOUBLE_EQ(wanted.width / 10.0, space.selectedResolution().horz.dpu);
            ASSERT_DOUBLE_EQ(wanted.height / 20.0, space.selectedResolution().vert.dpu);
        } catch (ZanError const & error) {
            ASSERT_EQ(QelErrorCode::noSuchResolution, error.getErrcode());
            ASSERT_FALSE(expected);
            ASSERT_EQ(before, stateOf(space));
        }
    }
}

}  // namespace
