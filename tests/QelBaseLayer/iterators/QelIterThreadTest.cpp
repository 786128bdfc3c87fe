#include <atomic>
#include <cstdint>

#include <gtest/gtest.h>

#include "IterTesting.h"
#include "QelRandomIter.h"
#include "QelRectBufferIter.h"
#include "QelRectIter.h"
#include "ThreadTesting.h"

// Several threads, each with an iterator of its own over one image.

namespace {

TestImage const told{.width = 150, .height = 130, .tileWidth = 16, .tileHeight = 16, .originX = -5};

std::int64_t sumOfPicture() {
    std::int64_t sum = 0;
    for (std::int32_t y = 0; y < told.height; ++y) {
        for (std::int32_t x = 0; x < told.width; ++x)
            sum += static_cast<std::int64_t>(gradientAt(x, y, 1));
    }
    return sum;
}

// Each of 8 threads writes every eighth column, so that all of them meet in each tile.
void writeOwnColumns(IterImage const & to) {
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        QelRandomIter<std::uint8_t> iter(to.image);
        start.await();
        for (std::int32_t y = 0; y < told.height; ++y) {
            for (auto x = static_cast<std::int32_t>(thread); x < told.width; x += 8) {
                for (int band = 0; band < 3; ++band)
                    iter.set(x, y, static_cast<std::uint8_t>(to.picture(x, y, band)), band);
            }
        }
    });
}

class QelIterThreadSumTest : public testing::TestWithParam<bool> {
  protected:
    QelIterThreadSumTest() {
        TileLimits const limits(1, 1000);
        image = new Qel2DImage(new GradientOp(told));
        image->setCacheTiles(GetParam());
    }

    MoxSmartPtr<Qel2DImage> image;
};

}  // namespace

TEST_P(QelIterThreadSumTest, EachWithARectIterFindTheSameSum) {
    std::int64_t const expected = sumOfPicture();
    StartLine start;
    runThreads([&](std::uint32_t) {
        QelRectConstIter<std::uint8_t> iter(image);
        std::int64_t sum = 0;
        start.await();
        for (iter.toStart(); !iter.done(); iter.nextRow()) {
            iter.setBand(1);
            for (; !iter.rowDone(); iter.next())
                sum += iter.get();
        }
        EXPECT_EQ(expected, sum);
    });
    if (GetParam()) {
        EXPECT_EQ(10 * 9, image->statistics().tilesComputed);
    }
}

TEST_P(QelIterThreadSumTest, EachWithARandomIterFindTheSameSum) {
    std::int64_t const expected = sumOfPicture();
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        QelRandomConstIter<std::uint8_t> iter(image);
        iter.setBand(1);
        std::int64_t sum = 0;
        start.await();
        // Every thread starts at another row.
        for (std::int32_t i = 0; i < told.height; ++i) {
            std::int32_t const y = (i + static_cast<std::int32_t>(thread) * 37) % told.height;
            for (std::int32_t x = 0; x < told.width; ++x)
                sum += iter.get(x, y);
        }
        EXPECT_EQ(expected, sum);
    });
}

INSTANTIATE_TEST_SUITE_P(Caching, QelIterThreadSumTest, testing::Bool());

TEST(QelIterThreadTest, ThreadsWriteTheirOwnPartsOfOneImage) {
    TileLimits const limits(1, 1000);
    IterImage to;
    to.image = new Qel2DImage(new ThrowingOp(told, [] { FAIL() << "a tile is computed"; }));
    to.image->setCacheTiles(true);
    to.pixels = to.image->imageRect();
    to.picture = gradientAt;
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        // Bands of rows that share tiles with those of other threads.
        auto const first = static_cast<std::int32_t>(thread) * told.height / 8;
        std::int32_t const last = static_cast<std::int32_t>(thread + 1) * told.height / 8 - 1;
        QelRectIter<std::uint8_t> iter(to.image, 0, first, told.width - 1, last);
        start.await();
        for (iter.toStart(); !iter.done(); iter.nextRow()) {
            for (; !iter.rowDone(); iter.next()) {
                for (int band = 0; band < 3; ++band) {
                    iter.set(static_cast<std::uint8_t>(
                                 gradientAt(static_cast<std::int32_t>(iter.x()),
                                            static_cast<std::int32_t>(iter.y()), band)),
                             band);
                }
            }
        }
    });
    expectWritten(to);
}

// Tiles that get their memory from whoever comes first.
TEST(QelIterThreadTest, ThreadsWriteTheirOwnColumnsAtRandom) {
    TileLimits const limits(1, 1000);
    IterImage to;
    to.image = new Qel2DImage(new ThrowingOp(told, [] { FAIL() << "a tile is computed"; }));
    to.image->setCacheTiles(true);
    to.pixels = to.image->imageRect();
    to.picture = gradientAt;
    writeOwnColumns(to);
    expectWritten(to);
}

// Tiles that have all they need.
TEST(QelIterThreadTest, ThreadsWriteTheirOwnColumnsOfCompleteTiles) {
    TileLimits const limits(1, 1000);
    IterImage to;
    to.image = new Qel2DImage(new GradientOp(told));
    to.image->setCacheTiles(true);
    to.pixels = to.image->imageRect();
    to.picture = [](std::int32_t x, std::int32_t y, int band) { return gradientAt(y, x, band); };
    for (Qel2DImage::TileIterator at(to.image, to.pixels); !at.done(); at.next())
        at.getTile();
    MoxSmartPtr<QelRectBuffer> const before = to.image->getData(to.pixels, true);
    EXPECT_FALSE(showsPixels(*before, to.pixels, to.picture));
    std::int64_t const computed = to.image->statistics().tilesComputed;
    writeOwnColumns(to);
    MoxSmartPtr<QelRectBuffer> const after = to.image->getData(to.pixels, true);
    EXPECT_TRUE(showsPixels(*after, to.pixels, to.picture));
    EXPECT_EQ(computed, to.image->statistics().tilesComputed);
}

TEST(QelIterThreadTest, ThreadsWithABufferIteratorEachFindTheSameSum) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(told.rect(), 1, PIXEL_INTERLEAVED, QelDataType::UShort);
    buffer->allocate();
    fillPixels(*buffer, buffer->rect(),
               [](std::int32_t x, std::int32_t y, int) { return gradientAt(x, y, 1); });
    std::int64_t const expected = sumOfPicture();
    runThreads([&](std::uint32_t thread) {
        QelRectBufferConstIter<std::uint16_t> iter(buffer, buffer->rect(),
                                                   static_cast<std::int32_t>(thread % 6));
        std::int64_t sum = 0;
        for (iter.initialize(); !iter.done(); iter.next())
            sum += iter.get();
        EXPECT_EQ(expected, sum);
    });
}
