#include "QelSimpleDataOrg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "RigidDataOrg.h"

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

using Org = MoxSmartPtr<QelSimpleDataOrg>;
using Offsets = std::vector<std::int32_t>;

Org standard(std::int32_t width, std::int32_t height, QelDataType type, int bands,
             QelLayout layout) {
    return Org(new QelSimpleDataOrg(width, height, type, bands, layout));
}

Org listed(std::int32_t width, std::int32_t height, QelDataType type, Offsets const & offsets,
           std::int32_t pixelStride, std::int32_t lineStride) {
    return Org(new QelSimpleDataOrg(width, height, type, static_cast<int>(offsets.size()), offsets,
                                    pixelStride, lineStride));
}

std::string printed(QelDataOrg const & org) {
    std::ostringstream out;
    out << std::hex << std::setw(40);
    org.print(out);
    std::string const text = out.str();
    return text.substr(text.find_first_not_of(' '));
}

TEST(QelSimpleDataOrgTest, StandardLayouts) {
    struct {
        QelLayout layout;
        std::int32_t pixelStride;
        std::int32_t lineStride;
        Offsets offsets;
        std::int64_t size;
    } const cases[] = {
        {PIXEL_INTERLEAVED, 6, 60, {0, 2, 4}, 240},
        {LINE_INTERLEAVED, 2, 60, {0, 20, 40}, 240},
        {BAND_INTERLEAVED, 2, 20, {0, 80, 160}, 240},
        {SPELLED_OUT, 6, 60, {0, 2, 4}, 240},
    };
    for (auto const & c : cases) {
        std::ostringstream row;
        row << c.layout;
        SCOPED_TRACE(row.str());
        Org const org = standard(10, 4, QelDataType::Short, 3, c.layout);
        EXPECT_EQ(c.layout, org->layout());
        EXPECT_EQ(c.pixelStride, org->pixelStride());
        EXPECT_EQ(c.lineStride, org->lineStride());
        EXPECT_EQ(c.offsets, org->bandOffsets());
        EXPECT_EQ(c.size, org->size());
        EXPECT_EQ(c.size, org->totalSize());
        EXPECT_EQ(10, org->tileWidth());
        EXPECT_EQ(4, org->tileHeight());
        EXPECT_EQ(3, org->numBands());
        EXPECT_EQ(QelDataType::Short, org->precision());
        EXPECT_EQ(QelDataType::Short, org->precision(2));
        EXPECT_EQ(0, org->originX());
        EXPECT_EQ(0, org->originY());
        EXPECT_FALSE(org->deltasShared());
        EXPECT_EQ(org.get(), org->asSimple());
    }
}

// A 3-band LINE_INTERLEAVED UChar organisation of 128 by 128 has totalSize
// 128 * 3 * 127 + 127 + 256 + 1.
TEST(QelSimpleDataOrgTest, TotalSizeOfThreeBandsLineInterleaved) {
    EXPECT_EQ(128 * 3 * 127 + 127 + 256 + 1,
              standard(128, 128, QelDataType::UChar, 3, LINE_INTERLEAVED)->size());
}

TEST(QelSimpleDataOrgTest, SizeIsNeverNegative) {
    EXPECT_EQ(0, standard(10, 10, QelDataType::UChar, 0, PIXEL_INTERLEAVED)->size());
    EXPECT_EQ(0, standard(0, 0, QelDataType::UChar, 3, PIXEL_INTERLEAVED)->size());
    EXPECT_EQ(0, listed(0, 0, QelDataType::UChar, {0}, 100, 1000)->size());
    EXPECT_EQ(0, listed(1, 1, QelDataType::UChar, {-50}, 1, 1)->size());
}

TEST(QelSimpleDataOrgTest, ANegativeStrideContributesNothingToTheSize) {
    EXPECT_EQ(30 + 9 * 2 + 2, listed(10, 4, QelDataType::Short, {0, 30}, 2, -20)->size());
    EXPECT_EQ(30 + 3 * 20 + 2, listed(10, 4, QelDataType::Short, {0, 30}, -2, 20)->size());
    EXPECT_EQ(30 + 2, listed(10, 4, QelDataType::Short, {0, 30}, -2, -20)->size());
}

