#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "OutputCapture.h"
#include "QelError.h"

// Images that wrap a buffer.

namespace {

MoxSmartPtr<QelRectBuffer> pictureBuffer(QelRect const & rect,
                                         QelLayout layout = PIXEL_INTERLEAVED) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(rect, 3, layout, QelDataType::UChar);
    buffer->allocate();
    fillPixels(*buffer, rect, gradientAt);
    return buffer;
}

MoxSmartPtr<Qel2DImage> wrapped(MoxSmartPtr<QelRectBuffer> const & buffer) {
    return new Qel2DImage(buffer);
}

}  // namespace

TEST(Qel2DImageWrapTest, ABufferBecomesACompleteTile) {
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(0, 0, 30, 20));
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    EXPECT_TRUE(image->sizeKnown());
    EXPECT_TRUE(image->cacheTiles());
    EXPECT_EQ(QelRect(0, 0, 30, 20), image->imageRect());
    EXPECT_EQ(1, image->tilesAcross());
    EXPECT_EQ(1, image->tilesDown());
    EXPECT_EQ(nullptr, image->op().get());
    EXPECT_EQ(nullptr, image->id());
    EXPECT_EQ(0U, image->opContext());
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ(buffer->dataBuffer().get(), tile->dataBuffer().get());
    EXPECT_EQ(QelRect(0, 0, 30, 20), tile->rect());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_EQ(0, image->statistics().tilesComputed);
}

TEST(Qel2DImageWrapTest, TheImageReachesFromTheFirstPixelToTheBuffersEdge) {
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(100, 50, 30, 20));
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    EXPECT_EQ(QelRect(0, 0, 130, 70), image->imageRect());
    EXPECT_EQ(100, image->dataOrg()->originX());
    EXPECT_EQ(50, image->dataOrg()->originY());
    EXPECT_EQ(QelRect(100, 50, 30, 20), image->getTile(0, 0)->rect());
    EXPECT_TRUE(showsPixels(*image->getData(buffer->rect(), false), buffer->rect(), gradientAt));
}

TEST(Qel2DImageWrapTest, PositionsOutsideTheBufferAreNoTiles) {
    OutputCapture const output;
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(100, 50, 30, 20));
    buffer->setFullSize(500, 400);
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    EXPECT_EQ(QelRect(0, 0, 500, 400), image->imageRect());
    EXPECT_EQ(1, image->tilesAcross());
    EXPECT_EQ(1, image->tilesDown());
    for (QelRect const & rect : {QelRect(0, 0, 10, 10), QelRect(0, 55, 100, 5),
                                 QelRect(130, 50, 10, 10), QelRect(105, 70, 5, 5)}) {
        EXPECT_TRUE(Qel2DImage::TileIterator(image, rect).done());
        EXPECT_EQ(nullptr, image->getData(rect, true).get());
        MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(buffer->dataOrg(), rect);
        image->fillRWBuffer(dest, true);
        EXPECT_TRUE(showsPixels(*dest, rect, painted));
    }
    EXPECT_EQ("", output.text());
}

TEST(Qel2DImageWrapTest, WhatTheBufferDoesNotCoverIsZeroInACopy) {
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(100, 50, 30, 20));
    buffer->setFullSize(500, 400);
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    QelRect const wanted(90, 40, 50, 40);
    MoxSmartPtr<QelRectBuffer> const data = image->getData(wanted, true);
    ASSERT_TRUE(data);
    EXPECT_EQ(wanted, data->rect());
    EXPECT_TRUE(showsPixels(*data, wanted, framedBy(buffer->rect(), gradientAt, 0)));
    EXPECT_EQ(600, image->statistics().pixelsCopied);
}

TEST(Qel2DImageWrapTest, AFullSizeSmallerThanTheBufferDoesNotCount) {
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(10, 5, 30, 20));
    buffer->setFullSize(20, 21);
    EXPECT_EQ(QelRect(0, 0, 40, 25), wrapped(buffer)->imageRect());
}

