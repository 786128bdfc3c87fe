#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelSimpleDataOrg.h"
#include "RegionTesting.h"

// The tiles that a region touches, against asking each pixel for its tile.

namespace {

using Tile = std::pair<std::int64_t, std::int64_t>;  // row and column

struct Tiling {
    int width;
    int height;
    int x = 0;
    int y = 0;

    MoxSmartPtr<QelDataOrg> org() const {
        MoxSmartPtr<QelDataOrg> const org(
            new QelSimpleDataOrg(width, height, QelDataType::UChar, 1, PIXEL_INTERLEAVED));
        return org->withOrigin(x, y);
    }
};

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    while (result * b > a)
        --result;
    while ((result + 1) * b <= a)
        ++result;
    return result;
}

// In the order in which they come, row by row.
std::vector<Tile> countedTiles(QelRect const & rect, Tiling const & tiling) {
    std::set<Tile> tiles;
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        for (int x = rect.x; x < rect.x + rect.width; ++x) {
            tiles.insert(
                {floorDiv(y - tiling.y, tiling.height), floorDiv(x - tiling.x, tiling.width)});
        }
    }
    return {tiles.begin(), tiles.end()};
}

template <class Iterator>
std::vector<Tile> walkedTiles(Iterator & at) {
    std::vector<Tile> tiles;
    for (; !at.isDone(); at.next())
        tiles.emplace_back(at.tile().tileY, at.tile().tileX);
    return tiles;
}

std::vector<Tile> tilesOf(QelXySimpleRegion const * region, Tiling const & tiling) {
    QelXySimpleRegion::Iterator at(region, *tiling.org());
    return walkedTiles(at);
}

// Says what it is asked, and answers one thing.
class TalkingWalker : public QelXyRegion::Iterator {
  public:
    explicit TalkingWalker(std::vector<std::string> & calls) : calls_(calls) {}
    ~TalkingWalker() override { calls_.push_back("end"); }

    QelTileId tile() const override {
        calls_.push_back("tile");
        return QelTileId(7, 8, 9, 10);
    }
    bool isDone() const override {
        calls_.push_back("isDone");
        return true;
    }
    void next() override { calls_.push_back("next"); }

  private:
    std::vector<std::string> & calls_;
};

}  // namespace

TEST(QelXyRegionIteratorTest, FindsTheTilesOfAllPixels) {
    constexpr unsigned seed = 20260803;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const number = [&](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(90, 70);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        Tiling const tiling{number(1, 40), number(1, 40), number(-60, 120), number(-60, 120)};
        MoxSmartPtr<QelXySimpleRegion> const region(new QelXySimpleRegion(
            space, number(-20, 95), number(-20, 75), number(0, 60), number(0, 60)));
        QelRect const rect = region->pixelBounds();
        SCOPED_TRACE(testing::Message()
                     << "round " << round << ": " << rect << " tiles " << tiling.width << 'x'
                     << tiling.height << " at " << tiling.x << ',' << tiling.y);
        EXPECT_EQ(countedTiles(rect, tiling), tilesOf(region, tiling));
    }
}

TEST(QelXyRegionIteratorTest, GoesFromLeftToRightAndDown) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(pixelSpace(100, 100));
    EXPECT_EQ((std::vector<Tile>{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}}),
              tilesOf(region, {64, 40}));
}

TEST(QelXyRegionIteratorTest, IsDoneAtOnceOnAnEmptyRectangle) {
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(100, 100);
    QelRect const rects[] = {{0, 0, 0, 0},     {10, 10, 0, 5}, {10, 10, 5, 0},
                             {200, 200, 5, 5}, {99, 99, 0, 0}, {-9, -9, 5, 50}};
    for (QelRect const & rect : rects) {
        SCOPED_TRACE(testing::Message() << rect.x << ',' << rect.y);
        MoxSmartPtr<QelXySimpleRegion> const region = regionOf(space);
        region->setPixelBounds(rect);
        QelXySimpleRegion::Iterator at(region.get(), *Tiling{16, 16, -3, 5}.org());
        EXPECT_TRUE(at.isDone());
    }
}

