#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "OutputCapture.h"

// Views and copies of an image's pixels, and buffers that share a tile's memory.

namespace {

class Qel2DImageDataTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_EQ("", output_.text()); }

    void expectCounts(int computes, std::int64_t copied) const {
        EXPECT_EQ(computes, op->computes());
        EXPECT_EQ(copied, image->statistics().pixelsCopied);
    }

    // 3 by 2 tiles of 128 by 128.
    TestImage const report{.width = 300, .height = 200};
    MoxSmartPtr<CountingOp> op = countingOp(report);
    MoxSmartPtr<Qel2DImage> image = imageOf(op);
    QelRect const inOneTile{140, 130, 20, 10};
    QelRect const inFourTiles{100, 100, 60, 50};
    OutputCapture output_;
};

// The picture as a buffer sees it whose rectangle was moved from `from` to `to`.
PixelFunction movedPicture(QelRect const & from, QelRect const & to) {
    return [from, to](std::int32_t x, std::int32_t y, int band) {
        return gradientAt(x - to.x + from.x, y - to.y + from.y, band);
    };
}

}  // namespace

TEST_F(Qel2DImageDataTest, DataOfOneTileIsAView) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    for (bool const allowCopy : {false, true}) {
        MoxSmartPtr<QelRectBuffer> const data = image->getData(inOneTile, allowCopy);
        ASSERT_TRUE(data);
        EXPECT_EQ(inOneTile, data->rect());
        EXPECT_EQ(tile->dataBuffer().get(), data->dataBuffer().get());
        EXPECT_TRUE(showsPixels(*data, inOneTile, gradientAt));
    }
    expectCounts(1, 0);
}

TEST_F(Qel2DImageDataTest, AViewOutlivesItsTile) {
    MoxSmartPtr<QelRectBuffer> const data = image->getData(inOneTile, false);
    EXPECT_EQ(nullptr, image->findTile(1, 1).get());
    EXPECT_TRUE(showsPixels(*data, inOneTile, gradientAt));
    expectCounts(1, 0);
}

TEST_F(Qel2DImageDataTest, AWholeTileIsAView) {
    QelRect const whole(256, 128, 44, 72);
    EXPECT_TRUE(showsPixels(*image->getData(whole, true), whole, gradientAt));
    expectCounts(1, 0);
    EXPECT_EQ(whole, op->rects().at(0));
}

TEST_F(Qel2DImageDataTest, DataOfManyTilesIsANewBufferIfItMayBeCopied) {
    EXPECT_EQ(nullptr, image->getData(inFourTiles, false).get());
    expectCounts(0, 0);
    MoxSmartPtr<QelRectBuffer> const data = image->getData(inFourTiles, true);
    EXPECT_EQ(inFourTiles, data->rect());
    EXPECT_EQ(60, data->dataOrg()->tileWidth());
    EXPECT_EQ(50, data->dataOrg()->tileHeight());
    EXPECT_TRUE(showsPixels(*data, inFourTiles, gradientAt));
    EXPECT_EQ(1, data->referenceCount());
    expectCounts(4, 0);
}

TEST_F(Qel2DImageDataTest, DataOutsideTheImageIsNull) {
    for (QelRect const & rect : {QelRect(-10, 0, 10, 10), QelRect(300, 0, 10, 10),
                                 QelRect(0, 200, 500, 500), QelRect(10, 10, 0, 5)}) {
        EXPECT_EQ(nullptr, image->getData(rect, true).get());
        EXPECT_EQ(nullptr, image->getData(rect, false).get());
    }
    expectCounts(0, 0);
}

TEST_F(Qel2DImageDataTest, WhatStraddlesTheEdgeIsFilledUpWithZeros) {
    for (QelRect const & rect : {QelRect(-20, -30, 60, 50), QelRect(280, 190, 60, 50),
                                 QelRect(290, 10, 20, 20), QelRect(-50, -50, 500, 400)}) {
        MoxSmartPtr<QelRectBuffer> const data = image->getData(rect, true);
        ASSERT_TRUE(data);
        EXPECT_EQ(rect, data->rect());
        EXPECT_TRUE(showsPixels(*data, rect, framedBy(report.rect(), gradientAt, 0)));
    }
}

TEST_F(Qel2DImageDataTest, ATileAtTheEdgeIsNotComputedTwiceForACopy) {
    MoxSmartPtr<QelRectBuffer> const data = image->getData(QelRect(290, 10, 20, 20), true);
    expectCounts(1, 0);
    EXPECT_EQ(QelRect(290, 10, 10, 20), op->rects().at(0));
}

TEST_F(Qel2DImageDataTest, WithoutCopyTheEdgeGivesTheClippedView) {
    MoxSmartPtr<QelRectBuffer> const data = image->getData(QelRect(290, 10, 20, 20), false);
    ASSERT_TRUE(data);
    EXPECT_EQ(QelRect(290, 10, 10, 20), data->rect());
    EXPECT_TRUE(showsPixels(*data, data->rect(), gradientAt));
    expectCounts(1, 0);
    EXPECT_EQ(QelRect(256, 0, 44, 128), op->rects().at(0));
}

TEST_F(Qel2DImageDataTest, WithNothingToComputeWithThereIsNoData) {
    MoxSmartPtr<Qel2DImage> const bare = imageWithoutOp(report);
    EXPECT_THROW(bare->getData(inOneTile, true), ZanError);
    EXPECT_EQ(nullptr, bare->getData(inFourTiles, true).get());
    EXPECT_EQ(nullptr, bare->getData(inFourTiles, false).get());
}