TEST(QelSimpleDataOrgTest, SizeMayPass32Bits) {
    Org const org = standard(100000, 100000, QelDataType::UChar, 1, BAND_INTERLEAVED);
    EXPECT_EQ(10000000000, org->size());
    EXPECT_EQ(9999999999, org->offset(99999, 99999, 0));
    std::int64_t const extreme =
        listed(most, most, QelDataType::Double, {most}, most, most)->size();
    EXPECT_EQ(std::int64_t{most} + 8 + 2 * (std::int64_t{most} - 1) * most, extreme);
}

TEST(QelSimpleDataOrgTest, TypesWithoutASizeAreAllowed) {
    Org const org = standard(10, 4, QelDataType::Mixed, 3, PIXEL_INTERLEAVED);
    EXPECT_EQ(0, org->pixelStride());
    EXPECT_EQ(0, org->size());
}

TEST(QelSimpleDataOrgTest, UnknownLayoutRaises9) {
    expectRaises(QelErrorCode::unsupported,
                 "This QelSimpleDataOrg constructor is called with an unknown QelLayout option",
                 [] { standard(10, 10, QelDataType::UChar, 1, QelLayout(4)); });
}

TEST(QelSimpleDataOrgTest, NegativeNumbersRaise13) {
    expectRaises(QelErrorCode::invalidValue, "A tile of -1 by 10 pixels is impossible",
                 [] { standard(-1, 10, QelDataType::UChar, 1, PIXEL_INTERLEAVED); });
    expectRaises(QelErrorCode::invalidValue, "A tile of 10 by -2147483648 pixels is impossible",
                 [] { standard(10, least, QelDataType::UChar, 1, PIXEL_INTERLEAVED); });
    expectRaises(QelErrorCode::invalidValue, "A data organization of -1 bands is impossible",
                 [] { standard(10, 10, QelDataType::UChar, -1, PIXEL_INTERLEAVED); });
    expectRaises(
        QelErrorCode::invalidValue, "A data organization with elements of -4 bytes is impossible",
        [] { standard(10, 10, QelDataType(typeid(long long), -4), 1, PIXEL_INTERLEAVED); });
    expectRaises(QelErrorCode::invalidValue, "A tile of 10 by -1 pixels is impossible",
                 [] { listed(10, -1, QelDataType::UChar, {0}, 1, 1); });
    expectRaises(QelErrorCode::invalidValue, "A data organization of -2 bands is impossible", [] {
        MoxSmartPtr<QelSimpleDataOrg>(
            new QelSimpleDataOrg(1, 1, QelDataType::UChar, -2, Offsets{0}, 1, 1));
    });
    expectRaises(QelErrorCode::invalidValue,
                 "A data organization with elements of -4 bytes is impossible",
                 [] { listed(1, 1, QelDataType(typeid(long long), -4), {0}, 1, 1); });
}

TEST(QelSimpleDataOrgTest, StridesAndOffsetsThatDoNotFitRaise13WithTheNumbers) {
    struct {
        char const * text;
        std::int32_t width;
        std::int32_t height;
        QelDataType type;
        int bands;
        QelLayout layout;
    } const cases[] = {
        {"The pixel stride for 1 by 1 pixels with 300000000 bands of 8 bytes does not fit in 32 "
         "bits",
         1, 1, QelDataType::Double, 300000000, PIXEL_INTERLEAVED},
        {"The line stride for 1073741824 by 1 pixels with 1 bands of 2 bytes does not fit in 32 "
         "bits",
         1 << 30, 1, QelDataType::Short, 1, PIXEL_INTERLEAVED},
        {"The line stride for 1000000000 by 1 pixels with 3 bands of 1 bytes does not fit in 32 "
         "bits",
         1000000000, 1, QelDataType::UChar, 3, LINE_INTERLEAVED},
        {"The band offset for 65536 by 32768 pixels with 2 bands of 1 bytes does not fit in 32 "
         "bits",
         65536, 32768, QelDataType::UChar, 2, BAND_INTERLEAVED},
        {"The pixel stride for 2147483647 by 2147483647 pixels with 2147483647 bands of 8 bytes "
         "does not fit in 32 bits",
         most, most, QelDataType::Double, most, SPELLED_OUT},
        {"The line stride for 2147483647 by 2147483647 pixels with 2147483647 bands of 2147483647 "
         "bytes does not fit in 32 bits",
         most, most, QelDataType(typeid(long long), most), most, LINE_INTERLEAVED},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.text);
        expectRaises(QelErrorCode::invalidValue, c.text,
                     [&] { standard(c.width, c.height, c.type, c.bands, c.layout); });
    }
    // The largest that fit.
    EXPECT_EQ(most, standard(most, 1, QelDataType::UChar, 1, PIXEL_INTERLEAVED)->lineStride());
    EXPECT_EQ(0, standard(65536, 32768, QelDataType::UChar, 1, BAND_INTERLEAVED)->bandOffsets()[0]);
}

