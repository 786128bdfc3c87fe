#include "QelDataOrg.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "QelSimpleDataOrg.h"
#include "RigidDataOrg.h"

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

std::string printed(QelLayout layout) {
    std::ostringstream out;
    out << layout;
    return out.str();
}

// A tile grid, with an organisation around it.
MoxSmartPtr<QelDataOrg> grid(std::int32_t width, std::int32_t height, std::int32_t originX = 0,
                             std::int32_t originY = 0) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(width, height, QelDataType::UChar, 1, BAND_INTERLEAVED));
    return org->withOrigin(originX, originY);
}

MoxSmartPtr<QelDataOrg> rigid(std::vector<QelDataType> types) {
    return MoxSmartPtr<QelDataOrg>(new RigidDataOrg(4, 5, std::move(types)));
}

TEST(QelDataOrgLayoutTest, ValuesAndNames) {
    struct {
        int value;
        QelLayout layout;
        char const * name;
    } const cases[] = {{0, PIXEL_INTERLEAVED, "PIXEL_INTERLEAVED"},
                       {1, LINE_INTERLEAVED, "LINE_INTERLEAVED"},
                       {2, BAND_INTERLEAVED, "BAND_INTERLEAVED"},
                       {3, SPELLED_OUT, "SPELLED_OUT"}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.value, c.layout);
        EXPECT_EQ(c.name, printed(c.layout));
        std::istringstream in(std::string(c.name) + " next");
        QelLayout read = c.layout == SPELLED_OUT ? PIXEL_INTERLEAVED : SPELLED_OUT;
        EXPECT_TRUE(in >> read);
        EXPECT_EQ(c.layout, read);
    }
    EXPECT_EQ(QelSimpleDataOrg::PIXEL_INTERLEAVED, PIXEL_INTERLEAVED);
    EXPECT_EQ(QelSimpleDataOrg::LINE_INTERLEAVED, LINE_INTERLEAVED);
    EXPECT_EQ(QelSimpleDataOrg::BAND_INTERLEAVED, BAND_INTERLEAVED);
    EXPECT_EQ(QelSimpleDataOrg::SPELLED_OUT, SPELLED_OUT);
}

TEST(QelDataOrgLayoutTest, AnyOtherValuePrintsUnknown) {
    for (int const value : {4, -1, 1000})
        EXPECT_EQ("UNKNOWN", printed(QelLayout(value)));
}

TEST(QelDataOrgLayoutTest, ReadingAnyOtherWordFailsAndChangesNothing) {
    for (char const * word : {"", "UNKNOWN", "pixel_interleaved", "PIXEL", "0"}) {
        SCOPED_TRACE(word);
        std::istringstream in(word);
        QelLayout layout = LINE_INTERLEAVED;
        in >> layout;
        EXPECT_TRUE(in.fail());
        EXPECT_FALSE(in.bad());
        EXPECT_EQ(LINE_INTERLEAVED, layout);
    }
}

// tileIndexX(-1) with origin 0 and tile width 128 is -1; tileIndexX(-128) is -1;
// tileIndexX(-129) is -2.
TEST(QelDataOrgTest, TileIndexRoundsDownForNegativePositions) {
    auto const org = grid(128, 128);
    EXPECT_EQ(-1, org->tileIndexX(-1));
    EXPECT_EQ(-1, org->tileIndexX(-128));
    EXPECT_EQ(-2, org->tileIndexX(-129));
    EXPECT_EQ(0, org->tileIndexX(0));
    EXPECT_EQ(0, org->tileIndexX(127));
    EXPECT_EQ(1, org->tileIndexX(128));
    EXPECT_EQ(-1, org->tileIndexY(-128));
    EXPECT_EQ(-2, org->tileIndexY(-129));
}

TEST(QelDataOrgTest, TileIndexStartsAtTheOrigin) {
    auto const org = grid(10, 20, 3, -7);
    EXPECT_EQ(-1, org->tileIndexX(2));
    EXPECT_EQ(0, org->tileIndexX(3));
    EXPECT_EQ(1, org->tileIndexX(13));
    EXPECT_EQ(-1, org->tileIndexY(-8));
    EXPECT_EQ(0, org->tileIndexY(-7));
    EXPECT_EQ(1, org->tileIndexY(13));
}

