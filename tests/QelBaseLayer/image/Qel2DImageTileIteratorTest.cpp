#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "ImageTesting.h"

// The walk over the tiles of an image.

namespace {

std::vector<QelTileId> placesOf(Qel2DImage::TileIterator at) {
    std::vector<QelTileId> places;
    for (; !at.done(); ++at)
        places.emplace_back(at.tileX(), at.tileY());
    return places;
}

}  // namespace

TEST(Qel2DImageTileIteratorTest, WalksRowByRowFromLeftToRight) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 500, .height = 500}));
    Qel2DImage::tileIter const at(image, QelRect(100, 127, 200, 130));
    EXPECT_EQ(QelRect(100, 127, 200, 130), at.rect());
    EXPECT_EQ((std::vector<QelTileId>{
                  {0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}, {0, 2}, {1, 2}, {2, 2}}),
              placesOf(at));
}

TEST(Qel2DImageTileIteratorTest, IsClippedToTheImage) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 300, .height = 200}));
    Qel2DImage::TileIterator const at(image, QelRect(-1000, 190, 5000, 5000));
    EXPECT_EQ(QelRect(0, 190, 300, 10), at.rect());
    EXPECT_EQ((std::vector<QelTileId>{{0, 1}, {1, 1}, {2, 1}}), placesOf(at));
}

TEST(Qel2DImageTileIteratorTest, ARectangleThatMissesTheImageVisitsNoTileWhateverTheAnchor) {
    for (std::int32_t const origin : {0, -1, -84, -127}) {
        MoxSmartPtr<Qel2DImage> const image = imageOf(
            new GradientOp({.width = 300, .height = 200, .originX = origin, .originY = origin}));
        for (QelRect const & rect :
             {QelRect(-5, 0, 5, 5), QelRect(0, -5, 5, 5), QelRect(300, 0, 5, 5),
              QelRect(0, 200, 5, 5), QelRect(-100, -100, 50, 50), QelRect(3, 3, 0, 5),
              QelRect(3, 3, 5, -5)}) {
            EXPECT_TRUE(Qel2DImage::TileIterator(image, rect).done()) << rect.x << " " << rect.y;
        }
    }
    EXPECT_TRUE(Qel2DImage::TileIterator(imageOf(nullptr), QelRect(0, 0, 9, 9)).done());
}

TEST(Qel2DImageTileIteratorTest, ActsOnItsCurrentPosition) {
    MoxSmartPtr<CountingOp> const op = countingOp({.width = 300, .height = 200});
    MoxSmartPtr<Qel2DImage> const image = imageOf(op);
    Qel2DImage::TileIterator at(image, QelRect(200, 150, 100, 10));
    at.next();
    EXPECT_EQ(nullptr, at.findTile().get());
    MoxSmartPtr<QelTile> const tile = at.createTile();
    EXPECT_EQ(QelTileId(2, 1), tile->tileId());
    EXPECT_EQ(0, op->computes());
    EXPECT_EQ(tile.get(), at.findTile().get());
    EXPECT_EQ(tile.get(), at.getTile().get());
    EXPECT_EQ(1, op->computes());
}

TEST(Qel2DImageTileIteratorTest, KeepsItsImage) {
    Qel2DImage::TileIterator const at(imageOf(new GradientOp({.width = 300, .height = 200})),
                                      QelRect(0, 0, 9, 9));
    EXPECT_EQ(QelRect(0, 0, 128, 128), at.getTile()->rect());
}

TEST(Qel2DImageTileIteratorTest, LeavesAnImageOnAStackAlone) {
    Qel2DImage image(new GradientOp({.width = 300, .height = 200}));
    for (Qel2DImage::TileIterator at(&image, image.imageRect()); !at.done(); at.next())
        EXPECT_TRUE(at.getTile()->isState(QelRenderedItem::complete));
    EXPECT_EQ(0, image.refCount());
    EXPECT_EQ(6, image.statistics().tilesComputed);
}