TEST(Qel2DImageWrapTest, ABufferAtANegativePositionIsCutToTheImage) {
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(-10, -5, 30, 20));
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    EXPECT_EQ(QelRect(0, 0, 20, 15), image->imageRect());
    EXPECT_EQ(-10, image->dataOrg()->originX());
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    EXPECT_EQ(QelRect(0, 0, 20, 15), tile->rect());
    EXPECT_EQ(buffer->addressOf(0, 0), tile->getData());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_TRUE(showsPixels(*image->getData(QelRect(3, 4, 10, 10), false), QelRect(3, 4, 10, 10),
                            gradientAt));
}

TEST(Qel2DImageWrapTest, ABufferWhollyAtNegativePositionsHasNoTiles) {
    MoxSmartPtr<Qel2DImage> const image = wrapped(pictureBuffer(QelRect(-100, -5, 30, 20)));
    EXPECT_EQ(0, image->tilesAcross());
    EXPECT_EQ(0, image->tilesDown());
    EXPECT_EQ(nullptr, image->getData(QelRect(-100, -5, 30, 20), true).get());
}

TEST(Qel2DImageWrapTest, AnEmptyBufferHasNoTiles) {
    MoxSmartPtr<Qel2DImage> const image = wrapped(new QelRectBuffer);
    EXPECT_TRUE(image->sizeKnown());
    EXPECT_EQ(0, image->tilesAcross());
    EXPECT_EQ(0, image->tilesDown());
}

TEST(Qel2DImageWrapTest, ABufferIsCompleteWhenItGetsItsMemoryLater) {
    QelRect const rect(5, 6, 30, 20);
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(rect, 3, BAND_INTERLEAVED, QelDataType::UChar);
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    EXPECT_FALSE(image->findTile(0, 0)->isState(QelRenderedItem::complete));
    EXPECT_THROW(image->getTile(0, 0), ZanError);
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(buffer->dataOrg(), rect);
    EXPECT_FALSE(image->fillRWBuffer(dest, true));
    EXPECT_TRUE(showsPixels(*dest, rect, painted));

    buffer->allocate();
    fillPixels(*buffer, rect, gradientAt);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    EXPECT_TRUE(showsPixels(*dest, rect, gradientAt));
    EXPECT_TRUE(image->getTile(0, 0)->isState(QelRenderedItem::complete));
}

TEST(Qel2DImageWrapTest, AViewOfALargerBufferIsWrappedAsItIs) {
    MoxSmartPtr<QelRectBuffer> const whole = pictureBuffer(QelRect(0, 0, 50, 40), LINE_INTERLEAVED);
    QelRect const part(10, 20, 15, 10);
    MoxSmartPtr<Qel2DImage> const image = wrapped(whole->subBuffer(part));
    EXPECT_EQ(QelRect(0, 0, 25, 30), image->imageRect());
    MoxSmartPtr<QelRectBuffer> const data = image->getData(part, false);
    ASSERT_TRUE(data);
    EXPECT_EQ(whole->addressOf(10, 20), data->getData());
    EXPECT_TRUE(showsPixels(*data, part, gradientAt));
}

TEST(Qel2DImageWrapTest, ATilesSizeBelowTheBuffersDoesNotCutIt) {
    QelRect const rect(0, 0, 50, 40);
    std::vector<std::int32_t> const offsets{0};
    MoxSmartPtr<QelDataOrg> const org =
        new QelSimpleDataOrg(8, 8, QelDataType::UChar, 1, offsets, 1, 50);
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, 0, 0, 50, 40);
    buffer->allocate();
    fillPixels(*buffer, rect, gradientAt);
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    EXPECT_EQ(1, image->tilesAcross());
    for (QelRect const & part : {rect, QelRect(20, 3, 20, 30), QelRect(16, 16, 4, 4)}) {
        MoxSmartPtr<QelRectBuffer> const view = image->getData(part, false);
        ASSERT_TRUE(view);
        EXPECT_EQ(buffer->dataBuffer().get(), view->dataBuffer().get());
        EXPECT_TRUE(showsPixels(*view, part, gradientAt));
        MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), part);
        EXPECT_TRUE(image->fillRWBuffer(dest, true));
        EXPECT_TRUE(showsPixels(*dest, part, gradientAt));
    }
}