TEST(QelSimpleDataOrgTest, BadBandsAreRangeErrors) {
    Org const org = standard(2, 2, QelDataType::UChar, 2, PIXEL_INTERLEAVED);
    for (int const band : {2, -1, most}) {
        SCOPED_TRACE(band);
        EXPECT_THROW(org->offset(0, 0, band), std::out_of_range);
        EXPECT_THROW(org->precision(band), std::out_of_range);
        EXPECT_THROW(org->bandDelta(0, band), std::out_of_range);
        EXPECT_THROW(org->bandDelta(band, 0), std::out_of_range);
        EXPECT_THROW(org->selectBands(1, &band), std::out_of_range);
    }
}

TEST(QelSimpleDataOrgTest, BandDeltas) {
    Org const org = listed(1, 1, QelDataType::UChar, {5, most, least}, 1, 1);
    std::vector<std::int64_t> const deltas = org->bandDeltas();
    ASSERT_EQ(9U, deltas.size());
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            std::int64_t const expected = std::int64_t{org->bandOffsets().at(std::size_t(j))} -
                                          org->bandOffsets().at(std::size_t(i));
            EXPECT_EQ(expected, deltas.at(std::size_t(i * 3 + j)));
            EXPECT_EQ(expected, org->bandDelta(i, j));
        }
    }
}

TEST(QelSimpleDataOrgTest, UniformBandOffsets) {
    struct {
        Offsets offsets;
        bool uniform;
    } const cases[] = {{{}, true},
                       {{7}, true},
                       {{0, 9}, true},
                       {{9, 0}, true},
                       {{0, 1, 2}, true},
                       {{2, 1, 0}, true},
                       {{0, 1, 3}, false},
                       {{5, 5, 5}, true},
                       {{0, 2, 4, 5}, false},
                       {{least, 0, most}, false},
                       {{most, 0, -most}, true}};
    for (auto const & c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.offsets));
        EXPECT_EQ(c.uniform,
                  listed(1, 1, QelDataType::UChar, c.offsets, 1, 1)->uniformBandOffsets());
    }
}

TEST(QelSimpleDataOrgTest, Prints) {
    EXPECT_EQ(
        "SimpleDataOrg[-3,40,10,4,6,60,l=PIXEL_INTERLEAVED,0,2,4]",
        printed(*standard(10, 4, QelDataType::Short, 3, PIXEL_INTERLEAVED)->withOrigin(-3, 40)));
    EXPECT_EQ("SimpleDataOrg[0,0,1,2,3,-4,l=SPELLED_OUT]",
              printed(*listed(1, 2, QelDataType::Short, {}, 3, -4)));
}