TEST_F(Qel2DImageDataTest, ABufferWithoutMemorySharesTheTiles) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 0);
    for (bool const allowCopy : {false, true}) {
        MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(image->dataOrg(), 7, 9, 50, 40);
        image->shareBuffer(buffer, QelRect(128, 0, 50, 40), allowCopy);
        EXPECT_EQ(tile->dataBuffer().get(), buffer->dataBuffer().get());
        EXPECT_EQ(QelRect(7, 9, 50, 40), buffer->rect());
        EXPECT_TRUE(showsPixels(*buffer, buffer->rect(),
                                movedPicture(QelRect(128, 0, 50, 40), buffer->rect())));
    }
    expectCounts(1, 0);
}

TEST_F(Qel2DImageDataTest, ATileThatIsMissingIsComputedToBeShared) {
    MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(image->dataOrg(), QelRect(0, 0, 50, 40));
    image->shareBuffer(buffer, buffer->rect(), false);
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
    expectCounts(1, 0);
    EXPECT_EQ(QelRect(0, 0, 128, 128), op->rects().at(0));
}

TEST_F(Qel2DImageDataTest, WhatCannotBeSharedIsFilled) {
    QelRect const rect(128, 0, 50, 40);
    MoxSmartPtr<QelDataOrg> const org = image->dataOrg();
    struct Row {
        char const * what;
        MoxSmartPtr<QelRectBuffer> buffer;
        QelRect from;
    };
    MoxSmartPtr<QelRectBuffer> const shared = emptyBuffer(org, rect);
    MoxSmartPtr<QelRectBuffer> const sharer = shared->subBuffer(rect);
    MoxSmartPtr<QelRectBuffer> const released = emptyBuffer(org, rect);
    released->releaseData();
    for (Row const & row :
         {Row{"has memory", paintedBuffer(org, rect), rect},
          Row{"another layout", emptyBuffer(org->withLayout(BAND_INTERLEAVED), rect), rect},
          Row{"another type", emptyBuffer(org->withDataType(QelDataType::Double), rect), rect},
          Row{"another offset", emptyBuffer(org, QelRect(0, 0, 50, 40)), QelRect(129, 0, 50, 40)},
          Row{"many tiles", emptyBuffer(org, QelRect(0, 0, 50, 40)), QelRect(120, 0, 50, 40)},
          Row{"memory to come is shared", shared, rect}}) {
        SCOPED_TRACE(row.what);
        bool const hadMemory = row.buffer->isAllocated();
        image->shareBuffer(row.buffer, row.from, false);
        EXPECT_EQ(hadMemory, row.buffer->isAllocated());
        image->shareBuffer(row.buffer, row.from, true);
        EXPECT_TRUE(showsPixels(*row.buffer, row.buffer->rect(),
                                movedPicture(row.from, row.buffer->rect())));
    }
    EXPECT_TRUE(showsPixels(*sharer, rect, gradientAt));
}

// The buffer's rows go on below the tile, whose memory ends there.
TEST_F(Qel2DImageDataTest, ABufferThatReachesBeyondTheTileIsFilledAndDoesNotShare) {
    image = imageOf(new GradientOp({.width = 100, .height = 400}));
    QelRect const reach(0, 0, 100, 300);
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(image->dataOrg(), 0, 0, reach.width, reach.height);
    image->shareBuffer(buffer, QelRect(0, 0, 10, 10), false);
    EXPECT_FALSE(buffer->isAllocated());
    image->shareBuffer(buffer, QelRect(0, 0, 10, 10), true);
    EXPECT_TRUE(showsPixels(*buffer, reach, gradientAt));
}

TEST_F(Qel2DImageDataTest, ABufferWhoseMemoryWasReleasedSharesOrIsFilled) {
    for (QelRect const & rect : {QelRect(128, 0, 50, 40), inFourTiles}) {
        MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(image->dataOrg(), rect);
        buffer->releaseData();
        image->shareBuffer(buffer, rect, true);
        EXPECT_TRUE(showsPixels(*buffer, rect, gradientAt));
    }
}

TEST_F(Qel2DImageDataTest, SharingFillsTheBuffersSizeFromTheCornerOfTheRectangle) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        paintedBuffer(image->dataOrg(), QelRect(1000, 1000, 70, 60));
    image->shareBuffer(buffer, QelRect(100, 100, 5, 5), true);
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(),
                            movedPicture(QelRect(100, 100, 70, 60), buffer->rect())));
}

TEST_F(Qel2DImageDataTest, SharingOutsideTheImageDoesNothing) {
    for (QelRect const & rect : {QelRect(-50, 0, 50, 40), QelRect(300, 0, 50, 40)}) {
        MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(image->dataOrg(), rect);
        image->shareBuffer(buffer, rect, true);
        EXPECT_FALSE(buffer->isAllocated());
    }
    expectCounts(0, 0);
}

TEST_F(Qel2DImageDataTest, AnImageOnAStackKeepsItsPixelsForWhoeverSharesThem) {
    QelRectBuffer buffer(image->dataOrg(), QelRect(0, 0, 50, 40));
    {
        Qel2DImage local(op);
        local.shareBuffer(&buffer, buffer.rect(), false);
    }
    EXPECT_TRUE(showsPixels(buffer, buffer.rect(), gradientAt));
}
