#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// Intersections of lists of resolutions.

namespace {

using Resolution = QelXyCoordSpace::Resolution;

using Pairs = std::vector<Pair>;

QelXyCoordSpace spaceWith(Pairs const & rows, QelValue const & side = inches(10)) {
    QelXyCoordSpace space(side, side * 2.0);
    for (Pair const & row : rows) {
        space.addResolution(
            {QelResolution::ofPixels(row.width), QelResolution::ofPixels(row.height)});
    }
    return space;
}

Pairs rowsOf(QelXyCoordSpace const & space) {
    Pairs rows;
    for (unsigned i = 0; i < space.numResolutions(); ++i) {
        Resolution const row = space.getResolution(i);
        rows.push_back({row.horz.pixels, row.vert.pixels});
        if (row.horz.pixels == 0) continue;
        EXPECT_DOUBLE_EQ(row.horz.pixels / space.width().value(), row.horz.dpu);
    }
    EXPECT_EQ(space.xDimension().numResolutions(), space.yDimension().numResolutions());
    return rows;
}

Pairs intersected(Pairs const & mine, Pairs const & theirs) {
    QelXyCoordSpace space = spaceWith(mine);
    QelXyCoordSpace const other = spaceWith(theirs, centimeters(3));
    space.intersectResolutions(&other);
    EXPECT_FALSE(space.hasSelectedResolution());
    return rowsOf(space);
}

// ---- By counts

TEST(QelXyCoordSpaceIntersectTest, CountsTable) {
    struct Case {
        char const * name;
        Pairs mine;
        Pairs theirs;
        Pairs expected;
    };
    Case const cases[] = {
        {"what both have, in this one's order",
         {{3, 3}, {2, 2}, {1, 1}},
         {{1, 1}, {3, 3}},
         {{3, 3}, {1, 1}}},
        {"nothing in common", {{3, 3}}, {{3, 4}, {4, 3}}, {}},
        {"nothing there", {{3, 3}}, {}, {}},
        {"nothing here", {}, {{3, 3}}, {}},
        {"the other's arbitrary half offers every count",
         {{3, 3}, {4, 5}},
         {{0, 3}, {4, 0}},
         {{3, 3}, {4, 5}}},
        {"this one's arbitrary half takes the other's",
         {{0, 3}},
         {{7, 3}, {8, 4}, {9, 3}},
         {{7, 3}, {9, 3}}},
        {"an arbitrary height", {{3, 0}}, {{3, 7}, {4, 8}, {3, 9}}, {{3, 7}, {3, 9}}},
        {"both are arbitrary on one axis", {{0, 3}}, {{7, 0}, {0, 3}}, {{7, 3}, {0, 3}}},
        {"crosswise", {{3, 0}}, {{0, 7}, {0, 8}}, {{3, 7}, {3, 8}}},
        {"what is added comes last", {{0, 3}, {5, 5}}, {{7, 3}, {5, 5}}, {{5, 5}, {7, 3}}},
        {"arbitrary takes all", {{0, 0}}, {{7, 3}, {0, 2}}, {{7, 3}, {0, 2}}},
        {"also beside others", {{5, 5}, {0, 0}}, {{7, 3}}, {{7, 3}}},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(each.expected, intersected(each.mine, each.theirs));
    }
}

TEST(QelXyCoordSpaceIntersectTest, NullHasNoRows) {
    QelXyCoordSpace space = spaceWith({{3, 3}, {4, 4}});
    space.selectResolution(3, 3);
    QelXyCoordSpace byDots = space;
    space.intersectResolutions(nullptr);
    EXPECT_EQ(0U, space.numResolutions());
    EXPECT_FALSE(space.hasSelectedResolution());
    byDots.intersectDpuResolutions(nullptr, 1.0, false);
    EXPECT_EQ(0U, byDots.numResolutions());
    EXPECT_FALSE(byDots.hasSelectedResolution());
}

TEST(QelXyCoordSpaceIntersectTest, AnArbitrarySpaceChangesNothing) {
    QelXyCoordSpace space = spaceWith({{3, 3}});
    space.selectResolution(3, 3);
    QelXyCoordSpace const other = spaceWith({{7, 7}, {0, 0}});
    std::string const before = stateOf(space);
    space.intersectResolutions(&other);
    space.intersectDpuResolutions(&other, 0.0, true);
    EXPECT_EQ(before, stateOf(space));
}

TEST(QelXyCoordSpaceIntersectTest, WithItself) {
    QelXyCoordSpace space = spaceWith({{3, 3}, {4, 0}});
    space.intersectResolutions(&space);
    EXPECT_EQ((Pairs{{3, 3}, {4, 0}}), rowsOf(space));
    space.intersectDpuResolutions(&space, 1e-9, true);
    EXPECT_EQ((Pairs{{3, 3}, {4, 0}}), rowsOf(space));
}

TEST(QelXyCoordSpaceIntersectTest, APixelBasedSpaceKeepsItsRowOrRaises) {
    QelXyCoordSpace space(5, 6);
    std::string const before = stateOf(space);
    QelXyCoordSpace const same = spaceWith({{1, 1}, {5, 0}});
    space.intersectResolutions(&same);
    EXPECT_EQ(before, stateOf(space));
    QelXyCoordSpace const others = spaceWith({{6, 5}});
    QelXyCoordSpace const none(QEL_UNIT_NORMALIZED);
    EXPECT_REFUSED(QelErrorCode::noCommonResolution, "No remaining resolutions", space,
                   space.intersectResolutions(&others));
    EXPECT_REFUSED(QelErrorCode::noCommonResolution, "No remaining resolutions", space,
                   space.intersectResolutions(&none));
    EXPECT_REFUSED(QelErrorCode::noCommonResolution, "No remaining resolutions", space,
                   space.intersectResolutions(nullptr));
    space.intersectDpuResolutions(nullptr, 1.0, false);
    EXPECT_EQ(before, stateOf(space));
    // The other way round its counts are like any other's.
    QelXyCoordSpace length = spaceWith({{5, 6}, {7, 8}});
    length.intersectResolutions(&space);
    EXPECT_EQ((Pairs{{5, 6}}), rowsOf(length));
}

Pairs randomRows(RandomNumbers & random) {
    Pairs rows(random.whole(std::size_t{0}, std::size_t{6}));
    for (Pair & row : rows)
        row = {random.oneIn(4) ? 0 : random.whole(1U, 4U),
               random.oneIn(4) ? 0 : random.whole(1U, 4U)};
    return rows;
}

// Step by step, on a list of counts.
Pairs intersectedByHand(Pairs const & mine, Pairs const & theirs) {
    auto const isAny = [](Pair const & row) { return row == Pair{}; };
    if (std::any_of(theirs.begin(), theirs.end(), isAny)) return mine;
    if (std::any_of(mine.begin(), mine.end(), isAny)) return theirs;
    Pairs list = mine;
    std::vector<bool> removed(list.size(), false);
    for (std::size_t i = 0; i < mine.size(); ++i) {
        Pair const row = list[i];
        if (row.width == 0) {
            for (Pair const & each : theirs) {
                if (each.height == row.height || each.height == 0) {
                    list.push_back({each.width, row.height});
                }
            }
            removed[i] = true;
            continue;
        }
        if (row.height == 0) {
            for (Pair const & each : theirs) {
                if (each.width == row.width || each.width == 0) {
                    list.push_back({row.width, each.height});
                }
            }
        }
        bool const stays =
            row.height != 0 && std::any_of(theirs.begin(), theirs.end(), [&](Pair const & each) {
                return (each.width == 0 || each.width == row.width) &&
                       (each.height == 0 || each.height == row.height);
            });
        removed[i] = !stays;
    }
    Pairs result;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i >= removed.size() || !removed[i]) result.push_back(list[i]);
    }
    return result;
}

