#include <algorithm>
#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelSimpleDataOrg.h"
#include "QelTile.h"
#include "TestOps.h"

// Where tiles lie, and where their pixels do when the grid starts outside the image.

namespace {

MoxSmartPtr<QelTile> tileOf(TestImage const & image, std::int32_t x, std::int32_t y) {
    return MoxSmartPtr<QelTile>(new QelTile(image.dataOrg(), QelTileId(x, y)));
}

std::string described(QelDataOrg const & org, QelTileId const & id) {
    std::ostringstream out;
    org.print(out);
    out << " tile " << id;
    return out.str();
}

// Random grids; organisations of every layout, also with gaps and with strides that run
// backwards.
class RandomGrid {
  public:
    explicit RandomGrid(unsigned seed) : random_(seed) { std::cout << "seed " << seed << '\n'; }

    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

    MoxSmartPtr<QelDataOrg> org(bool backwards) {
        TestImage image{.bands = pick(1, 4),
                        .type = QelDataType(pick(QelDataType::UChar, QelDataType::ULong)),
                        .layout = static_cast<QelLayout>(pick(0, 2)),
                        .tileWidth = pick(1, 9),
                        .tileHeight = pick(1, 9)};
        if (pick(0, 1) == 0) image.org = spelledOut(image, backwards);
        return image.dataOrg()->withOrigin(pick(-30, 10), pick(-30, 10));
    }

  private:
    MoxSmartPtr<QelDataOrg> spelledOut(TestImage const & image, bool backwards) {
        std::int32_t const element = image.type.size();
        std::int32_t pixel = element * (image.bands + pick(0, 2));
        std::int32_t line = pixel * (image.tileWidth + pick(0, 3));
        if (pick(0, 2) == 0) std::swap(pixel, line = pixel * image.tileHeight);
        if (backwards && pick(0, 1) == 0) pixel = -pixel;
        if (backwards && pick(0, 1) == 0) line = -line;
        std::vector<std::int32_t> offsets;
        for (int band = 0; band < image.bands; ++band)
            offsets.push_back(band * element);
        std::shuffle(offsets.begin(), offsets.end(), random_);
        return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(
            image.tileWidth, image.tileHeight, image.type, image.bands, offsets, pixel, line));
    }

    std::mt19937 random_;
};

// The positions of tile (x, y) that are not negative, one by one.
QelRect bruteForceRect(QelRect const & whole) {
    std::int32_t left = std::numeric_limits<std::int32_t>::max();
    std::int32_t top = left;
    std::int32_t right = -1;
    std::int32_t bottom = -1;
    for (std::int32_t y = whole.y; y < whole.y + whole.height; ++y) {
        for (std::int32_t x = whole.x; x < whole.x + whole.width; ++x) {
            if (x < 0 || y < 0) continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x);
            bottom = std::max(bottom, y);
        }
    }
    return right < 0 ? QelRect() : QelRect::fromCorners(left, top, right, bottom);
}

// Every element of the tile lies where it does in a whole tile, and inside the data buffer.
void expectAddressesOfWholeTile(QelTile const & tile, QelRectBuffer const & whole) {
    QelRect const & rect = tile.rect();
    std::int64_t const bytes = tile.dataBuffer()->size();
    for (std::int32_t y = rect.y; y <= rect.bottom(); ++y) {
        for (std::int32_t x = rect.x; x <= rect.right(); ++x) {
            ASSERT_EQ(whole.offsetOf(x, y), tile.offsetOf(x, y)) << x << "," << y;
            for (int band = 0; band < tile.numBands(); ++band) {
                std::int64_t const start = tile.offsetOf(x, y) + tile.dataOrg()->offset(0, 0, band);
                ASSERT_LE(0, start) << x << "," << y << " band " << band;
                ASSERT_LE(start + tile.precision(band).size(), bytes)
                    << x << "," << y << " band " << band;
            }
        }
    }
}

}  // namespace

// A tile with id (0, 0) on a grid anchored at (-84, 0) with width 128 has rect x 0, width 44 after
// clipping; its dataOffset is org.offset(84, 0).
TEST(QelTileGeometryTest, ATileThatStartsLeftOfTheImageIsClippedToIt) {
    TestImage const image{.originX = -84};
    MoxSmartPtr<QelTile> const tile = tileOf(image, 0, 0);
    EXPECT_EQ(QelRect(0, 0, 44, 128), tile->rect());
    EXPECT_EQ(image.dataOrg()->offset(84, 0), tile->dataOffset());
    EXPECT_EQ(84 * 3, tile->dataOffset());
    EXPECT_EQ(image.dataOrg()->size(), tile->dataBuffer()->size());
}

TEST(QelTileGeometryTest, ATileThatStartsAboveTheImageIsClippedToIt) {
    TestImage const image{.originX = -84, .originY = -100};
    MoxSmartPtr<QelTile> const corner = tileOf(image, 0, 0);
    EXPECT_EQ(QelRect(0, 0, 44, 28), corner->rect());
    EXPECT_EQ(image.dataOrg()->offset(84, 100), corner->dataOffset());

    MoxSmartPtr<QelTile> const top = tileOf(image, 1, 0);
    EXPECT_EQ(QelRect(44, 0, 128, 28), top->rect());
    EXPECT_EQ(image.dataOrg()->offset(0, 100), top->dataOffset());

    MoxSmartPtr<QelTile> const inner = tileOf(image, 1, 1);
    EXPECT_EQ(QelRect(44, 28, 128, 128), inner->rect());
    EXPECT_EQ(0, inner->dataOffset());
}

