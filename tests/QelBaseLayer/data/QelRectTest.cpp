#include "QelRect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <limits>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ExpectError.h"

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

std::string printed(QelRect const & rect) {
    std::ostringstream out;
    out << std::hex << std::setw(30) << rect;
    std::string const text = out.str();
    return text.substr(text.find_first_not_of(' '));
}

bool isAllZeros(QelRect const & rect) {
    return rect.x == 0 && rect.y == 0 && rect.width == 0 && rect.height == 0;
}

// A rectangle as the plain set of its pixels.
using Pixels = std::set<std::pair<int, int>>;

Pixels pixelsOf(QelRect const & rect) {
    Pixels pixels;
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        for (int x = rect.x; x < rect.x + rect.width; ++x)
            pixels.emplace(x, y);
    }
    return pixels;
}

Pixels common(Pixels const & a, Pixels const & b) {
    Pixels result;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(),
                          std::inserter(result, result.end()));
    return result;
}

Pixels without(Pixels const & a, Pixels const & b) {
    Pixels result;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                        std::inserter(result, result.end()));
    return result;
}

// The box around some pixels, every pixel of it.
Pixels boxAround(Pixels const & pixels) {
    if (pixels.empty()) return {};
    auto [left, top] = *pixels.begin();
    auto [right, bottom] = *pixels.begin();
    for (auto const & [x, y] : pixels) {
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    return pixelsOf(QelRect(left, top, right - left + 1, bottom - top + 1));
}

TEST(QelRectTest, DefaultIsTheSharedEmptyRectangleOfAllZeros) {
    EXPECT_TRUE(isAllZeros(QelRect()));
    EXPECT_TRUE(isAllZeros(QelRect::empty()));
    EXPECT_EQ(&QelRect::empty(), &QelRect::empty());
}

TEST(QelRectTest, EmptyWithAWidthOrHeightBelowOne) {
    EXPECT_FALSE(QelRect(0, 0, 1, 1).isEmpty());
    for (QelRect const & rect : {QelRect(1, 2, 0, 3), QelRect(1, 2, 3, 0), QelRect(1, 2, -1, 3),
                                 QelRect(1, 2, 3, least)}) {
        SCOPED_TRACE(std::to_string(rect.width) + " by " + std::to_string(rect.height));
        EXPECT_TRUE(rect.isEmpty());
        EXPECT_EQ(0, rect.area());
    }
}

// Two empty rectangles at different places compare equal.
TEST(QelRectTest, AllEmptyRectanglesAreEqual) {
    EXPECT_TRUE(QelRect(5, 6, 0, 9) == QelRect(-7, 8, 3, -2));
    EXPECT_TRUE(QelRect(5, 6, 0, 9).equals(QelRect()));
    EXPECT_FALSE(QelRect(5, 6, 0, 9) == QelRect(5, 6, 1, 9));
    EXPECT_TRUE(QelRect(5, 6, 1, 9) != QelRect(5, 6, 0, 9));
    EXPECT_TRUE(QelRect(1, 2, 3, 4) == QelRect(1, 2, 3, 4));
    EXPECT_FALSE(QelRect(1, 2, 3, 4) == QelRect(1, 2, 3, 5));
    EXPECT_FALSE(QelRect(1, 2, 3, 4) == QelRect(0, 2, 3, 4));
}

TEST(QelRectTest, EdgesAreInclusive) {
    QelRect const rect(10, 20, 5, 6);
    EXPECT_EQ(14, rect.right());
    EXPECT_EQ(25, rect.bottom());
    EXPECT_TRUE(rect.contains(10, 20));
    EXPECT_TRUE(rect.contains(14, 25));
    EXPECT_FALSE(rect.contains(15, 25));
    EXPECT_FALSE(rect.contains(14, 26));
    EXPECT_FALSE(rect.contains(9, 20));
    EXPECT_FALSE(rect.contains(10, 19));
    EXPECT_FALSE(QelRect(10, 20, 0, 6).contains(10, 20));
}

TEST(QelRectTest, FromCorners) {
    EXPECT_EQ(QelRect(2, 3, 4, 5), QelRect::fromCorners(2, 3, 5, 7));
    EXPECT_EQ(QelRect(2, 3, 1, 1), QelRect::fromCorners(2, 3, 2, 3));
    EXPECT_TRUE(isAllZeros(QelRect::fromCorners(2, 3, 1, 7)));
    EXPECT_TRUE(isAllZeros(QelRect::fromCorners(2, 3, 5, 2)));
    EXPECT_TRUE(isAllZeros(QelRect::fromCorners(most, 3, least, 2)));
    EXPECT_EQ(QelRect(0, 1, most, most), QelRect::fromCorners(0, 1, most - 1, most));
}

TEST(QelRectTest, FromCornersRaises13WhenTheSizeDoesNotFit) {
    expectRaises(QelErrorCode::invalidValue,
                 "A rectangle of 4294967296 by 1 pixels at (-2147483648,0) does not fit in 32 bits",
                 [] { QelRect::fromCorners(least, 0, most, 0); });
    expectRaises(QelErrorCode::invalidValue,
                 "A rectangle of 1 by 2147483648 pixels at (0,0) does not fit in 32 bits",
                 [] { QelRect::fromCorners(0, 0, 0, most); });
}

TEST(QelRectTest, BoundingUnionRaises13WhenTheSizeDoesNotFit) {
    expectRaises(QelErrorCode::invalidValue,
                 "A rectangle of 2147483652 by 1 pixels at (-5,0) does not fit in 32 bits",
                 [] { (void)QelRect(-5, 0, 1, 1).boundingUnion(QelRect(most - 1, 0, 1, 1)); });
    expectRaises(QelErrorCode::invalidValue,
                 "A rectangle of 1 by 2147483648 pixels at (0,0) does not fit in 32 bits",
                 [] { (void)QelRect(0, 0, 1, 1).boundingUnion(QelRect(0, most, 1, 1)); });
}

TEST(QelRectTest, BoundingUnionOfAnEmptyRectangleGivesTheOther) {
    QelRect const rect(1, 2, 3, 4);
    QelRect const none(50, 60, 0, 7);
    EXPECT_EQ(rect, none.boundingUnion(rect));
    EXPECT_EQ(rect, rect.boundingUnion(none));
    EXPECT_TRUE(none.boundingUnion(none).isEmpty());
}

TEST(QelRectTest, NothingOverflowsAtTheEndOfTheCoordinates) {
    QelRect const corner(most, most, most, most);  // reaches far beyond the largest coordinate
    EXPECT_EQ(2LL * most - 1, corner.right());
    EXPECT_TRUE(corner.contains(most, most));
    EXPECT_EQ(corner, corner.intersect(corner));
    EXPECT_TRUE(corner.containsRect(corner));
    QelRect const wide(least, least, most, most);
    EXPECT_FALSE(wide.overlaps(corner));
    EXPECT_EQ(QelRect(least, least, 1, 1), wide.intersect(QelRect(least, least, 1, 1)));
    EXPECT_EQ(std::int64_t{most} * most, corner.area());
}

TEST(QelRectTest, SubtractRaises13ForAPieceBeyondTheCoordinates) {
    QelRect first(1, 2, 3, 4);
    QelRect second(5, 6, 7, 8);
    expectRaises(
        QelErrorCode::invalidValue,
        "A rectangle of 2 by 2 pixels at (2147483647,2147483648) does not fit in 32 bits",
        [&] { QelRect(most, most, 2, 3).subtract(QelRect(most, most, 1, 1), first, second); });
    expectRaises(
        QelErrorCode::invalidValue,
        "A rectangle of 1 by 3 pixels at (2147483648,2147483647) does not fit in 32 bits",
        [&] { QelRect(most, most, 2, 3).subtract(QelRect(most, most, 1, 3), first, second); });
}

TEST(QelRectTest, AnEmptyRectangleIsContainedInEveryRectangle) {
    EXPECT_TRUE(QelRect(0, 0, 2, 2).containsRect(QelRect(9, 9, 0, 5)));
    EXPECT_TRUE(QelRect().containsRect(QelRect(9, 9, 0, 5)));
    EXPECT_FALSE(QelRect().containsRect(QelRect(0, 0, 1, 1)));
}

TEST(QelRectTest, IntersectionWithoutPixelsIsAllZeros) {
    EXPECT_TRUE(isAllZeros(QelRect(1, 1, 2, 2).intersect(QelRect(3, 1, 2, 2))));
    EXPECT_TRUE(isAllZeros(QelRect(1, 1, 2, 2).intersect(QelRect(1, 1, 0, 2))));
}

TEST(QelRectTest, SubtractTakesAboveThenBelowThenLeftThenRight) {
    QelRect const whole(0, 0, 10, 10);
    struct {
        char const * part;
        QelRect hole;
        QelRect first;
        QelRect second;
    } const cases[] = {
        {"above", {3, 4, 2, 2}, {0, 0, 10, 4}, {0, 4, 10, 6}},
        {"below", {3, -1, 2, 5}, {0, 4, 10, 6}, {0, 0, 10, 4}},
        {"left", {3, -1, 2, 20}, {0, 0, 3, 10}, {3, 0, 7, 10}},
        {"right", {-5, 0, 9, 10}, {4, 0, 6, 10}, {}},
        {"disjoint", {10, 0, 5, 5}, whole, {}},
        {"empty", {3, 3, 0, 5}, whole, {}},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.part);
        QelRect first;
        QelRect second;
        EXPECT_TRUE(whole.subtract(c.hole, first, second));
        EXPECT_EQ(c.first, first);
        EXPECT_EQ(c.second, second);
    }
}

