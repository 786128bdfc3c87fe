#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "IterTesting.h"
#include "QelRandomIter.h"

// The typed forms, over random images.

namespace {

constexpr std::uint32_t seed = 20271;

template <class T>
T valueOf(IterImage const & of, std::int32_t x, std::int32_t y, int band) {
    return static_cast<T>(of.picture(x, y, band));
}

template <class T>
void expectPixel(IterImage const & of, QelRandomConstIter<T> & iter, std::int32_t x,
                 std::int32_t y) {
    ASSERT_EQ(valueOf<T>(of, x, y, iter.band()), iter.get(x, y));
    ASSERT_NE(nullptr, iter.tile());
    ASSERT_TRUE(iter.tile()->rect().contains(x, y));
    ASSERT_EQ(of.image->findTile(iter.tile()->tileId().tileX, iter.tile()->tileId().tileY).get(),
              iter.tile());
    for (int band = 0; band < of.bands(); ++band)
        ASSERT_EQ(valueOf<T>(of, x, y, band), iter.get(x, y, band));
}

template <class T>
void expectRun(IterImage const & of, QelRandomConstIter<T> & iter, std::int32_t x, std::int32_t y) {
    QelPixelRun<T const> const run = iter.run(x, y);
    ASSERT_EQ(iter.tile()->rect().right() - x + 1, run.size());
    std::int32_t at = x;
    run.forEach([&](T value) { EXPECT_EQ(valueOf<T>(of, at++, y, iter.band()), value); });
    bool const dense = hasDensePixels(*of.image->dataOrg());
    QelPixelRun<T const> const all = iter.allBandsRun(x, y);
    ASSERT_EQ(dense ? run.size() * of.bands() : 0, all.size());
    for (int i = 0; i < all.size(); ++i)
        ASSERT_EQ(valueOf<T>(of, x + i / of.bands(), y, i % of.bands()), all[i]);
}

template <class T>
void readInOrder(IterImage const & of) {
    QelRandomConstIter<T> iter(of.image);
    for (int band = 0; band < of.bands(); ++band) {
        iter.setBand(band);
        for (std::int64_t y = of.pixels.y; y <= of.pixels.bottom(); ++y) {
            for (std::int64_t x = of.pixels.x; x <= of.pixels.right(); ++x) {
                auto const column = static_cast<std::int32_t>(x);
                auto const row = static_cast<std::int32_t>(y);
                ASSERT_EQ(valueOf<T>(of, column, row, band), iter.get(column, row));
            }
        }
    }
}

template <class T>
void readAtRandom(TestRandom & random, IterImage const & of) {
    QelRandomConstIter<T> iter(of.image);
    for (int reads = 0; reads < 60; ++reads) {
        if (random.chance(40)) iter.setBand(random.between(0, of.bands() - 1));
        QelRect const at = random.rectIn(of.pixels);
        ASSERT_NO_FATAL_FAILURE(expectPixel(of, iter, at.x, at.y));
        ASSERT_NO_FATAL_FAILURE(expectRun(of, iter, at.x, at.y));
    }
}

template <class T>
void writeInAnyOrder(TestRandom & random, IterImage const & to) {
    QelRandomIter<T> iter(to.image);
    std::vector<std::int32_t> places(static_cast<std::size_t>(to.pixels.area()));
    for (std::size_t i = 0; i < places.size(); ++i)
        places[i] = static_cast<std::int32_t>(i);
    random.shuffle(places);
    for (std::int32_t const place : places) {
        std::int32_t const x = place % to.pixels.width;
        std::int32_t const y = place / to.pixels.width;
        iter.setBand(random.between(0, to.bands() - 1));
        iter.set(x, y, valueOf<T>(to, x, y, iter.band()));
        for (int band = 0; band < to.bands(); ++band)
            iter.set(x, y, valueOf<T>(to, x, y, band), band);
    }
}

template <class T>
void writeRuns(IterImage const & to) {
    QelRandomIter<T> iter(to.image);
    for (int band = 0; band < to.bands(); ++band) {
        iter.setBand(band);
        for (std::int32_t y = 0; y < to.pixels.height; ++y) {
            for (std::int32_t x = 0; x < to.pixels.width;)
                iter.run(x, y).transform([&](T) { return valueOf<T>(to, x++, y, band); });
        }
    }
}

}  // namespace

TEST(QelRandomIterTest, EveryPixelIsTheOneOfALoopOverCoordinates) {
    TestRandom random(seed);
    for (int round = 0; round < 400 && !testing::Test::HasFailure(); ++round) {
        IterImage const of = anyIterImage(random);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + describeIterImage(of));
        withElement(of.type(), [&](auto element) {
            ASSERT_NO_FATAL_FAILURE(readInOrder<decltype(element)>(of));
            ASSERT_NO_FATAL_FAILURE(readAtRandom<decltype(element)>(random, of));
        });
    }
}

TEST(QelRandomIterTest, TheWritingFormComputesNothingAndWritesEveryPixel) {
    TestRandom random(seed + 1);
    for (int round = 0; round < 150 && !testing::Test::HasFailure(); ++round) {
        IterImage const to = anyImageToWrite(random);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + describeIterImage(to));
        withElement(to.type(), [&](auto element) {
            if (random.chance(50)) {
                writeRuns<decltype(element)>(to);
            } else {
                writeInAnyOrder<decltype(element)>(random, to);
            }
        });
        ASSERT_NO_FATAL_FAILURE(expectWritten(to));
    }
}

TEST(QelRandomIterTest, AnotherElementTypeRaises119) {
    MoxSmartPtr<CountingOp> const op = countingOp({.width = 9, .height = 9});
    MoxSmartPtr<Qel2DImage> const image = imageOf(op);
    std::string const text = "An iterator over double cannot visit pixels of unsigned char";
    expectRaises(QelErrorCode::wrongPixelFormat, text,
                 [&] { QelRandomConstIter<double> iter(image); });
    expectRaises(QelErrorCode::wrongPixelFormat, text, [&] { QelRandomIter<double> iter(image); });
    EXPECT_EQ(0, op->computes());
}

TEST(QelRandomIterTest, AWrappedBufferGetsItsMemoryFromTheWritingForm) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(4, 3, 10, 10), 2, BAND_INTERLEAVED, QelDataType::Short);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(buffer);
    QelRandomIter<std::int16_t> iter(image);
    iter.set(13, 12, -777, 1);
    EXPECT_EQ(-777, iter.get(13, 12, 1));
    EXPECT_EQ(-777, elementAt(*buffer, 13, 12, 1));
}