TEST(QelXyCoordSpaceIntersectTest, CountsAgreeWithTheStepsByHand) {
    RandomNumbers random(40);
    for (int i = 0; i < 5000; ++i) {
        Pairs const mine = randomRows(random);
        Pairs const theirs = randomRows(random);
        ASSERT_EQ(intersectedByHand(mine, theirs), intersected(mine, theirs))
            << testing::PrintToString(mine) << " and " << testing::PrintToString(theirs);
    }
}

// ---- By dots per unit

QelResolution dpi(double dots) {
    return {dots, QEL_UNIT_INCH};
}

TEST(QelXyCoordSpaceIntersectTest, DotsPerUnitAreThoseOfThisSpace) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution({dpi(100), dpi(100)});
    space.addResolution({dpi(200), dpi(200)});
    space.addResolution({dpi(300), dpi(300)});
    space.selectResolution(1000, 1000);
    // Another extent, another unit.
    QelXyCoordSpace other(centimeters(5000), centimeters(5000));
    other.addResolution({dpi(300.5), dpi(300)});
    other.addResolution({dpi(100.5), dpi(100)});
    other.addResolution({dpi(100.4), dpi(100)});
    space.intersectDpuResolutions(&other, 0.01, true);
    EXPECT_EQ((Pairs{{1000, 1000}, {3000, 3000}}), rowsOf(space));
    EXPECT_EQ(1000U, space.numPixelsWide()) << "still selected";
    space.intersectDpuResolutions(&other, 0.45, false);
    EXPECT_EQ((Pairs{{1000, 1000}}), rowsOf(space));
    space.intersectDpuResolutions(&other, 0.1, false);
    EXPECT_EQ((Pairs{}), rowsOf(space));
    EXPECT_FALSE(space.hasSelectedResolution()) << "its row is gone";
}