TEST(QelRectTest, SubtractIsFalseForAnEmptyRectangleOrOneWhollyInside) {
    struct {
        QelRect whole;
        QelRect hole;
    } const cases[] = {{{0, 0, 4, 4}, {0, 0, 4, 4}},
                       {{1, 1, 2, 2}, {0, 0, 4, 4}},
                       {{1, 1, 0, 2}, {9, 9, 4, 4}},
                       {{1, 1, 0, 2}, {}}};
    for (auto const & c : cases) {
        SCOPED_TRACE(printed(c.whole) + " " + printed(c.hole));
        QelRect first(1, 2, 3, 4);
        QelRect second(5, 6, 7, 8);
        EXPECT_FALSE(c.whole.subtract(c.hole, first, second));
        EXPECT_TRUE(first.isEmpty());
        EXPECT_TRUE(second.isEmpty());
    }
}

TEST(QelRectTest, Prints) {
    EXPECT_EQ("(-1,20,30,4)", printed(QelRect(-1, 20, 30, 4)));
    EXPECT_EQ("[empty]", printed(QelRect(3, 4, 0, 5)));
}

// Pairs of small rectangles, often touching, often empty, against their sets of pixels.
class QelRectModelTest : public testing::Test {
  protected:
    QelRect small() {
        std::uniform_int_distribution<int> position(-5, 5);
        std::uniform_int_distribution<int> size(-1, 7);
        return {position(random_), position(random_), size(random_), size(random_)};
    }

