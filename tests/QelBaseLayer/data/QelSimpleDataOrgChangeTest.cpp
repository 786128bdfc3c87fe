#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "QelSimpleDataOrg.h"

// Clones, selected bands, other sizes, types and layouts.
namespace {

using Org = MoxSmartPtr<QelSimpleDataOrg>;
using Offsets = std::vector<std::int32_t>;

// At an origin of its own, so that each change shows whether it keeps it.
Org standard(std::int32_t width, std::int32_t height, QelDataType type, int bands,
             QelLayout layout) {
    Org const org(new QelSimpleDataOrg(width, height, type, bands, layout));
    return const_cast<QelSimpleDataOrg *>(org->withOrigin(-5, 6)->asSimple());
}

Org resized(Org const & source, std::int32_t width, std::int32_t height, bool recompute) {
    return Org(new QelSimpleDataOrg(source, width, height, recompute));
}

std::string printed(QelDataOrg const & org) {
    std::ostringstream out;
    org.print(out);
    return out.str();
}

TEST(QelSimpleDataOrgChangeTest, CloneIsEqualAndApart) {
    Org const org = standard(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    MoxSmartPtr<QelDataOrg> const copy = org->clone();
    EXPECT_NE(org.get(), copy.get());
    EXPECT_EQ(printed(*org), printed(*copy));
    EXPECT_EQ(org->size(), copy->size());
    EXPECT_EQ(org->precision(), copy->precision());
    EXPECT_EQ(copy.get(), copy->asSimple()) << "the clone's own answer";
    EXPECT_EQ(1, copy->refCount());
}

TEST(QelSimpleDataOrgChangeTest, WithOriginReplacesTheOriginOnly) {
    Org const org = standard(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    MoxSmartPtr<QelDataOrg> const moved = org->withOrigin(70, 80);
    EXPECT_EQ("SimpleDataOrg[70,80,10,4,2,60,l=LINE_INTERLEAVED,0,20,40]", printed(*moved));
    EXPECT_NE(org.get(), org->withOrigin(-5, 6).get());
}

TEST(QelSimpleDataOrgChangeTest, BandSelectionKeepsStridesAndOrigin) {
    Org const org = standard(10, 4, QelDataType::Short, 4, PIXEL_INTERLEAVED);
    int const bands[] = {3, 0, 3};
    MoxSmartPtr<QelDataOrg> const selected = org->selectBands(3, bands);
    EXPECT_EQ("SimpleDataOrg[-5,6,10,4,8,80,l=SPELLED_OUT,6,0,6]", printed(*selected));
    EXPECT_EQ(QelDataType::Short, selected->precision(2));
    EXPECT_EQ(6 + 2 + 3 * 80 + 9 * 8, selected->size());
    EXPECT_FALSE(selected->uniformBandOffsets());
    Org const made(new QelSimpleDataOrg(*org, 1, bands));
    EXPECT_EQ("SimpleDataOrg[-5,6,10,4,8,80,l=SPELLED_OUT,6]", printed(*made));
}

TEST(QelSimpleDataOrgChangeTest, BandSelectionRaises13ForANegativeCount) {
    Org const org = standard(10, 4, QelDataType::Short, 4, PIXEL_INTERLEAVED);
    int const band = 0;
    expectRaises(QelErrorCode::invalidValue, "A data organization of -1 bands is impossible",
                 [&] { org->selectBands(-1, &band); });
}

TEST(QelSimpleDataOrgChangeTest, ResizeWithoutRecomputingKeepsTheStrides) {
    struct {
        QelLayout layout;
        char const * expected;
        std::int64_t size;
    } const cases[] = {
        {PIXEL_INTERLEAVED, "SimpleDataOrg[-5,6,3,2,6,60,l=PIXEL_INTERLEAVED,0,2,4]", 6 + 60 + 12},
        {LINE_INTERLEAVED, "SimpleDataOrg[-5,6,3,2,2,60,l=LINE_INTERLEAVED,0,20,40]", 42 + 60 + 4},
        {BAND_INTERLEAVED, "SimpleDataOrg[-5,6,3,2,2,20,l=BAND_INTERLEAVED,0,80,160]",
         162 + 20 + 4},
        {SPELLED_OUT, "SimpleDataOrg[-5,6,3,2,6,60,l=SPELLED_OUT,0,2,4]", 6 + 60 + 12},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.expected);
        Org const org = resized(standard(10, 4, QelDataType::Short, 3, c.layout), 3, 2, false);
        EXPECT_EQ(c.expected, printed(*org));
        EXPECT_EQ(c.size, org->size());
    }
}

TEST(QelSimpleDataOrgChangeTest, ResizeRecomputesByLayout) {
    struct {
        QelLayout layout;
        char const * expected;
    } const cases[] = {
        {PIXEL_INTERLEAVED, "SimpleDataOrg[-5,6,3,2,6,18,l=PIXEL_INTERLEAVED,0,2,4]"},
        {LINE_INTERLEAVED, "SimpleDataOrg[-5,6,3,2,2,18,l=LINE_INTERLEAVED,0,6,12]"},
        {BAND_INTERLEAVED, "SimpleDataOrg[-5,6,3,2,2,6,l=BAND_INTERLEAVED,0,12,24]"},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.expected);
        Org const org = resized(standard(10, 4, QelDataType::Short, 3, c.layout), 3, 2, true);
        EXPECT_EQ(c.expected, printed(*org));
        EXPECT_EQ(36, org->size());
        EXPECT_EQ(QelDataType::Short, org->precision());
        EXPECT_TRUE(org->isCompatible(*standard(3, 2, QelDataType::Short, 3, c.layout), false));
    }
}

TEST(QelSimpleDataOrgChangeTest, ResizeToNothingClearsTheOffsets) {
    Org const lines = standard(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    EXPECT_EQ((Offsets{0, 0, 0}), resized(lines, 0, 4, true)->bandOffsets());
    Org const planes = standard(10, 4, QelDataType::Short, 3, BAND_INTERLEAVED);
    EXPECT_EQ((Offsets{0, 0, 0}), resized(planes, 10, 0, true)->bandOffsets());
}

TEST(QelSimpleDataOrgChangeTest, ResizeOfSpelledOutRaises9WhenItIsToRecompute) {
    Org const org = standard(10, 4, QelDataType::Short, 3, SPELLED_OUT);
    expectRaises(
        QelErrorCode::unsupported,
        "This QelSimpleDataOrg resize constructor does not support this SPELLED_OUT option",
        [&] { resized(org, 3, 2, true); });
    EXPECT_EQ(1, org->refCount()) << "the argument is released";
}

TEST(QelSimpleDataOrgChangeTest, ResizeRaises13ForASizeThatIsImpossibleOrDoesNotFit) {
    Org const pixels = standard(10, 4, QelDataType::Short, 3, PIXEL_INTERLEAVED);
    Org const planes = standard(10, 4, QelDataType::Short, 3, BAND_INTERLEAVED);
    expectRaises(QelErrorCode::invalidValue, "A tile of -3 by 2 pixels is impossible",
                 [&] { resized(pixels, -3, 2, false); });
    expectRaises(QelErrorCode::invalidValue,
                 "The line stride for 400000000 by 1 pixels with 3 bands of 2 bytes does not fit "
                 "in 32 bits",
                 [&] { resized(pixels, 400000000, 1, true); });
    expectRaises(QelErrorCode::invalidValue,
                 "The band offset for 65536 by 8192 pixels with 3 bands of 2 bytes does not fit in "
                 "32 bits",
                 [&] { resized(planes, 65536, 8192, true); });
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [] { resized(nullptr, 1, 1, false); });
}

TEST(QelSimpleDataOrgChangeTest, ResizeReleasesItsArgument) {
    Org source = standard(10, 4, QelDataType::Short, 3, PIXEL_INTERLEAVED);
    Org const org = resized(source, 3, 2, true);
    EXPECT_EQ(1, source->refCount());
    Org const only(new QelSimpleDataOrg(std::move(source), 3, 2, true));
    EXPECT_EQ(printed(*org), printed(*only));
}

TEST(QelSimpleDataOrgChangeTest, NothingChangedReturnsACloneOfOneWithoutOwners) {
    QelSimpleDataOrg const org(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    for (Org const & same :
         {org.makeWithSize(10, 4), org.makeWithBands(3), org.makeWithDataType(QelDataType::Short),
          org.makeWithLayout(LINE_INTERLEAVED)}) {
        EXPECT_NE(&org, same.get());
        EXPECT_EQ(printed(org), printed(*same));
    }
    EXPECT_EQ(0, org.refCount());
}

// withSize to the current size returns the same object.
TEST(QelSimpleDataOrgChangeTest, NothingChangedReturnsTheSameObject) {
    Org const org = standard(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    EXPECT_EQ(org.get(), org->withSize(10, 4).get());
    EXPECT_EQ(org.get(), org->withBands(3).get());
    EXPECT_EQ(org.get(), org->withDataType(QelDataType::Short).get());
    EXPECT_EQ(org.get(), org->withLayout(LINE_INTERLEAVED).get());
    EXPECT_EQ(org.get(), org->makeWithSize(10, 4).get());
    EXPECT_EQ(1, org->refCount());
    Org const counted = org->makeWithBands(3);
    EXPECT_EQ(2, org->refCount());
}

TEST(QelSimpleDataOrgChangeTest, AChangeIsAStandardOrganisationWithTheOriginKept) {
    Org const org = standard(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    EXPECT_EQ("SimpleDataOrg[-5,6,7,2,2,42,l=LINE_INTERLEAVED,0,14,28]",
              printed(*org->withSize(7, 2)));
    EXPECT_EQ("SimpleDataOrg[-5,6,10,4,2,40,l=LINE_INTERLEAVED,0,20]", printed(*org->withBands(2)));
    EXPECT_EQ("SimpleDataOrg[-5,6,10,4,8,240,l=LINE_INTERLEAVED,0,80,160]",
              printed(*org->withDataType(QelDataType::Double)));
    EXPECT_EQ(QelDataType::Double, org->withDataType(QelDataType::Double)->precision());
    EXPECT_EQ("SimpleDataOrg[-5,6,10,4,2,20,l=BAND_INTERLEAVED,0,80,160]",
              printed(*org->withLayout(BAND_INTERLEAVED)));
}

TEST(QelSimpleDataOrgChangeTest, AChangedSpelledOutHasTheStridesOfPixelInterleaved) {
    Org const org(new QelSimpleDataOrg(10, 4, QelDataType::Short, 2, Offsets{90, 7}, -40, 400));
    EXPECT_EQ("SimpleDataOrg[0,0,3,2,4,12,l=SPELLED_OUT,0,2]", printed(*org->withSize(3, 2)));
    Org const pixels = standard(10, 4, QelDataType::Short, 2, PIXEL_INTERLEAVED);
    EXPECT_EQ("SimpleDataOrg[-5,6,10,4,4,40,l=SPELLED_OUT,0,2]",
              printed(*pixels->withLayout(SPELLED_OUT)));
}

TEST(QelSimpleDataOrgChangeTest, AChangeRaisesWhatTheConstructorRaises) {
    Org const org = standard(10, 4, QelDataType::Short, 3, LINE_INTERLEAVED);
    expectRaises(QelErrorCode::invalidValue, "A data organization of -1 bands is impossible",
                 [&] { org->withBands(-1); });
    expectRaises(QelErrorCode::invalidValue, "A tile of -1 by 4 pixels is impossible",
                 [&] { org->withSize(-1, 4); });
    expectRaises(QelErrorCode::unsupported,
                 "This QelSimpleDataOrg constructor is called with an unknown QelLayout option",
                 [&] { org->withLayout(QelLayout(7)); });
}

TEST(QelSimpleDataOrgChangeTest, WithoutBandsTheTypeIsGone) {
    Org const none = standard(10, 4, QelDataType::Short, 0, LINE_INTERLEAVED);
    EXPECT_EQ(QelDataType::Error, none->precision());
    EXPECT_EQ(QelDataType::Error, none->withBands(2)->precision());
}

// Random changes, against the address of every pixel.
class QelSimpleDataOrgChangeModelTest : public testing::Test {
  protected:
    int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }

    Org any(QelLayout last) {
        return standard(pick(1, 7), pick(1, 7), QelDataType(pick(0, 7)), pick(1, 4),
                        QelLayout(pick(0, last)));
    }

    static constexpr unsigned seed_ = 20104;
    std::mt19937 random_{seed_};
};

TEST_F(QelSimpleDataOrgChangeModelTest, ARecomputedOneIsTheStandardOneOfTheNewSize) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 2000; ++run) {
        Org const org = any(BAND_INTERLEAVED);
        std::int32_t const width = pick(0, 9);
        std::int32_t const height = pick(0, 9);
        Org const wanted =
            standard(width, height, org->precision(), org->numBands(), org->layout());
        Org const made = resized(org, width, height, true);
        ASSERT_EQ(printed(*wanted), printed(*made)) << printed(*org);
        ASSERT_EQ(wanted->size(), made->size()) << printed(*org);
    }
}

TEST_F(QelSimpleDataOrgChangeModelTest, OneThatIsNotRecomputedKeepsEveryAddress) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 2000; ++run) {
        Org const org = any(SPELLED_OUT);
        Org const made = resized(org, pick(1, 9), pick(1, 9), false);
        SCOPED_TRACE(printed(*org) + " becomes " + printed(*made));
        std::int64_t end = 0;
        for (int y = 0; y < made->tileHeight(); ++y) {
            for (int x = 0; x < made->tileWidth(); ++x) {
                for (int b = 0; b < made->numBands(); ++b) {
                    ASSERT_EQ(org->offset(x, y, b), made->offset(x, y, b));
                    end = std::max(end, made->offset(x, y, b) + made->precision(b).size());
                }
            }
        }
        ASSERT_EQ(end, made->size());
    }
}

TEST_F(QelSimpleDataOrgChangeModelTest, ASelectedBandHasTheAddressesOfItsSource) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 2000; ++run) {
        Org const org = any(SPELLED_OUT);
        std::vector<int> bands(static_cast<std::size_t>(pick(1, 6)));
        for (int & band : bands)
            band = pick(0, org->numBands() - 1);
        auto const made = org->selectBands(static_cast<int>(bands.size()), bands.data());
        SCOPED_TRACE(printed(*org) + " becomes " + printed(*made));
        ASSERT_EQ(static_cast<int>(bands.size()), made->numBands());
        for (int b = 0; b < made->numBands(); ++b) {
            int const from = bands.at(static_cast<std::size_t>(b));
            ASSERT_EQ(org->precision(from), made->precision(b));
            for (int y = 0; y < made->tileHeight(); ++y) {
                for (int x = 0; x < made->tileWidth(); ++x)
                    ASSERT_EQ(org->offset(x, y, from), made->offset(x, y, b));
            }
        }
    }
}

}  // namespace
