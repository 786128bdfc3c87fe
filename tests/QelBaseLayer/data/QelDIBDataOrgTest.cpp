#include "QelDIBDataOrg.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExpectError.h"

namespace {

constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

using Dib = MoxSmartPtr<QelDIBDataOrg>;
using Offsets = std::vector<std::int32_t>;

Dib dib(std::int32_t width, std::int32_t height, int bands, bool bottomUp, bool hasHeader) {
    return Dib(new QelDIBDataOrg(width, height, bands, bottomUp, hasHeader));
}

std::string printed(QelDataOrg const & org) {
    std::ostringstream out;
    org.print(out);
    return out.str();
}

// A QelDIBDataOrg(10, 10, 3, true, false) has rowBytes 32, lineStride -32 and band offsets 290,
// 289, 288.
TEST(QelDIBDataOrgTest, TenByTenWithThreeBandsBottomUp) {
    Dib const org = dib(10, 10, 3, true, false);
    EXPECT_EQ(32, org->rowBytes());
    EXPECT_EQ(-32, org->lineStride());
    EXPECT_EQ((Offsets{290, 289, 288}), org->bandOffsets());
    EXPECT_EQ(3, org->pixelStride());
    EXPECT_EQ(SPELLED_OUT, org->layout());
    EXPECT_EQ(QelDataType::UChar, org->precision());
    EXPECT_EQ(288 + 30, org->size()) << "up to the last pixel, not to the end of its padding";
}

TEST(QelDIBDataOrgTest, OffsetsAndStrides) {
    struct {
        int bands;
        bool bottomUp;
        bool hasHeader;
        std::int32_t lineStride;
        Offsets offsets;
    } const cases[] = {
        {1, false, false, 8, {0}},          {1, true, false, -8, {16}},
        {1, false, true, 8, {1064}},        {1, true, true, -8, {1080}},
        {3, false, false, 16, {2, 1, 0}},   {3, true, false, -16, {34, 33, 32}},
        {3, false, true, 16, {42, 41, 40}}, {3, true, true, -16, {74, 73, 72}},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(std::to_string(c.bands) + " bands" + (c.bottomUp ? ", bottom-up" : "") +
                     (c.hasHeader ? ", header" : ""));
        Dib const org = dib(5, 3, c.bands, c.bottomUp, c.hasHeader);
        EXPECT_EQ(c.bands, org->pixelStride());
        EXPECT_EQ(c.lineStride, org->lineStride());
        EXPECT_EQ(c.offsets, org->bandOffsets());
        EXPECT_EQ(c.bottomUp, org->bottomUp());
        EXPECT_EQ(c.hasHeader, org->hasHeader());
    }
}

TEST(QelDIBDataOrgTest, RowBytesArePaddedToFour) {
    for (int bands : {1, 3}) {
        for (int width = 1; width < 40; ++width) {
            int padded = width * bands;
            while (padded % 4 != 0)
                ++padded;
            Dib const org = dib(width, 1, bands, false, false);
            EXPECT_EQ(padded, org->rowBytes());
            EXPECT_EQ(-padded, org->rowBytes(true));
            EXPECT_EQ(padded, org->lineStride());
        }
    }
    EXPECT_EQ(0, dib(0, 0, 3, true, true)->rowBytes());
    EXPECT_EQ(0, dib(0, 0, 3, true, true)->rowBytes(true));
}

TEST(QelDIBDataOrgTest, WithoutPixelsAllOffsetsAreZero) {
    for (bool const hasHeader : {false, true}) {
        for (bool const bottomUp : {false, true}) {
            EXPECT_EQ((Offsets{0, 0, 0}), dib(0, 0, 3, bottomUp, hasHeader)->bandOffsets());
            EXPECT_EQ(Offsets{0}, dib(0, 0, 1, bottomUp, hasHeader)->bandOffsets());
            EXPECT_EQ(0, dib(0, 0, 3, bottomUp, hasHeader)->size());
            EXPECT_EQ(0, dib(0, 0, 3, bottomUp, hasHeader)->lineStride());
        }
    }
}

TEST(QelDIBDataOrgTest, RefusesOtherBandCounts) {
    for (int const bands : {0, 2, 4, -1}) {
        SCOPED_TRACE(bands);
        expectRaises(QelErrorCode::invalidValue, "QelDIBDataOrg must have 1 or 3 bands",
                     [&] { dib(10, 10, bands, true, false); });
    }
}

TEST(QelDIBDataOrgTest, RefusesWidthWithoutHeightAndTheReverse) {
    expectRaises(QelErrorCode::invalidValue,
                 "QelDIBDataOrg cannot have zero width & non-zero height",
                 [] { dib(0, 10, 3, true, false); });
    expectRaises(QelErrorCode::invalidValue,
                 "QelDIBDataOrg cannot have zero height & non-zero width",
                 [] { dib(10, 0, 3, true, false); });
    // The first check that fails decides.
    expectRaises(QelErrorCode::invalidValue, "QelDIBDataOrg must have 1 or 3 bands",
                 [] { dib(10, 0, 2, true, false); });
}

TEST(QelDIBDataOrgTest, RefusesNegativeSizes) {
    expectRaises(QelErrorCode::invalidValue, "A tile of -1 by 10 pixels is impossible",
                 [] { dib(-1, 10, 3, true, false); });
    expectRaises(QelErrorCode::invalidValue, "A tile of -2 by -1 pixels is impossible",
                 [] { dib(-2, -1, 1, false, false); });
}

TEST(QelDIBDataOrgTest, RefusesSizesThatDoNotFit) {
    expectRaises(QelErrorCode::invalidValue,
                 "A bitmap of 1 lines of 2147483648 bytes does not fit in 32 bits",
                 [] { dib(most, 1, 1, false, false); });
    expectRaises(QelErrorCode::invalidValue,
                 "A bitmap of 65537 lines of 32768 bytes does not fit in 32 bits",
                 [] { dib(32768, 65537, 1, true, false); });
    expectRaises(QelErrorCode::invalidValue,
                 "A bitmap of 2147483647 lines of 6442450944 bytes does not fit in 32 bits",
                 [] { dib(most, most, 3, true, true); });
    EXPECT_EQ(65536, dib(32768, 65537, 1, false, false)->offset(0, 2));
}

TEST(QelDIBDataOrgTest, PrintsUnderItsOwnName) {
    EXPECT_EQ("DIBDataOrg[7,-8,10,10,3,-32,l=SPELLED_OUT,290,289,288]",
              printed(*dib(10, 10, 3, true, false)->withOrigin(7, -8)));
}

TEST(QelDIBDataOrgTest, CloneIsABitmapToo) {
    MoxSmartPtr<QelDataOrg> const copy = dib(10, 10, 3, true, true)->clone();
    auto const * const bitmap = dynamic_cast<QelDIBDataOrg *>(copy.get());
    ASSERT_NE(nullptr, bitmap);
    EXPECT_TRUE(bitmap->bottomUp());
    EXPECT_TRUE(bitmap->hasHeader());
    EXPECT_EQ(copy.get(), copy->asSimple());
}

TEST(QelDIBDataOrgTest, OtherBandsAndSizesKeepTheFlagsAndTheOrigin) {
    MoxSmartPtr<QelDataOrg> const org = dib(10, 10, 3, true, true)->withOrigin(7, -8);
    EXPECT_EQ("DIBDataOrg[7,-8,10,10,1,-12,l=SPELLED_OUT,1172]", printed(*org->withBands(1)));
    EXPECT_EQ("DIBDataOrg[7,-8,5,3,3,-16,l=SPELLED_OUT,74,73,72]", printed(*org->withSize(5, 3)));
    auto const bitmap = org->withSize(5, 3);
    EXPECT_TRUE(dynamic_cast<QelDIBDataOrg &>(*bitmap).bottomUp());
    EXPECT_TRUE(dynamic_cast<QelDIBDataOrg &>(*bitmap).hasHeader());
    EXPECT_EQ(org.get(), org->withBands(3).get());
    EXPECT_EQ(org.get(), org->withSize(10, 10).get());
    expectRaises(QelErrorCode::invalidValue, "QelDIBDataOrg must have 1 or 3 bands",
                 [&] { org->withBands(2); });
}

TEST(QelDIBDataOrgTest, OtherTypesAndLayoutsArePlain) {
    MoxSmartPtr<QelDataOrg> const org = dib(10, 10, 3, true, true)->withOrigin(7, -8);
    EXPECT_EQ("SimpleDataOrg[7,-8,10,10,6,60,l=SPELLED_OUT,0,2,4]",
              printed(*org->withDataType(QelDataType::Short)));
    EXPECT_EQ("SimpleDataOrg[7,-8,10,10,1,10,l=BAND_INTERLEAVED,0,100,200]",
              printed(*org->withLayout(BAND_INTERLEAVED)));
    EXPECT_EQ(org.get(), org->withLayout(SPELLED_OUT).get());
    int const red = 0;
    EXPECT_EQ("SimpleDataOrg[7,-8,10,10,3,-32,l=SPELLED_OUT,330]",
              printed(*org->selectBands(1, &red)));
}

// Pixels of a bitmap as a file has them: padded lines from the bottom, blue first.
TEST(QelDIBDataOrgTest, AddressesThePixelsOfAFile) {
    for (bool const bottomUp : {false, true}) {
        Dib const org = dib(3, 2, 3, bottomUp, true);
        std::vector<int> file(40 + 2 * 12, -1);
        std::size_t at = 40;
        for (int line = 0; line < 2; ++line, at = 40 + 12) {
            for (int x = 0; x < 3; ++x) {
                for (int band : {2, 1, 0}) {
                    int const y = bottomUp ? 1 - line : line;
                    file.at(at++) = y * 100 + x * 10 + band;
                }
            }
        }
        for (int y = 0; y < 2; ++y) {
            for (int x = 0; x < 3; ++x) {
                for (int band = 0; band < 3; ++band) {
                    EXPECT_EQ(y * 100 + x * 10 + band,
                              file.at(static_cast<std::size_t>(org->offset(x, y, band))));
                }
            }
        }
    }
}

// The file's bytes counted one by one: header, lines as they come, pixels, padding.
void expectAddressesOfFile(QelDIBDataOrg const & org) {
    bool const oneBand = org.numBands() == 1;
    std::int64_t at = 0;
    if (org.hasHeader()) at = oneBand ? 40 + 256 * 4 : 40;
    for (int line = 0; line < org.tileHeight(); ++line) {
        int const y = org.bottomUp() ? org.tileHeight() - 1 - line : line;
        std::int64_t const start = at;
        for (int x = 0; x < org.tileWidth(); ++x) {
            for (int band = org.numBands() - 1; band >= 0; --band)
                ASSERT_EQ(at++, org.offset(x, y, band));
        }
        while ((at - start) % 4 != 0)
            ++at;
        ASSERT_EQ(at - start, org.rowBytes());
    }
}

TEST(QelDIBDataOrgTest, RandomBitmapsAgreeWithCountingBytes) {
    constexpr unsigned seed = 20105;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> size(1, 23);
    std::uniform_int_distribution<int> bits(0, 7);
    for (int run = 0; run < 500; ++run) {
        int const flags = bits(random);
        Dib const org = dib(size(random), size(random), (flags & 1) != 0 ? 1 : 3, (flags & 2) != 0,
                            (flags & 4) != 0);
        SCOPED_TRACE(printed(*org));
        ASSERT_NO_FATAL_FAILURE(expectAddressesOfFile(*org));
    }
}

std::vector<std::uint8_t> bytesOf(void const * memory, std::size_t size) {
    auto const * const bytes = static_cast<std::uint8_t const *>(memory);
    return {bytes, bytes + size};
}

TEST(QelDIBDataOrgTest, HeaderHasThePublishedFields) {
    static_assert(offsetof(QelDIBDataOrg::BitmapInfoHeader, biWidth) == 4);
    static_assert(offsetof(QelDIBDataOrg::BitmapInfoHeader, biHeight) == 8);
    static_assert(offsetof(QelDIBDataOrg::BitmapInfoHeader, biPlanes) == 12);
    static_assert(offsetof(QelDIBDataOrg::BitmapInfoHeader, biBitCount) == 14);
    struct {
        int bands;
        bool bottomUp;
        std::int32_t height;
        std::uint16_t bits;
    } const cases[] = {{1, false, -3, 8}, {1, true, 3, 8}, {3, false, -3, 24}, {3, true, 3, 24}};
    for (auto const & c : cases) {
        SCOPED_TRACE(std::to_string(c.bands) + " bands" + (c.bottomUp ? ", bottom-up" : ""));
        QelDIBDataOrg::BitmapInfoHeader header;
        std::memset(&header, 0xff, sizeof header);
        dib(5, 3, c.bands, c.bottomUp, false)->makeBitmapInfoHeader(&header);
        EXPECT_EQ(40U, header.biSize);
        EXPECT_EQ(5, header.biWidth);
        EXPECT_EQ(c.height, header.biHeight);
        EXPECT_EQ(1, header.biPlanes);
        EXPECT_EQ(c.bits, header.biBitCount);
        std::vector<std::uint8_t> const bytes = bytesOf(&header, sizeof header);
        EXPECT_EQ(std::vector<std::uint8_t>(24, 0),
                  std::vector<std::uint8_t>(bytes.begin() + 16, bytes.end()));
    }
}

TEST(QelDIBDataOrgTest, OneBandHasAPaletteOfGreys) {
    QelDIBDataOrg::BitmapInfo info;
    std::memset(&info, 0xff, sizeof info);
    dib(5, 3, 1, true, true)->makeBitmapInfo(&info);
    EXPECT_EQ(40U, info.header.biSize);
    for (int i = 0; i < 256; ++i) {
        SCOPED_TRACE(i);
        auto const & entry = info.palette[i];
        EXPECT_EQ(i, entry.blue);
        EXPECT_EQ(i, entry.green);
        EXPECT_EQ(i, entry.red);
        EXPECT_EQ(0, entry.reserved);
    }
}

TEST(QelDIBDataOrgTest, ThreeBandsHaveNoPalette) {
    QelDIBDataOrg::BitmapInfo info;
    std::memset(&info, 0xab, sizeof info);
    dib(5, 3, 3, true, true)->makeBitmapInfo(&info);
    EXPECT_EQ(24, info.header.biBitCount);
    EXPECT_EQ(std::vector<std::uint8_t>(1024, 0xab), bytesOf(info.palette, sizeof info.palette));
}

TEST(QelDIBDataOrgTest, NullHeadersRaise4) {
    Dib const org = dib(5, 3, 1, true, true);
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { org->makeBitmapInfoHeader(nullptr); });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { org->makeBitmapInfo(nullptr); });
}

}  // namespace
