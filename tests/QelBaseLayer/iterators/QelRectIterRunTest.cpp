#include <array>
#include <cstdint>
#include <iostream>
#include <vector>

#include <gtest/gtest.h>

#include "IterTesting.h"
#include "QelPixelRun.h"
#include "QelRandomIter.h"
#include "QelRectIter.h"

namespace {

using Values = std::vector<int>;

template <class Run>
Values valuesOf(Run const & run) {
    Values values;
    run.forEach([&values](auto value) { values.push_back(static_cast<int>(value)); });
    return values;
}

// An image of one row of tiles, 4 by 2 each, that shows gradientAt().
MoxSmartPtr<Qel2DImage> imageOf(MoxSmartPtr<QelDataOrg> org) {
    TileLimits const limits(1, 1000);
    TestImage const told{.width = 10, .height = 2, .org = org};
    return new Qel2DImage(new GradientOp(told, pictureFor(*org)));
}

struct DenseCase {
    char const * name;
    MoxSmartPtr<QelDataOrg> org;
    bool dense;
};

std::vector<DenseCase> denseCases() {
    auto const standard = [](QelDataType type, int bands, QelLayout layout) {
        return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(4, 2, type, bands, layout));
    };
    auto const listed = [](std::vector<std::int32_t> const & offsets, std::int32_t pixelStride,
                           std::int32_t lineStride) {
        return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(4, 2, QelDataType::UChar,
                                                            static_cast<int>(offsets.size()),
                                                            offsets, pixelStride, lineStride));
    };
    return {
        {"pixel-interleaved", standard(QelDataType::UChar, 3, PIXEL_INTERLEAVED), true},
        {"wider elements", standard(QelDataType::UShort, 2, PIXEL_INTERLEAVED), true},
        {"line-interleaved", standard(QelDataType::UChar, 3, LINE_INTERLEAVED), false},
        {"band-interleaved", standard(QelDataType::UChar, 3, BAND_INTERLEAVED), false},
        {"one band alone", standard(QelDataType::UChar, 1, BAND_INTERLEAVED), true},
        {"a gap between lines", listed({0, 1, 2}, 3, 20), true},
        {"the first band not at the pixel", listed({2, 3}, 2, 8), true},
        {"a gap between pixels", listed({0, 1, 2}, 4, 16), false},
        {"bands in another order", listed({2, 1, 0}, 3, 12), false},
        {"a gap between bands", listed({0, 2}, 2, 8), false},
        {"pixels from right to left", listed({0, 1}, -2, 8), false},
    };
}

TEST(QelRectIterRunTest, AllBandsOnlyWherePixelsAreDense) {
    for (DenseCase const & row : denseCases()) {
        SCOPED_TRACE(row.name);
        MoxSmartPtr<Qel2DImage> const image = imageOf(row.org);
        int const bands = row.org->numBands();
        withElement(row.org->precision(), [&](auto element) {
            using T = decltype(element);
            QelRectConstIter<T> iter(image, 1, 0, 9, 1);
            iter.toStart();
            EXPECT_EQ(row.dense ? 3 * bands : 0, iter.allBandsRun().size());
            iter.next();
            EXPECT_EQ(row.dense ? 2 * bands : 0, iter.allBandsLength());
            QelRandomConstIter<T> random(image);
            EXPECT_EQ(row.dense ? 3 * bands : 0, random.allBandsRun(1, 0).size());
        });
    }
}

TEST(QelRectIterRunTest, AllBandsFromWhateverBand) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new QelSimpleDataOrg(4, 2, QelDataType::UChar, 2, {2, 3}, 2, 8));
    QelRectConstIter<std::uint8_t> iter(image, 3, 1, 9, 1);
    iter.moveTo(3, 1, 1);
    EXPECT_EQ(iter.address(), iter.firstBandAddress() + 1);
    Values const expected{static_cast<int>(gradientAt(3, 1, 0)),
                          static_cast<int>(gradientAt(3, 1, 1))};
    EXPECT_EQ(expected, valuesOf(iter.allBandsRun()));
    iter.nextBand();
    EXPECT_TRUE(iter.bandDone());
    EXPECT_EQ(expected, valuesOf(iter.allBandsRun()));
}