TEST(QelXyCoordSpaceIntersectTest, AnArbitraryHalfTakesTheOthersDotsPerUnit) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution({{}, dpi(100)});
    QelXyCoordSpace other(centimeters(25.4), centimeters(25.4));
    other.addResolution({dpi(50), dpi(100)});
    other.addResolution({dpi(60), dpi(101)});
    other.addResolution({dpi(70), {}});
    other.addResolution({{}, dpi(100)});
    QelXyCoordSpace any(inches(10), inches(10));
    any.addResolution(Resolution());
    space.intersectDpuResolutions(&other, 0.5, false);
    EXPECT_EQ((Pairs{{500, 1000}, {700, 1000}, {0, 1000}}), rowsOf(space));
    any.intersectDpuResolutions(&other, 0.5, false);
    EXPECT_EQ((Pairs{{500, 1000}, {600, 1010}, {700, 0}, {0, 1000}}), rowsOf(any));
}

TEST(QelXyCoordSpaceIntersectTest, DotsPerUnitNeedPhysicalSpaces) {
    QelXyCoordSpace space = spaceWith({{3, 3}});
    space.selectResolution(3, 3);
    std::string const before = stateOf(space);
    QelXyCoordSpace const pixel(5, 6);
    QelXyCoordSpace const part(QEL_UNIT_NORMALIZED);
    space.intersectDpuResolutions(&pixel, 1.0, false);
    space.intersectDpuResolutions(&part, 1.0, false);
    EXPECT_EQ(before, stateOf(space));
    QelXyCoordSpace other = part;
    other.intersectDpuResolutions(&space, 1.0, false);
    EXPECT_EQ(stateOf(part), stateOf(other));
    QelXyCoordSpace const seconds{QEL_UNIT_SECOND};
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", space,
                   space.intersectDpuResolutions(&seconds, 1.0, false));
}

// The steps on numbers of dots per inch, 0.0 for arbitrary.
struct Dots {
    double x = 0.0;
    double y = 0.0;
};

bool fit(double a, double b, double tolerance, bool relative) {
    if (a == 0.0 || b == 0.0) return true;
    double const apart = std::fabs(a - b);
    return relative ? apart <= tolerance * std::min(a, b) : apart < tolerance;
}

TEST(QelXyCoordSpaceIntersectTest, DotsPerUnitAgreeWithTheStepsByHand) {
    RandomNumbers random(41);
    auto const randomDots = [&] {
        std::vector<Dots> rows(random.whole(std::size_t{1}, std::size_t{5}));
        for (Dots & row : rows) {
            row = {random.oneIn(4) ? 0.0 : random.whole(5, 9) * 10.0,
                   random.oneIn(4) ? 0.0 : random.whole(5, 9) * 10.0};
        }
        return rows;
    };
    auto const spaceOf = [&](std::vector<Dots> const & rows, QelValue const & side) {
        QelXyCoordSpace space(side, side);
        for (Dots const & row : rows)
            space.addResolution({dpi(row.x), dpi(row.y)});
        return space;
    };
    for (int i = 0; i < 5000; ++i) {
        std::vector<Dots> const mine = randomDots();
        std::vector<Dots> const theirs = randomDots();
        bool const relative = random.oneIn(2);
        // Never just at a difference of two rows.
        double const tolerance =
            relative ? random.whole(0, 5) * 0.1 + 0.015 : random.whole(0, 4) * 10 + 5;
        QelXyCoordSpace space = spaceOf(mine, inches(10));
        QelXyCoordSpace const other = spaceOf(theirs, centimeters(25.4));
        bool any = false;
        for (Dots const & row : theirs)
            any = any || (row.x == 0.0 && row.y == 0.0);
        Pairs expected;
        for (Dots const & a : mine) {
            auto const count = [](double dots) { return static_cast<std::uint32_t>(dots * 10); };
            if (any) {
                expected.push_back({count(a.x), count(a.y)});
                continue;
            }
            for (Dots const & c : theirs) {
                if (!fit(a.x, c.x, tolerance, relative)) continue;
                if (!fit(a.y, c.y, tolerance, relative)) continue;
                expected.push_back({count(a.x != 0.0 ? a.x : c.x), count(a.y != 0.0 ? a.y : c.y)});
                if (a.x != 0.0 && a.y != 0.0) break;
            }
        }
        space.intersectDpuResolutions(&other, tolerance, relative);
        ASSERT_EQ(expected, rowsOf(space)) << "case " << i;
    }
}

}  // namespace