// What each bit waives, one condition broken at a time.
TEST(QelSimpleDataOrgTest, Satisfies) {
    constexpr std::uint32_t pixel = 0x20;
    constexpr std::uint32_t band = 0x40;
    Org const interleaved = standard(10, 4, QelDataType::UChar, 3, PIXEL_INTERLEAVED);
    Org const lines = standard(10, 4, QelDataType::UChar, 3, LINE_INTERLEAVED);
    Org const planar = standard(10, 4, QelDataType::UChar, 3, BAND_INTERLEAVED);
    Org const wide(new QelSimpleDataOrg(interleaved, 8, 4, false));
    Org const descending = listed(10, 4, QelDataType::UChar, {2, 1, 0}, 3, 30);
    Org const uneven = listed(10, 4, QelDataType::UChar, {0, 1, 5}, 3, 30);
    Org const equal = listed(10, 4, QelDataType::UChar, {0, 0}, 3, 30);
    Org const one = listed(10, 4, QelDataType::UChar, {7}, 3, 30);
    struct {
        char const * name;
        Org org;
        std::uint32_t flags;
        bool satisfied;
    } const cases[] = {
        {"interleaved", interleaved, 0, false},
        {"interleaved", interleaved, band, true},
        {"interleaved", interleaved, pixel, false},
        {"planar", planar, 0, false},
        {"planar", planar, pixel, true},
        {"planar", planar, band, false},
        {"lines", lines, pixel, false},
        {"lines", lines, band, false},
        {"lines", lines, pixel | band, false},
        {"lines", lines, pixel | band | 0x01, true},
        {"wide", wide, band, false},
        {"wide", wide, band | 0x01, true},
        {"descending", descending, pixel | band, false},
        {"descending", descending, pixel | band | 0x02, true},
        {"descending", descending, pixel | band | 0x08, false},
        {"uneven", uneven, pixel | band, false},
        {"uneven", uneven, pixel | band | 0x02, false},
        {"uneven", uneven, pixel | band | 0x08, true},
        {"equal", equal, pixel | band, false},
        {"equal", equal, pixel | band | 0x02, true},
        {"one", one, pixel | band, true},
        {"one", one, band, false},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.name + std::string(" with flags ") + std::to_string(c.flags));
        EXPECT_EQ(c.satisfied, c.org->satisfies(c.flags));
    }
}

TEST(QelSimpleDataOrgTest, SameDataTypeComparesBandCountAndFirstType) {
    Org const org = standard(10, 4, QelDataType::Short, 3, PIXEL_INTERLEAVED);
    EXPECT_TRUE(org->sameDataType(*standard(1, 1, QelDataType::Short, 3, BAND_INTERLEAVED)));
    EXPECT_FALSE(org->sameDataType(*standard(10, 4, QelDataType::Short, 2, PIXEL_INTERLEAVED)));
    EXPECT_FALSE(org->sameDataType(*standard(10, 4, QelDataType::UShort, 3, PIXEL_INTERLEAVED)));
    MoxSmartPtr<QelDataOrg> const rigid(
        new RigidDataOrg(10, 4, {QelDataType::Short, QelDataType::Short, QelDataType::Short}));
    EXPECT_FALSE(org->sameDataType(*rigid));
}

// A one-band PIXEL_INTERLEAVED and a one-band BAND_INTERLEAVED organisation of the same size have
// equal strides and offsets and so are compatible.
TEST(QelSimpleDataOrgTest, OneBandIsCompatibleWhateverTheLayout) {
    Org const pixels = standard(10, 4, QelDataType::Short, 1, PIXEL_INTERLEAVED);
    Org const planes = standard(10, 4, QelDataType::Short, 1, BAND_INTERLEAVED);
    EXPECT_TRUE(pixels->isCompatible(*planes, false));
    EXPECT_TRUE(planes->isCompatible(*pixels, false));
}

TEST(QelSimpleDataOrgTest, IsCompatible) {
    Org const org = standard(10, 4, QelDataType::Short, 3, PIXEL_INTERLEAVED);
    EXPECT_TRUE(org->isCompatible(*org->withOrigin(5, 6), false)) << "the origin takes no part";
    Org const sameSize = standard(10, 4, QelDataType::UShort, 3, PIXEL_INTERLEAVED);
    EXPECT_FALSE(org->isCompatible(*sameSize, false));
    EXPECT_TRUE(org->isCompatible(*sameSize, true));
    MoxSmartPtr<QelDataOrg> const rigid(new RigidDataOrg(10, 4, {QelDataType::Short}));
    EXPECT_FALSE(org->isCompatible(*rigid, true));
    struct {
        char const * difference;
        Org other;
    } const cases[] = {
        {"element size", standard(10, 4, QelDataType::UChar, 3, PIXEL_INTERLEAVED)},
        {"width", Org(new QelSimpleDataOrg(org, 9, 4, false))},
        {"height", Org(new QelSimpleDataOrg(org, 10, 5, false))},
        {"bands", listed(10, 4, QelDataType::Short, {0, 2}, 6, 60)},
        {"pixel stride", listed(10, 4, QelDataType::Short, {0, 2, 4}, 8, 60)},
        {"line stride", listed(10, 4, QelDataType::Short, {0, 2, 4}, 6, 80)},
        {"offset", listed(10, 4, QelDataType::Short, {0, 2, 5}, 6, 60)},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.difference);
        EXPECT_FALSE(org->isCompatible(*c.other, true));
        EXPECT_FALSE(c.other->isCompatible(*org, true));
    }
    EXPECT_TRUE(org->isCompatible(*listed(10, 4, QelDataType::Short, {0, 2, 4}, 6, 60), false));
}

