#include <cstdint>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "Qel2DImage.h"
#include "QelTile.h"
#include "TestOps.h"

// What a tile costs the heap: the tile, its data buffer object, and its pixels when they are used.

namespace {

class EmptyOp : public GradientOp {
  public:
    using GradientOp::GradientOp;
    void compute(QelRectBuffer * buffer, QelOpContext) override { buffer->getData(); }
};

std::int64_t bytesOfPixels() {
    return std::int64_t{128} * 128 * 3;
}

}  // namespace

TEST(QelTileAllocationTest, AnUnusedTileIsTheTileAndItsDataBufferObject) {
    MoxSmartPtr<QelDataOrg> const org = TestImage().dataOrg();
    AllocationCounter const counter;
    {
        MoxSmartPtr<QelTile> const tile(new QelTile(org, QelTileId(0, 0)));
        EXPECT_EQ(2, counter.allocations());
        EXPECT_GT(bytesOfPixels() / 10, counter.bytes());
    }
    EXPECT_EQ(2, counter.allocations());
}

TEST(QelTileAllocationTest, AClippedTileCostsNoMore) {
    MoxSmartPtr<QelDataOrg> const org = TestImage{.originX = -84, .originY = -3}.dataOrg();
    AllocationCounter const counter;
    MoxSmartPtr<QelTile> const tile(new QelTile(org, QelTileId(0, 0)));
    EXPECT_EQ(2, counter.allocations());
}

TEST(QelTileAllocationTest, PixelsCostOneBlockOnFirstUse) {
    MoxSmartPtr<QelDataOrg> const org = TestImage().dataOrg();
    MoxSmartPtr<QelTile> const tile(new QelTile(org, QelTileId(0, 0)));
    AllocationCounter const counter;
    tile->getData();
    EXPECT_EQ(1, counter.allocations());
    EXPECT_EQ(bytesOfPixels(), counter.bytes());
    tile->getData();
    tile->setComplete(true);
    EXPECT_EQ(1, counter.allocations());
}

TEST(QelTileAllocationTest, ATilesLifeInAnImageCostsNothingElse) {
    MoxSmartPtr<Qel2DImage> const image(
        new Qel2DImage(new EmptyOp({.width = 1000, .height = 1000})));
    image->getTile(0, 0);  // What a thread needs once is not part of a tile's life.
    AllocationCounter const counter;
    for (int round = 1; round <= 5; ++round) {
        image->getTile(round, round);
        EXPECT_EQ(3 * round, counter.allocations());
    }
}