TEST(QelDataOrgTest, TileSizeBelowOneGivesIndexZeroAndThePlainDistance) {
    auto const org = grid(0, 0, 3, -7);
    EXPECT_EQ(0, org->tileIndexX(-100));
    EXPECT_EQ(0, org->tileIndexY(100));
    std::int32_t index = 9;
    std::int32_t remainder = 9;
    org->tileIndexWithRemainderX(-100, index, remainder);
    EXPECT_EQ(0, index);
    EXPECT_EQ(-103, remainder);
    org->tileIndexWithRemainderY(100, index, remainder);
    EXPECT_EQ(0, index);
    EXPECT_EQ(107, remainder);
}

TEST(QelDataOrgTest, TileIndexAtTheEndOfTheCoordinates) {
    auto const org = grid(2, 2, most, least);
    EXPECT_EQ(least, org->tileIndexX(least));  // 2^32 - 1 columns left of the origin
    EXPECT_EQ(most, org->tileIndexY(most));
    std::int32_t index = 0;
    std::int32_t remainder = 0;
    org->tileIndexWithRemainderX(least, index, remainder);
    EXPECT_EQ(least, index);
    EXPECT_EQ(1, remainder);
}

TEST(QelDataOrgTest, TileIndexRaises13WhenItDoesNotFit) {
    auto const columns = grid(1, 1, most, least);
    expectRaises(QelErrorCode::invalidValue, "The tile index -4294967295 does not fit in 32 bits",
                 [&] { columns->tileIndexX(least); });
    expectRaises(QelErrorCode::invalidValue, "The tile index 4294967295 does not fit in 32 bits",
                 [&] { columns->tileIndexY(most); });

    auto const undecided = grid(0, 0, most, least);
    std::int32_t index = 8;
    std::int32_t remainder = 9;
    expectRaises(QelErrorCode::invalidValue,
                 "The position within a tile -4294967295 does not fit in 32 bits",
                 [&] { undecided->tileIndexWithRemainderX(least, index, remainder); });
    expectRaises(QelErrorCode::invalidValue, "The tile index 4294967295 does not fit in 32 bits",
                 [&] { columns->tileIndexWithRemainderY(most, index, remainder); });
    EXPECT_EQ(8, index);
    EXPECT_EQ(9, remainder);
}

TEST(QelDataOrgTest, TileRect) {
    auto const org = grid(10, 20, 3, -7);
    EXPECT_EQ(QelRect(3, -7, 10, 20), org->tileRect(0, 0));
    EXPECT_EQ(QelRect(-17, 33, 10, 20), org->tileRect(-2, 2));
    expectRaises(QelErrorCode::invalidValue,
                 "The position of a tile 21474836473 does not fit in 32 bits",
                 [&] { org->tileRect(most, 0); });
    expectRaises(QelErrorCode::invalidValue,
                 "The position of a tile -42949672967 does not fit in 32 bits",
                 [&] { org->tileRect(0, least); });
}

// isOneTile for a rectangle that ends exactly at a tile's last pixel is true; one pixel more is
// false.
TEST(QelDataOrgTest, IsOneTileUpToTheTilesLastPixel) {
    auto const org = grid(128, 64);
    struct {
        QelRect rect;
        bool one;
        std::int32_t tileX;
        std::int32_t tileY;
    } const cases[] = {
        {{0, 0, 128, 64}, true, 0, 0},
        {{0, 0, 129, 64}, false, 0, 0},
        {{0, 0, 128, 65}, false, 0, 0},
        {{127, 63, 1, 1}, true, 0, 0},
        {{127, 63, 2, 1}, false, 0, 0},
        {{200, 70, 56, 58}, true, 1, 1},
        {{200, 70, 57, 58}, false, 1, 1},
        {{-1, -64, 1, 64}, true, -1, -1},
        {{-1, -64, 2, 64}, false, -1, -1},
        {{-1, -65, 1, 2}, false, -1, -2},
        {{most, 0, most, 1}, false, 16777215, 0},
    };
    for (auto const & c : cases) {
        std::ostringstream row;
        row << c.rect;
        SCOPED_TRACE(row.str());
        std::int32_t tileX = 99;
        std::int32_t tileY = 99;
        EXPECT_EQ(c.one, org->isOneTile(c.rect, tileX, tileY));
        EXPECT_EQ(c.tileX, tileX);
        EXPECT_EQ(c.tileY, tileY);
        EXPECT_EQ(c.one, org->isOneTile(c.rect));
    }
}

// The tile whose first column is at or before x and whose next tile's is behind it, by walking.
int walkedTile(int x, int origin, int size) {
    int tile = 0;
    while (origin + tile * size > x)
        --tile;
    while (origin + (tile + 1) * size <= x)
        ++tile;
    return tile;
}