// Random organisations against the bytes of all their pixels, one by one.
class QelSimpleDataOrgModelTest : public testing::Test {
  protected:
    int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }

    QelDataType anyType() { return QelDataType(pick(0, 7)); }

    Org any() {
        std::int32_t const width = pick(1, 6);
        std::int32_t const height = pick(1, 6);
        if (pick(0, 1) == 0) {
            return standard(width, height, anyType(), pick(1, 4), QelLayout(pick(0, 3)));
        }
        Offsets offsets(static_cast<std::size_t>(pick(1, 4)));
        for (std::int32_t & offset : offsets)
            offset = pick(-20, 40);
        return listed(width, height, anyType(), offsets, pick(-12, 12), pick(-60, 60));
    }

    // The offsets of all elements, bands innermost, and of one pixel and one line beyond the tile,
    // which tell the strides of a tile of one column or row.
    static std::vector<std::int64_t> allOffsets(QelSimpleDataOrg const & org) {
        std::vector<std::int64_t> all;
        for (int y = 0; y <= org.tileHeight(); ++y) {
            for (int x = 0; x <= org.tileWidth(); ++x) {
                for (int b = 0; b < org.numBands(); ++b)
                    all.push_back(org.offset(x, y, b));
            }
        }
        return all;
    }

    static constexpr unsigned seed_ = 20102;
    std::mt19937 random_{seed_};
};

TEST_F(QelSimpleDataOrgModelTest, OffsetsSizeAndReachAgreeWithEveryPixel) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 5000; ++run) {
        Org const org = any();
        SCOPED_TRACE(printed(*org));
        std::int64_t last = std::numeric_limits<std::int64_t>::min();
        std::int64_t low = std::numeric_limits<std::int64_t>::max();
        std::int64_t lastForwards = last;
        int const size = org->precision().size();
        for (int y = 0; y < org->tileHeight(); ++y) {
            for (int x = 0; x < org->tileWidth(); ++x) {
                for (int b = 0; b < org->numBands(); ++b) {
                    std::int64_t const at = org->bandOffsets().at(std::size_t(b)) +
                                            x * org->pixelStride() + y * org->lineStride();
                    ASSERT_EQ(at, org->offset(x, y, b));
                    ASSERT_EQ(at - org->bandOffsets().at(std::size_t(b)), org->offset(x, y));
                    last = std::max(last, at + size - 1);
                    low = std::min(low, at);
                    // Without the axes that run backwards.
                    int const fx = org->pixelStride() > 0 ? x : 0;
                    int const fy = org->lineStride() > 0 ? y : 0;
                    lastForwards = std::max(lastForwards, org->offset(fx, fy, b) + size - 1);
                }
            }
        }
        ASSERT_EQ(std::max<std::int64_t>(0, lastForwards + 1), org->size());
        std::int64_t before = -1;
        std::int64_t after = -1;
        org->reach(org->tileWidth(), org->tileHeight(), before, after);
        ASSERT_EQ(std::max<std::int64_t>(0, -low), before);
        ASSERT_EQ(last + 1, after);
    }
}