    // Takes `hole` out of `whole` piece by piece.
    static std::vector<QelRect> piecesOf(QelRect const & whole, QelRect const & hole) {
        std::vector<QelRect> pieces;
        QelRect piece;
        QelRect rest = whole;
        while (rest.subtract(hole, piece, rest)) {
            pieces.push_back(piece);
            if (rest.isEmpty()) break;
        }
        return pieces;
    }

    static constexpr unsigned seed_ = 20031;
    std::mt19937 random_{seed_};
};

TEST_F(QelRectModelTest, OperationsAgreeWithSetsOfPixels) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 10000; ++run) {
        QelRect const a = small();
        QelRect const b = small();
        SCOPED_TRACE(printed(a) + " " + printed(b));
        Pixels const inA = pixelsOf(a);
        Pixels const inB = pixelsOf(b);
        Pixels const inBoth = common(inA, inB);
        Pixels inEither = inA;
        inEither.insert(inB.begin(), inB.end());

        ASSERT_EQ(inA.empty(), a.isEmpty());
        ASSERT_EQ(inA.size(), static_cast<std::size_t>(a.area()));
        ASSERT_EQ(inA == inB, a == b);
        ASSERT_EQ(!inBoth.empty(), a.overlaps(b));
        ASSERT_EQ(inBoth.empty(), a.disjoint(b));
        ASSERT_EQ(inBoth, pixelsOf(a.intersect(b)));
        ASSERT_EQ(boxAround(inEither), pixelsOf(a.boundingUnion(b)));
        ASSERT_EQ(inBoth == inB, a.containsRect(b));
        ASSERT_EQ(inA.count({b.x, b.y}) == 1, a.contains(b.x, b.y));
        if (!a.isEmpty()) {
            QelRect const again =
                QelRect::fromCorners(a.x, a.y, static_cast<std::int32_t>(a.right()),
                                     static_cast<std::int32_t>(a.bottom()));
            ASSERT_EQ(a, again);
        }
    }
}

TEST_F(QelRectModelTest, SubtractedPiecesAreTheDifferenceAndDoNotOverlap) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 10000; ++run) {
        QelRect const whole = small();
        QelRect const hole = small();
        SCOPED_TRACE(printed(whole) + " " + printed(hole));
        Pixels left = without(pixelsOf(whole), pixelsOf(hole));
        for (QelRect const & piece : piecesOf(whole, hole)) {
            ASSERT_FALSE(piece.isEmpty());
            for (auto const & pixel : pixelsOf(piece))
                ASSERT_EQ(1U, left.erase(pixel));
        }
        ASSERT_TRUE(left.empty());
    }
}

}  // namespace