TEST(Qel2DImageWrapTest, TheImageOutlivesTheBuffer) {
    QelRect const rect(0, 0, 30, 20);
    MoxSmartPtr<Qel2DImage> image = wrapped(pictureBuffer(rect));
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    EXPECT_TRUE(showsPixels(*tile, rect, gradientAt));
    image.release();
    EXPECT_TRUE(showsPixels(*tile, rect, gradientAt));
}

TEST(Qel2DImageWrapTest, ItsMemoryIsNeverStolen) {
    QelRect const rect(0, 0, 30, 20);
    MoxSmartPtr<Qel2DImage> const image = wrapped(pictureBuffer(rect));
    for (int round = 0; round < 2; ++round) {
        MoxSmartPtr<QelRectBuffer> const dest = emptyBuffer(image->dataOrg(), rect);
        EXPECT_TRUE(image->fillRWBuffer(dest, true));
        EXPECT_TRUE(showsPixels(*dest, rect, gradientAt));
        EXPECT_TRUE(image->findTile(0, 0)->isState(QelRenderedItem::complete));
    }
}

TEST(Qel2DImageWrapTest, AnOpTakesOver) {
    MoxSmartPtr<QelRectBuffer> const buffer = pictureBuffer(QelRect(0, 0, 30, 20));
    MoxSmartPtr<Qel2DImage> const image = wrapped(buffer);
    image->setOp(new GradientOp({.width = 300, .height = 200}));
    EXPECT_EQ(QelRect(0, 0, 300, 200), image->imageRect());
    EXPECT_EQ(1, buffer->referenceCount());
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 1);
    tile->allocate();
    EXPECT_TRUE(showsPixels(*image->getTile(1, 1), tile->rect(), gradientAt));
    EXPECT_EQ(1, image->statistics().tilesComputed);
}

// What a compute left in a tile's memory when it failed is no picture, even once the image has no
// op any more.
TEST(Qel2DImageWrapTest, AWrappedImageDoesNotTakeWhatAFailedOpLeftForPixels) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(0, 0, 30, 20), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(buffer.get());
    MoxSmartPtr<QelImageOp> const op =
        new HookedOp({.width = 300, .height = 20}, [](QelRectBuffer * tile) {
            tile->allocate();
            throw QelError(QelErrorCode::outOfRange, "half-way", __FILE__, __LINE__);
        });
    image->setOp(op);
    expectRaises(QelErrorCode::outOfRange, "half-way", [&image] { image->getTile(0, 0); });
    image->setOp(nullptr);
    expectRaises(QelErrorCode::noPixelSource,
                 "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an "
                 "QelImageOp or containing connection point with which to generate a tile "
                 "(getTile)",
                 [&image] { image->getTile(0, 0); });
    EXPECT_FALSE(image->findTile(0, 0)->isState(QelRenderedItem::complete));
}

TEST(Qel2DImageWrapTest, ABufferOnAStackIsLeftAlone) {
    QelRectBuffer buffer(30, 20, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.allocate();
    fillPixels(buffer, buffer.rect(), gradientAt);
    Qel2DImage image(&buffer);
    EXPECT_EQ(0, buffer.refCount());
    EXPECT_TRUE(showsPixels(*image.getData(buffer.rect(), true), buffer.rect(), gradientAt));
    EXPECT_EQ(0, image.refCount());
}

TEST(Qel2DImageWrapTest, ABufferThatIsTooFarAwayRaises13) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(most, 0, 10, 10), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    expectRaises(QelErrorCode::invalidValue, "An image of 2147483657 by 10 pixels is too large",
                 [&buffer] { wrapped(buffer); });
}

TEST(Qel2DImageWrapTest, ABufferWithoutOrganisationRaises4) {
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(nullptr, QelRect(0, 0, 9, 9));
    expectRaises(QelErrorCode::nullPointer, "QelRectBuffer has no data organization",
                 [&buffer] { wrapped(buffer); });
}