TEST_F(QelSimpleDataOrgModelTest, StandardOrganisationsUseEveryByteOnce) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 1000; ++run) {
        Org const org =
            standard(pick(1, 6), pick(1, 6), anyType(), pick(1, 4), QelLayout(pick(0, 3)));
        SCOPED_TRACE(printed(*org));
        std::vector<int> uses(static_cast<std::size_t>(org->size()), 0);
        for (int y = 0; y < org->tileHeight(); ++y) {
            for (int x = 0; x < org->tileWidth(); ++x) {
                for (int b = 0; b < org->numBands(); ++b) {
                    for (int i = 0; i < org->precision().size(); ++i) {
                        ++uses.at(static_cast<std::size_t>(org->offset(x, y, b) + i));
                    }
                }
            }
        }
        ASSERT_EQ(std::vector<int>(uses.size(), 1), uses);
    }
}

TEST_F(QelSimpleDataOrgModelTest, CompatibleMeansEqualOffsetsOfEveryElement) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    int compatible = 0;
    for (int run = 0; run < 40000; ++run) {
        // Small enough that equal ones come up.
        Org const a = standard(pick(1, 2), pick(1, 2), QelDataType(pick(0, 1) * 5), pick(1, 2),
                               QelLayout(pick(0, 3)));
        Org const b =
            standard(pick(1, 2), pick(1, 2), anyType(), pick(1, 2), QelLayout(pick(0, 3)));
        SCOPED_TRACE(printed(*a) + " " + printed(*b));
        bool const alike = a->tileWidth() == b->tileWidth() && a->tileHeight() == b->tileHeight() &&
                           a->numBands() == b->numBands() && allOffsets(*a) == allOffsets(*b);
        bool const sameSize = a->precision().size() == b->precision().size();
        ASSERT_EQ(alike && sameSize, a->isCompatible(*b, true));
        ASSERT_EQ(alike && a->precision() == b->precision(), a->isCompatible(*b, false));
        compatible += a->isCompatible(*b, false) ? 1 : 0;
    }
    EXPECT_GT(compatible, 100) << "too few compatible pairs";
}

// Against the addresses themselves.
TEST_F(QelSimpleDataOrgModelTest, SatisfiesAgreesWithTheAddresses) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    int satisfied = 0;
    for (int run = 0; run < 20000; ++run) {
        Org const org = any();
        auto const flags = static_cast<std::uint32_t>(pick(0, 0x7f));
        SCOPED_TRACE(printed(*org) + " with flags " + std::to_string(flags));
        bool series = true;
        bool ascending = true;
        for (int b = 1; b < org->numBands(); ++b) {
            std::int64_t const gap = org->offset(0, 0, b) - org->offset(0, 0, b - 1);
            series = series && gap == org->offset(0, 0, 1) - org->offset(0, 0, 0);
            ascending = ascending && gap > 0;
        }
        bool expected = true;
        if ((flags & 0x20) == 0 && org->layout() != PIXEL_INTERLEAVED) expected = false;
        if ((flags & 0x40) == 0 && org->layout() != BAND_INTERLEAVED) expected = false;
        // A dense line ends where the next begins.
        if ((flags & 0x01) == 0 && org->offset(org->tileWidth(), 0) != org->offset(0, 1)) {
            expected = false;
        }
        if ((flags & 0x08) == 0 && !series) expected = false;
        if ((flags & 0x02) == 0 && !ascending) expected = false;
        ASSERT_EQ(expected, org->satisfies(flags));
        satisfied += expected ? 1 : 0;
    }
    EXPECT_GT(satisfied, 1000) << "too few that satisfy";
}

TEST(QelSimpleDataOrgTest, ReachOfNothingIsNothing) {
    Org const org = listed(4, 4, QelDataType::Short, {10, -30}, -2, 8);
    std::int64_t before = 7;
    std::int64_t after = 7;
    org->reach(0, 4, before, after);
    EXPECT_EQ(0, before);
    EXPECT_EQ(0, after);
    org->reach(4, -1, before, after);
    EXPECT_EQ(0, before);
    EXPECT_EQ(0, after);
    listed(4, 4, QelDataType::Short, {}, -2, 8)->reach(4, 4, before, after);
    EXPECT_EQ(0, before);
    EXPECT_EQ(0, after);
    org->reach(3, 2, before, after);
    EXPECT_EQ(30 + 2 * 2, before);
    EXPECT_EQ(10 + 8 + 2, after);
}

}  // namespace
