#include "QelRectChopper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ExpectError.h"

namespace {

constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

std::vector<QelRect> chop(QelRect const & rect, int minWidth, int maxWidth, int minHeight,
                          int maxHeight) {
    QelRectChopper chopper(rect, minWidth, maxWidth, minHeight, maxHeight);
    std::vector<QelRect> pieces;
    for (QelRect piece; chopper.next(piece);)
        pieces.push_back(piece);
    return pieces;
}

TEST(QelRectChopperTest, LeftToRightThenTopToBottomTheLastOnesCutToFit) {
    std::vector<QelRect> const expected = {{1, 2, 4, 3}, {5, 2, 3, 3}, {1, 5, 4, 1}, {5, 5, 3, 1}};
    EXPECT_EQ(expected, chop(QelRect(1, 2, 7, 4), 4, 4, 3, 3));
}

TEST(QelRectChopperTest, TakesTheLargerOfMinimumAndMaximum) {
    EXPECT_EQ(QelRect(0, 0, 6, 7), chop(QelRect(0, 0, 9, 9), 6, 2, 3, 7).front());
    EXPECT_EQ(QelRect(0, 0, 6, 7), chop(QelRect(0, 0, 9, 9), 2, 6, 7, 3).front());
}

TEST(QelRectChopperTest, PiecesAreAtLeastOnePixel) {
    EXPECT_EQ(6U, chop(QelRect(0, 0, 3, 2), 0, 0, -5, -1).size());
}

TEST(QelRectChopperTest, AnEmptyRectangleHasNoPieces) {
    for (QelRect const & rect :
         {QelRect(), QelRect(5, 5, 0, 9), QelRect(5, 5, 9, 0), QelRect(5, 5, -3, 9)}) {
        EXPECT_TRUE(chop(rect, 2, 2, 2, 2).empty());
    }
}

TEST(QelRectChopperTest, StaysDoneAndLeavesThePieceAlone) {
    QelRectChopper chopper(QelRect(0, 0, 1, 1), 1, 1, 1, 1);
    QelRect piece;
    ASSERT_TRUE(chopper.next(piece));
    piece = QelRect(7, 7, 7, 7);
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(chopper.next(piece));
        EXPECT_EQ(QelRect(7, 7, 7, 7), piece);
    }
}

TEST(QelRectChopperTest, NothingOverflowsAtTheEndOfTheCoordinates) {
    std::vector<QelRect> const one = {{most - 1, most - 1, 2, 2}};
    EXPECT_EQ(one, chop(one.front(), most, most, most, most));
    std::vector<QelRect> const two = {{most - 2, 0, 2, 1}, {most, 0, 1, 1}};
    EXPECT_EQ(two, chop(QelRect(most - 2, 0, 3, 1), 2, 2, 2, 2));
}

TEST(QelRectChopperTest, Raises13ForAPieceBeyondTheCoordinates) {
    expectRaises(QelErrorCode::invalidValue, "A piece at (2147483648,0) does not fit in 32 bits",
                 [] { chop(QelRect(most - 1, 0, 3, 1), 2, 2, 1, 1); });
    expectRaises(QelErrorCode::invalidValue, "A piece at (3,2147483648) does not fit in 32 bits",
                 [] { chop(QelRect(3, most, 1, 2), 1, 1, 1, 1); });
}

TEST(QelRectChopperTest, CoversEveryPixelOnceInOrder) {
    constexpr unsigned seed = 20032;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> position(-20, 20);
    std::uniform_int_distribution<int> size(0, 30);
    std::uniform_int_distribution<int> chunk(-1, 12);
    for (int run = 0; run < 3000; ++run) {
        QelRect const rect(position(random), position(random), size(random), size(random));
        int const widths[] = {chunk(random), chunk(random)};
        int const heights[] = {chunk(random), chunk(random)};
        std::ostringstream row;
        row << rect << ' ' << widths[0] << ' ' << widths[1] << ' ' << heights[0] << ' '
            << heights[1];
        SCOPED_TRACE(row.str());

        int const width = std::max({widths[0], widths[1], 1});
        int const height = std::max({heights[0], heights[1], 1});
        std::vector<QelRect> expected;
        for (int y = 0; y < rect.height; y += height) {
            for (int x = 0; x < rect.width; x += width) {
                expected.emplace_back(rect.x + x, rect.y + y, std::min(width, rect.width - x),
                                      std::min(height, rect.height - y));
            }
        }
        if (rect.isEmpty()) expected.clear();
        ASSERT_EQ(expected, chop(rect, widths[0], widths[1], heights[0], heights[1]));

        std::map<std::pair<int, int>, int> hits;
        for (QelRect const & piece : expected) {
            for (int y = piece.y; y <= piece.bottom(); ++y) {
                for (int x = piece.x; x <= piece.right(); ++x)
                    ++hits[{x, y}];
            }
        }
        ASSERT_EQ(static_cast<std::size_t>(rect.area()), hits.size());
        for (auto const & hit : hits)
            ASSERT_EQ(1, hit.second);
    }
}

}  // namespace
