#include <algorithm>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "ThreadTesting.h"

// Cases at the borders of what images promise: tile sizes that an op refuses, buffers larger than
// their rectangles, failures that must leave no trace, and images without owners.

// The limits would make the tiles 256 wide, where -280 is anchored at -24.
TEST(Qel2DImageMore, AnOpThatRefusesASmallerTileIsAnchoredByBothSizes) {
    struct Row {
        std::int32_t origin, expected;
    };
    for (Row const & row :
         {Row{-280, -24}, Row{0, 0}, Row{300, -212}, Row{256, 0}, Row{-24, -24}}) {
        SCOPED_TRACE("origin " + std::to_string(row.origin));
        TestImage report{.width = 700, .height = 20, .bands = 1, .tileWidth = 300};
        report.originX = row.origin;
        MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(report, true, false));
        EXPECT_EQ(300, image->dataOrg()->tileWidth());
        EXPECT_EQ(row.expected, image->dataOrg()->originX());
        EXPECT_EQ((699 - row.expected) / 300 + 1, image->tilesAcross());
        EXPECT_TRUE(image->createTile(0, 0)->rect().contains(0, 0));
        EXPECT_TRUE(showsPixels(*image->getData(report.rect(), true), report.rect(), gradientAt));
    }
}

// The same by counting down from the reported origin, one tile at a time.
TEST(Qel2DImageMore, AnchorsOfRefusedSizesAgreeWithCounting) {
    constexpr std::uint32_t seed = 20251;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const from = [&random](std::int32_t least, std::int32_t most) {
        return std::uniform_int_distribution<std::int32_t>(least, most)(random);
    };
    auto const counted = [](std::int32_t origin, std::int32_t size) {
        while (origin > 0)
            origin -= size;
        while (origin <= -size)
            origin += size;
        return origin;
    };
    for (int i = 0; i < 200; ++i) {
        std::int32_t const own = from(1, 60);
        std::int32_t const most = from(1, 60);
        std::int32_t const origin = from(-500, 500);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", own size " + std::to_string(own) +
                     ", limit " + std::to_string(most) + ", origin " + std::to_string(origin));
        TileLimits const limits(1, most);
        TestImage const report{.width = 70,
                               .height = 10,
                               .tileWidth = own,
                               .tileHeight = own,
                               .originX = origin,
                               .originY = origin};
        MoxSmartPtr<Qel2DImage> const image = imageOf(new RefusingOp(report, true, false));
        std::int32_t const expected = counted(counted(origin, std::min(own, most)), own);
        ASSERT_EQ(own, image->dataOrg()->tileWidth());
        ASSERT_EQ(expected, image->dataOrg()->originX());
        ASSERT_EQ(expected, image->dataOrg()->originY());
        ASSERT_TRUE(showsPixels(*image->getData(report.rect(), true), report.rect(), gradientAt));
    }
}

// The buffer's rows go on below the tile, whose memory ends there.
TEST(Qel2DImageMore, ABufferThatReachesBeyondTheTileIsFilledAndDoesNotShare) {
    OutputCapture const output;
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp({.width = 100, .height = 400}));
    QelRect const reach(0, 0, 100, 300);
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(image->dataOrg(), 0, 0, reach.width, reach.height);
    image->shareBuffer(buffer, QelRect(0, 0, 10, 10), false);
    EXPECT_FALSE(buffer->isAllocated());
    image->shareBuffer(buffer, QelRect(0, 0, 10, 10), true);
    EXPECT_TRUE(showsPixels(*buffer, reach, gradientAt));
    EXPECT_EQ("", output.text());
}

// What a compute left in a tile's memory when it failed is no picture, even once the image has no
// op any more.
TEST(Qel2DImageMore, AWrappedImageDoesNotTakeWhatAFailedOpLeftForPixels) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(0, 0, 30, 20), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(buffer.get());
    MoxSmartPtr<QelImageOp> const op =
        new HookedOp({.width = 300, .height = 20}, [](QelRectBuffer * tile) {
            tile->allocate();
            throw QelError(7, "half-way", __FILE__, __LINE__);
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

// No thread takes the others' use of the image for an owner, and deletes it with its own.
TEST(Qel2DImageMore, AnImageWithoutOwnersServesEightThreads) {
    OutputCapture const output;
    TestImage const report{.width = 300, .height = 200};
    Qel2DImage image(new GradientOp(report));
    for (int round = 0; round < 20; ++round) {
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            std::int32_t const y = static_cast<std::int32_t>(thread) * 20;
            QelRect const rect(100, y, 60, 20);
            start.await();
            for (int i = 0; i < 20; ++i) {
                MoxSmartPtr<QelRectBuffer> const dest = emptyBuffer(image.dataOrg(), rect);
                ASSERT_TRUE(image.fillRWBuffer(dest, true));
                ASSERT_TRUE(image.getData(rect, true));
                image.shareBuffer(emptyBuffer(image.dataOrg(), rect), rect, true);
                for (Qel2DImage::TileIterator at(&image, rect); !at.done(); ++at)
                    ASSERT_TRUE(at.createTile());
            }
        });
        ASSERT_EQ(0, image.refCount());
    }
    EXPECT_TRUE(showsPixels(*image.getData(report.rect(), true), report.rect(), gradientAt));
    EXPECT_EQ("", output.text());
}

// An owner that lets go while the image works for it is no reason to stop half-way.
TEST(Qel2DImageMore, AnImageWhoseOwnerLetsGoDuringARequestLivesToItsEnd) {
    TestImage const report{.width = 300, .height = 200};
    MoxSmartPtr<Qel2DImage> image;
    MoxSmartPtr<HookedOp> const op =
        new HookedOp(report, [&image](QelRectBuffer *) { image.release(); });
    QelRect const rect(100, 100, 60, 50);
    image = imageOf(op);
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(report.dataOrg(), rect);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    EXPECT_FALSE(image);
    EXPECT_TRUE(showsPixels(*dest, rect, gradientAt));
    image = imageOf(op);
    EXPECT_TRUE(showsPixels(*image->getData(rect, true), rect, gradientAt));
    EXPECT_FALSE(image);
}