TEST(QelXyRegionIteratorTest, OfARectangleInsideOneTileYieldsOneTile) {
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(100, 100);
    QelRect const rects[] = {{16, 32, 16, 16}, {17, 33, 1, 1}, {31, 47, 1, 1}, {20, 40, 5, 2}};
    for (QelRect const & rect : rects) {
        MoxSmartPtr<QelXySimpleRegion> const region = regionOf(space);
        region->setPixelBounds(rect);
        EXPECT_EQ((std::vector<Tile>{{2, 1}}), tilesOf(region, {16, 16}));
    }
}

TEST(QelXyRegionIteratorTest, WithoutATileSizeThereIsOneTile) {
    EXPECT_EQ((std::vector<Tile>{{0, 0}}), tilesOf(regionOf(pixelSpace(100, 100)), {0, 0}));
}

TEST(QelXyRegionIteratorTest, ReachesTheLargestPixel) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(most, 1);
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(space, pixelBoxAt(2147483000.0, 0, most, 1));
    EXPECT_EQ((std::vector<Tile>{{0, 2147483000 / 500}, {0, most / 500}}),
              tilesOf(region, {500, 500}));
    MoxSmartPtr<QelXySimpleRegion> const corner =
        regionOf(pixelSpace(4294967295U, 1), pixelBoxAt(0, 0, 1, 1));
    expectRaises(QelErrorCode::invalidValue, "pixel count 4294967295 is not from 0 to 2147483647",
                 [&] {
                     tilesOf(corner, {500, 500});
                 });
}

TEST(QelXyRegionIteratorTest, TilesAreAtTheRegionsResolution) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(sampledSpace(8.0, 4.0, 800, 400));
    QelXySimpleRegion::Iterator at(region.get(), *Tiling{128, 128}.org());
    EXPECT_EQ(QelTileId(0, 0, 800, 400), at.tile());
    at.next();
    EXPECT_EQ(QelTileId(1, 0, 800, 400), at.tile());
}

TEST(QelXyRegionIteratorTest, KeepsTheRegion) {
    MoxSmartPtr<QelXySimpleRegion> region = regionOf(pixelSpace(10, 10));
    QelXySimpleRegion::Iterator at(region.get(), *Tiling{5, 5}.org());
    EXPECT_EQ(2, region->refCount());
    region.release();
    EXPECT_EQ(4U, walkedTiles(at).size());
}

TEST(QelXyRegionIteratorTest, LeavesARegionOnAStackAlone) {
    QelXySimpleRegion const region(pixelSpace(10, 10), 0, 0, 10, 5);
    { EXPECT_EQ(2U, tilesOf(&region, {5, 5}).size()); }
    EXPECT_EQ(0, region.refCount());
    EXPECT_EQ(QelRect(0, 0, 10, 5), region.pixelBounds());
}

TEST(QelXyRegionIteratorTest, Refusals) {
    MoxSmartPtr<QelDataOrg> const org = Tiling{5, 5}.org();
    expectRaises(QelErrorCode::nullPointer,
                 "NULL region pointer passed to QelXySimplRegion::Iterator ctr",
                 [&] { QelXySimpleRegion::Iterator give(nullptr, *org); });
    expectRaises(QelErrorCode::nullPointer, "Null region provided to Iterator",
                 [] { QelXyRegion::Iterator give(nullptr); });
    expectRaises(QelErrorCode::noSelectedResolution,
                 "QelXyCoordSpace cannot convert horizontal range to pixels, when there is no "
                 "selected resolution and the coord space is not single-res",
                 [&] { QelXySimpleRegion::Iterator give(regionOf(physicalSpace(1, 1)), *org); });
}

TEST(QelXyRegionIteratorTest, TheBaseForwardsToOneThatKnowsTheClass) {
    std::vector<std::string> calls;
    {
        QelXyRegion::Iterator at(std::make_unique<TalkingWalker>(calls));
        EXPECT_EQ(QelTileId(7, 8, 9, 10), at.tile());
        EXPECT_TRUE(at.isDone());
        at.next();
    }
    EXPECT_EQ((std::vector<std::string>{"tile", "isDone", "next", "end"}), calls);
    QelXyRegion::Iterator at(std::make_unique<QelXySimpleRegion::Iterator>(
        regionOf(pixelSpace(100, 100)), *Tiling{64, 64}.org()));
    EXPECT_EQ((std::vector<Tile>{{0, 0}, {0, 1}, {1, 0}, {1, 1}}), walkedTiles(at));
}