TEST(QelRectIterRunTest, NoRunWhenDone) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new QelSimpleDataOrg(4, 2, QelDataType::UChar, 3, PIXEL_INTERLEAVED));
    QelRectConstIter<std::uint8_t> iter(image);
    EXPECT_TRUE(iter.allBandsRun().empty());
    iter.moveTo(9, 1);
    iter.nextRun();
    EXPECT_TRUE(iter.rowDone());
    EXPECT_TRUE(iter.allBandsRun().empty());
}

TEST(QelRectIterRunTest, WritesAllBands) {
    TileLimits const limits(1, 1000);
    MoxSmartPtr<QelDataOrg> const org =
        QelSimpleDataOrg(4, 2, QelDataType::UShort, 3, PIXEL_INTERLEAVED).withOrigin(-1, -1);
    TestImage const told{.width = 10, .height = 5, .org = org};
    IterImage made;
    made.image = new Qel2DImage(new ThrowingOp(told, [] { FAIL() << "a tile is computed"; }));
    made.image->setCacheTiles(true);
    made.pixels = made.image->imageRect();
    made.picture = [](std::int32_t x, std::int32_t y, int band) { return 500 * x + 50 * y + band; };
    QelRectIter<std::uint16_t> iter(made.image);
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.nextRun()) {
            int value = static_cast<int>(500 * iter.x() + 50 * iter.y());
            iter.allBandsRun().transform([&value, band = 0](std::uint16_t) mutable {
                int const written = value + band;
                band = (band + 1) % 3;
                if (band == 0) value += 500;
                return static_cast<std::uint16_t>(written);
            });
        }
    }
    expectWritten(made);
}

// Runs of each band, and of all bands, against the picture.
template <class T>
void expectRuns(IterImage const & made) {
    QelRectConstIter<T> iter(made.image, made.pixels);
    QelRandomConstIter<T> random(made.image);
    std::int64_t pixels = 0;
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.nextRun()) {
            auto const x = static_cast<std::int32_t>(iter.x());
            auto const y = static_cast<std::int32_t>(iter.y());
            pixels += iter.runLength();
            Values expected;
            for (int b = 0; b < made.bands(); ++b) {
                iter.setBand(b);
                random.setBand(b);
                Values ofBand;
                for (std::int32_t i = 0; i < iter.runLength(); ++i)
                    ofBand.push_back(static_cast<int>(static_cast<T>(made.picture(x + i, y, b))));
                ASSERT_EQ(ofBand, valuesOf(iter.run()));
                ASSERT_EQ(ofBand, valuesOf(random.run(x, y)));
            }
            for (std::int32_t i = 0; i < iter.allBandsLength(); ++i) {
                expected.push_back(static_cast<int>(
                    static_cast<T>(made.picture(x + i / made.bands(), y, i % made.bands()))));
            }
            ASSERT_EQ(expected, valuesOf(iter.allBandsRun()));
            ASSERT_EQ(expected, valuesOf(random.allBandsRun(x, y)));
        }
    }
    EXPECT_EQ(made.pixels.area(), pixels);
}

TEST(QelRectIterRunTest, RandomImages) {
    constexpr std::uint32_t seed = 20240611;
    TestRandom random(seed);
    for (int round = 0; round < 300; ++round) {
        IterImage const made = anyIterImage(random);
        SCOPED_TRACE(::testing::Message()
                     << "seed " << seed << ", round " << round << ", " << describeIterImage(made));
        withElement(made.type(), [&](auto element) { expectRuns<decltype(element)>(made); });
        if (::testing::Test::HasFatalFailure()) return;
    }
}

}  // namespace