TEST(QelDataOrgTest, TileGridAgreesWithWalking) {
    constexpr unsigned seed = 20101;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> position(-60, 60);
    std::uniform_int_distribution<int> tileSize(1, 17);
    std::uniform_int_distribution<int> rectSize(1, 20);
    int whole = 0;
    for (int run = 0; run < 10000; ++run) {
        int const size[] = {tileSize(random), tileSize(random)};
        int const origin[] = {position(random), position(random)};
        QelRect const rect(position(random), position(random), rectSize(random), rectSize(random));
        auto const org = grid(size[0], size[1], origin[0], origin[1]);
        std::ostringstream row;
        row << rect << " in tiles " << org->tileRect(0, 0);
        SCOPED_TRACE(row.str());

        int const tileX = walkedTile(rect.x, origin[0], size[0]);
        int const tileY = walkedTile(rect.y, origin[1], size[1]);
        ASSERT_EQ(tileX, org->tileIndexX(rect.x));
        ASSERT_EQ(tileY, org->tileIndexY(rect.y));
        QelRect const tile(origin[0] + tileX * size[0], origin[1] + tileY * size[1], size[0],
                           size[1]);
        ASSERT_EQ(tile, org->tileRect(tileX, tileY));

        std::int32_t index = 0;
        std::int32_t remainder = 0;
        org->tileIndexWithRemainderX(rect.x, index, remainder);
        ASSERT_EQ(tileX, index);
        ASSERT_EQ(rect.x - tile.x, remainder);
        org->tileIndexWithRemainderY(rect.y, index, remainder);
        ASSERT_EQ(tileY, index);
        ASSERT_EQ(rect.y - tile.y, remainder);

        ASSERT_EQ(tile.containsRect(rect), org->isOneTile(rect));
        whole += org->isOneTile(rect) ? 1 : 0;
    }
    EXPECT_GT(whole, 100) << "too few rectangles within a tile";
}

TEST(QelDataOrgTest, PrecisionIsTheCommonTypeOrMixed) {
    EXPECT_EQ(QelDataType::Short, rigid({QelDataType::Short, QelDataType::Short})->precision());
    EXPECT_EQ(QelDataType::Mixed, rigid({QelDataType::Short, QelDataType::Float})->precision());
    EXPECT_EQ(QelDataType::Error, rigid({})->precision());
    EXPECT_TRUE(rigid({QelDataType::Short, QelDataType::Short})->uniformType());
    EXPECT_FALSE(rigid({QelDataType::Short, QelDataType::Float})->uniformType());
    EXPECT_TRUE(rigid({})->uniformType());
}

TEST(QelDataOrgTest, PrecisionOfABand) {
    auto const org = rigid({QelDataType::Short, QelDataType::Float});
    EXPECT_EQ(QelDataType::Float, org->precision(1));
    EXPECT_EQ(2, org->numBands());
    EXPECT_EQ(2U, org->bandTypes().size());
    EXPECT_THROW(org->precision(2), std::out_of_range);
    EXPECT_THROW(org->precision(-1), std::out_of_range);
}

TEST(QelDataOrgTest, AClassOfItsOwnCanDoNoMoreThanTheBase) {
    auto const org = rigid({QelDataType::Short, QelDataType::Float});
    EXPECT_FALSE(org->satisfies(0xffffffff));
    EXPECT_FALSE(org->sameDataType(*org)) << "is isCompatible(), which is false here";
    EXPECT_TRUE(org->uniformBandOffsets());
    EXPECT_FALSE(rigid({0, 0, 0})->uniformBandOffsets());
    int const band = 0;
    EXPECT_FALSE(org->selectBands(1, &band));
    EXPECT_FALSE(org->withBands(2));
    EXPECT_FALSE(org->withSize(4, 5));
    EXPECT_FALSE(org->withDataType(QelDataType::Short));
    EXPECT_FALSE(org->withLayout(PIXEL_INTERLEAVED));
    EXPECT_EQ(nullptr, org->asSimple());
}

TEST(QelDataOrgTest, WithOriginIsACloneOfTheSameClass) {
    auto const org = rigid({QelDataType::Short});
    auto const moved = org->withOrigin(7, -8);
    ASSERT_TRUE(moved);
    EXPECT_NE(org.get(), moved.get());
    EXPECT_NE(nullptr, dynamic_cast<RigidDataOrg *>(moved.get()));
    EXPECT_EQ(7, moved->originX());
    EXPECT_EQ(-8, moved->originY());
    EXPECT_EQ(0, org->originX());
    EXPECT_EQ(1, moved->refCount());
    EXPECT_NE(moved.get(), moved->withOrigin(7, -8).get()) << "always a clone";
}

}  // namespace