TEST(QelTileGeometryTest, ATileWhollyOutsideTheImageIsEmptyAndStartsInsideItsBuffer) {
    for (QelTileId const & id : {QelTileId(-1, 0), QelTileId(0, -1), QelTileId(-3, -2)}) {
        MoxSmartPtr<QelTile> const tile(new QelTile(TestImage().dataOrg(), id));
        EXPECT_TRUE(tile->rect().isEmpty()) << id;
        EXPECT_EQ(0, tile->dataOffset()) << id;
    }
}

TEST(QelTileGeometryTest, ATileAtTheLowestCoordinateDoesNotOverflow) {
    TestImage const image{.originX = std::numeric_limits<std::int32_t>::min()};
    EXPECT_TRUE(tileOf(image, 0, 0)->rect().isEmpty());
}

TEST(QelTileGeometryTest, ATileAtTheHighestCoordinateKeepsItsLastRow) {
    std::int32_t const most = std::numeric_limits<std::int32_t>::max();
    TestImage const image{.originX = -4, .originY = most - 127};
    EXPECT_EQ(QelRect(0, most - 127, 124, 128), tileOf(image, 0, 0)->rect());
}

TEST(QelTileGeometryTest, APositionThatDoesNotFitIsRefused) {
    expectRaises(QelErrorCode::invalidValue,
                 "The position of a tile 274877906816 does not fit in 32 bits",
                 [] { tileOf(TestImage(), std::numeric_limits<std::int32_t>::max(), 0); });
}

TEST(QelTileGeometryTest, ATileOfAnUndecidedSizeIsEmpty) {
    TestImage const image{.tileWidth = 0, .tileHeight = 0, .originX = -5};
    MoxSmartPtr<QelTile> const tile = tileOf(image, 0, 0);
    EXPECT_TRUE(tile->rect().isEmpty());
    EXPECT_EQ(0, tile->dataOffset());
}

TEST(QelTileGeometryTest, AgreesWithAWholeTileOnEveryPixelOfEveryGrid) {
    RandomGrid random(20262);
    int clipped = 0;
    int empty = 0;
    for (int round = 0; round < 3000; ++round) {
        MoxSmartPtr<QelDataOrg> const org = random.org(true);
        QelTileId const id(random.pick(-1, 4), random.pick(-1, 4));
        SCOPED_TRACE(described(*org, id));
        QelRect const whole(id.tileX * org->tileWidth() + org->originX(),
                            id.tileY * org->tileHeight() + org->originY(), org->tileWidth(),
                            org->tileHeight());
        MoxSmartPtr<QelTile> const tile(new QelTile(org, id));
        MoxSmartPtr<QelRectBuffer> const buffer(
            new QelRectBuffer(org, whole.x, whole.y, whole.width, whole.height));

        ASSERT_EQ(bruteForceRect(whole), tile->rect());
        ASSERT_EQ(buffer->dataBuffer()->size(), tile->dataBuffer()->size());
        ASSERT_NO_FATAL_FAILURE(expectAddressesOfWholeTile(*tile, *buffer));
        empty += tile->rect().isEmpty() ? 1 : 0;
        clipped += tile->rect() == whole ? 0 : 1;
    }
    EXPECT_LT(300, empty);
    EXPECT_LT(200, clipped - empty);
    EXPECT_GT(2700, clipped);
}

TEST(QelTileGeometryTest, ShowsThePartOfAWholeTileThatLiesInTheImage) {
    RandomGrid random(20263);
    for (int round = 0; round < 500; ++round) {
        MoxSmartPtr<QelDataOrg> const org = random.org(false);
        QelTileId const id(random.pick(0, 4), random.pick(0, 4));
        SCOPED_TRACE(described(*org, id));
        std::vector<std::uint8_t> memory(static_cast<std::size_t>(org->size()));
        QelRect const whole = org->tileRect(id.tileX, id.tileY);
        MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer(
            org, whole.x, whole.y, whole.width, whole.height, memory.data(), false));
        fillPixels(*buffer, whole, gradientAt);

        MoxSmartPtr<QelTile> const tile(new QelTile(org, id, memory.data(), false));
        ASSERT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    }
}

TEST(QelTileGeometryTest, PixelsOfABackwardsTileAreAllItsOwn) {
    RandomGrid random(20264);
    for (int round = 0; round < 500; ++round) {
        MoxSmartPtr<QelDataOrg> const org = random.org(true);
        MoxSmartPtr<QelTile> const tile(new QelTile(org, QelTileId(random.pick(0, 4), 1)));
        SCOPED_TRACE(described(*org, tile->tileId()));
        if (tile->rect().isEmpty()) continue;
        fillPixels(*tile, tile->rect(), gradientAt);
        ASSERT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    }
}
