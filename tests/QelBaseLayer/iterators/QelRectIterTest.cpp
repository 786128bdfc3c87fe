#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "QelRectIter.h"

// The typed forms, and what they do with tiles.

namespace {

using ConstIter = QelRectConstIter<std::uint8_t>;
using Iter = QelRectIter<std::uint8_t>;

class QelRectIterTest : public testing::Test {
  protected:
    // 40 by 30 pixels in tiles of 16 by 16: 3 across, 2 down.
    Qel2DImage * make() {
        TileLimits const limits(1, 1000);
        op = countingOpForTiles({.width = 40, .height = 30, .tileWidth = 16, .tileHeight = 16});
        image = new Qel2DImage(op);
        return image;
    }
    int liveTiles() const {
        int live = 0;
        for (std::int32_t y = 0; y < image->tilesDown(); ++y) {
            for (std::int32_t x = 0; x < image->tilesAcross(); ++x)
                live += image->findTile(x, y) ? 1 : 0;
        }
        return live;
    }

    MoxSmartPtr<CountingOp> op;
    MoxSmartPtr<Qel2DImage> image;
};

// Counts how often it asks its image for a tile.
class AskingIter : public ConstIter {
  public:
    using ConstIter::ConstIter;
    int asked = 0;

  protected:
    MoxSmartPtr<QelTile> tileAt(std::int32_t x, std::int32_t y) override {
        ++asked;
        return ConstIter::tileAt(x, y);
    }
};

template <class T>
std::int64_t countPixels(QelRectConstIter<T> & iter) {
    std::int64_t pixels = 0;
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.next())
            ++pixels;
    }
    return pixels;
}

}  // namespace

TEST_F(QelRectIterTest, ARectangleWithinOneTileLoadsOneTileAndOneRow) {
    ConstIter iter(make(), 17, 1, 30, 14);
    EXPECT_EQ(1, iter.columnCount());
    EXPECT_EQ(14 * 14, countPixels(iter));
    EXPECT_EQ(0, iter.tileRow());
    EXPECT_EQ((std::vector<QelRect>{QelRect(16, 0, 16, 16)}), op->rects());
    EXPECT_EQ(1, image->statistics().tilesComputed);
    EXPECT_EQ(1, liveTiles());
}

TEST_F(QelRectIterTest, WalkingUpAndDownTheColumnsOfATileRowComputesEachTileOnce) {
    ConstIter iter(make(), 0, 2, 39, 14);
    for (std::int32_t x = 0; x < 40; ++x) {
        for (iter.moveTo(x, 2); !iter.done(); iter.moveY(1))
            ASSERT_EQ(gradientAt(x, static_cast<int>(iter.y()), 0), iter.get());
        for (iter.moveTo(x, 14); !iter.done(); iter.moveY(-1))
            ASSERT_EQ(gradientAt(x, static_cast<int>(iter.y()), 0), iter.get());
    }
    EXPECT_EQ(3, op->computes());
}

TEST_F(QelRectIterTest, AWalkRowByRowComputesEachTileOnceInAnImageThatCachesNothing) {
    ConstIter iter(make());
    EXPECT_EQ(40 * 30, countPixels(iter));
    EXPECT_EQ(6, op->computes());
}

TEST_F(QelRectIterTest, AsksForEachTileOnceWhileItStaysInARowOfTiles) {
    AskingIter one(make(), 17, 1, 30, 14);
    EXPECT_EQ(14 * 14, countPixels(one));
    one.moveTo(17, 1);
    one.moveY(5);
    one.moveX(-9);
    one.moveX(3);
    EXPECT_EQ(1, one.asked);
    AskingIter all(image);
    EXPECT_EQ(40 * 30, countPixels(all));
    EXPECT_EQ(6, all.asked);
}

TEST_F(QelRectIterTest, TilesLiveAsLongAsTheIteratorNeedsThem) {
    make();
    {
        ConstIter iter(image);
        iter.toStart();
        EXPECT_EQ(3, liveTiles());
        iter.moveTo(20, 20);
        EXPECT_EQ(3, liveTiles());
        EXPECT_FALSE(image->findTile(1, 0));
        EXPECT_TRUE(image->findTile(2, 1));
        {
            ConstIter copy(iter);
            iter.moveTo(0, 0);
            EXPECT_EQ(6, liveTiles());
        }
        EXPECT_EQ(3, liveTiles());
    }
    EXPECT_EQ(0, liveTiles());
}

TEST_F(QelRectIterTest, NoMoreThanOneRowOfTilesAndOneTileExistAtATime) {
    TileLimits const limits(1, 1000);
    int most = 0;
    image =
        new Qel2DImage(new HookedOp({.width = 40, .height = 30, .tileWidth = 16, .tileHeight = 16},
                                    [&](QelRectBuffer *) { most = std::max(most, liveTiles()); }));
    ConstIter iter(image);
    countPixels(iter);
    EXPECT_EQ(4, most);
}

TEST_F(QelRectIterTest, AnotherElementTypeRaises119) {
    make();
    std::string const text = "An iterator over float cannot visit pixels of unsigned char";
    expectRaises(QelErrorCode::wrongPixelFormat, text,
                 [&] { QelRectConstIter<float>(image, 0, 0, 3, 3); });
    expectRaises(QelErrorCode::wrongPixelFormat, text,
                 [&] { QelRectConstIter<float>(image, QelRect(0, 0, 3, 3)); });
    expectRaises(QelErrorCode::wrongPixelFormat, text,
                 [&] { QelRectConstIter<float> iter(image); });
    expectRaises(QelErrorCode::wrongPixelFormat, text,
                 [&] { QelRectIter<float>(image, 0, 0, 3, 3); });
    EXPECT_EQ(0, op->computes());
}

TEST_F(QelRectIterTest, GetsAndSetsTheCurrentBandAndOthers) {
    make();
    image->setCacheTiles(true);
    Iter iter(image, 15, 15, 17, 17);
    iter.moveTo(16, 16, 1);
    iter.set(11);
    iter.set(22, 2);
    iter.set(33, 0);
    EXPECT_EQ(11, iter.get());
    EXPECT_EQ(11, iter.get(1));
    EXPECT_EQ(22, iter.get(2));
    EXPECT_EQ(33, iter.get(0));
    EXPECT_EQ(1, iter.band());
    EXPECT_EQ(0, op->computes());
}

TEST_F(QelRectIterTest, TheWritingFormComputesNoTileAndMarksNone) {
    make();
    image->setCacheTiles(true);
    Iter iter(image);
    EXPECT_EQ(40 * 30, countPixels(iter));
    EXPECT_EQ(0, op->computes());
    EXPECT_EQ(0, image->statistics().tilesComputed);
    EXPECT_EQ(6, liveTiles());
    EXPECT_FALSE(image->findTile(1, 1)->isState(QelRenderedItem::complete));
}

TEST_F(QelRectIterTest, TheWritingFormWorksOnPixelsThatAreThere) {
    make();
    image->setCacheTiles(true);
    image->getTile(1, 1);
    Iter iter(image, 16, 16, 31, 29);
    for (iter.toStart(); !iter.done(); iter.nextRow())
        iter.run().transform([](std::uint8_t value) -> std::uint8_t { return value ^ 1; });
    EXPECT_TRUE(showsPixels(*image->getTile(1, 1), QelRect(16, 16, 16, 14),
                            [](std::int32_t x, std::int32_t y, int band) -> double {
                                auto const value = static_cast<int>(gradientAt(x, y, band));
                                return band == 0 ? value ^ 1 : value;
                            }));
    EXPECT_EQ(1, op->computes());
}

TEST_F(QelRectIterTest, AWrappedBufferGetsItsMemoryFromTheWritingForm) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(4, 3, 10, 10), 2, BAND_INTERLEAVED, QelDataType::Short);
    image = new Qel2DImage(buffer);
    QelRectIter<std::int16_t> iter(image, 4, 3, 13, 12);
    iter.moveTo(13, 12, 1);
    iter.set(-777);
    EXPECT_TRUE(buffer->isAllocated());
    EXPECT_EQ(-777, elementAt(*buffer, 13, 12, 1));
}
