#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "DiagonalOrg.h"
#include "ExpectError.h"
#include "FaultySystem.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "QelRandomIterBase.h"

namespace {

std::string const noSimpleOrg =
    "QelRandom(Const)Iter requires inputs with data organizations that are QelSimpleDataOrg";

class QelRandomIterBaseTest : public testing::Test {
  protected:
    // 40 by 30 pixels in tiles of 16 by 16 unless a test says otherwise.
    Qel2DImage * make(TestImage told = {.width = 40, .height = 30}) {
        if (told.tileWidth == 128) told.tileWidth = told.tileHeight = 16;
        TileLimits const limits(1, 1000);
        op = countingOpForTiles(told);
        image = new Qel2DImage(op);
        return image;
    }
    static std::string noTile(std::string const & tile) {
        return "Failed to generate tile " + tile +
               " for an Qel2DImage of size 3 x 2 tiles -- image rect (0,0,40,30) iteration rect "
               "(0,0,40,30)";
    }
    static double at(QelRandomIterBase & iter, std::int32_t x, std::int32_t y) {
        return *iter.address(x, y);
    }

    MoxSmartPtr<CountingOp> op;
    MoxSmartPtr<Qel2DImage> image;
};

}  // namespace

TEST_F(QelRandomIterBaseTest, ANewIteratorHasLoadedNothing) {
    QelRandomIterBase const iter(make());
    EXPECT_EQ(nullptr, iter.tile());
    EXPECT_EQ(0, iter.band());
    EXPECT_EQ(3, iter.pixelStride());
    EXPECT_EQ(image.get(), iter.image());
    EXPECT_EQ(image->dataOrg().get(), &iter.dataOrg());
    EXPECT_EQ(0, op->computes());
}

TEST_F(QelRandomIterBaseTest, ANullImageRaises4) {
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [] { QelRandomIterBase iter(static_cast<Qel2DImage *>(nullptr)); });
}

TEST_F(QelRandomIterBaseTest, AnImageWhoseOrganisationIsNotSimpleRaises150) {
    image = imageOf(new GradientOp({.width = 9, .height = 9, .org = new DiagonalOrg(9, 9)}));
    expectRaises(QelErrorCode::simpleDataOrgNeeded, noSimpleOrg,
                 [&] { QelRandomIterBase iter(image); });
}

TEST_F(QelRandomIterBaseTest, AnImageOfUnknownSizeRaises150) {
    image = new Qel2DImage(static_cast<QelImageOp *>(nullptr));
    expectRaises(QelErrorCode::simpleDataOrgNeeded, noSimpleOrg,
                 [&] { QelRandomIterBase iter(image); });
}

TEST_F(QelRandomIterBaseTest, AnAddressOutsideTheImageRaises151) {
    QelRandomIterBase iter(make());
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    for (std::int32_t const x : {-1, 40, 47, least, most}) {
        SCOPED_TRACE(x);
        expectRaises(QelErrorCode::outOfBounds, "X value out of bounds",
                     [&] { iter.address(x, 5); });
        expectRaises(QelErrorCode::outOfBounds, "X value out of bounds",
                     [&] { iter.address(x, -1, 2); });
        expectRaises(QelErrorCode::outOfBounds, "X value out of bounds",
                     [&] { iter.runLength(x, 5); });
    }
    for (std::int32_t const y : {-1, 30, 31, least, most}) {
        SCOPED_TRACE(y);
        expectRaises(QelErrorCode::outOfBounds, "Y value out of bounds",
                     [&] { iter.address(39, y); });
        expectRaises(QelErrorCode::outOfBounds, "Y value out of bounds",
                     [&] { iter.runLength(0, y); });
    }
    EXPECT_EQ(0, op->computes());
}

TEST_F(QelRandomIterBaseTest, ABadBandIsOutOfRange) {
    QelRandomIterBase iter(make());
    iter.setBand(2);
    for (int const band : {-1, 3, std::numeric_limits<int>::max()}) {
        SCOPED_TRACE(band);
        EXPECT_THROW(iter.setBand(band), std::out_of_range);
        EXPECT_THROW(iter.address(0, 0, band), std::out_of_range);
        EXPECT_EQ(2, iter.band());
    }
    EXPECT_EQ(0, op->computes());
    EXPECT_EQ(gradientAt(5, 6, 2), at(iter, 5, 6));
    EXPECT_EQ(gradientAt(5, 6, 1), *iter.address(5, 6, 1));
}

TEST_F(QelRandomIterBaseTest, ANegativeAnchorMakesTheFirstTileNarrower) {
    // Tiles start at x = -10, 6 and 22, and at y = -3 and 13.
    QelRandomIterBase iter(make({.width = 40, .height = 30, .originX = -10, .originY = -3}));
    EXPECT_EQ(gradientAt(0, 0, 0), at(iter, 0, 0));
    EXPECT_EQ(QelRect(0, 0, 6, 13), iter.tile()->rect());
    EXPECT_EQ(6, iter.runLength(0, 0));
    EXPECT_EQ(gradientAt(5, 12, 0), at(iter, 5, 12));
    EXPECT_EQ(1, op->computes());
    EXPECT_EQ(gradientAt(6, 13, 0), at(iter, 6, 13));
    EXPECT_EQ(QelRect(6, 13, 16, 16), iter.tile()->rect());
    EXPECT_EQ(12, iter.runLength(10, 20));
}

TEST_F(QelRandomIterBaseTest, HoldsTheTileThatItUsedLast) {
    make();
    {
        QelRandomIterBase iter(image);
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(gradientAt(3, 4, 0), at(iter, 3, 4));
            EXPECT_EQ(gradientAt(15, 15, 0), at(iter, 15, 15));
        }
        EXPECT_EQ(1, op->computes());
        EXPECT_EQ(image->findTile(0, 0).get(), iter.tile());
        QelRandomIterBase copy(iter);
        at(iter, 16, 0);
        EXPECT_TRUE(image->findTile(0, 0));
        EXPECT_EQ(gradientAt(7, 7, 0), at(copy, 7, 7));
        at(copy, 39, 29);
        EXPECT_FALSE(image->findTile(0, 0));
        EXPECT_EQ(gradientAt(17, 1, 0), at(iter, 17, 1));
        EXPECT_EQ(3, op->computes());
        at(iter, 0, 0);
        EXPECT_EQ(4, op->computes());
    }
    EXPECT_FALSE(image->findTile(0, 0));
    EXPECT_FALSE(image->findTile(2, 1));
}

TEST_F(QelRandomIterBaseTest, AnImageThatCachesComputesEachTileOnce) {
    make();
    image->setCacheTiles(true);
    QelRandomIterBase iter(image);
    for (std::int32_t x = 0; x < 40; ++x) {
        for (std::int32_t y = 0; y < 30; ++y)
            ASSERT_EQ(gradientAt(x, y, 0), at(iter, x, y));
    }
    EXPECT_EQ(6, op->computes());
}

TEST_F(QelRandomIterBaseTest, AFailingTileLeavesTheIteratorWithTheTileThatItHas) {
    bool fails = true;
    TileLimits const limits(1, 1000);
    image = new Qel2DImage(new HookedOp(
        {.width = 40, .height = 30, .tileWidth = 16, .tileHeight = 16}, [&](QelRectBuffer * tile) {
            if (fails && tile->rect().x == 16) qelRaise(77, "no such luck");
        }));
    QelRandomIterBase iter(image);
    at(iter, 1, 1);
    QelTile * const kept = iter.tile();
    for (int round = 0; round < 2; ++round) {
        std::optional<ZanError> const error = errorOf([&] { iter.address(20, 1); });
        ASSERT_TRUE(error);
        EXPECT_EQ(77, error->getErrcode());
        EXPECT_EQ(kept, iter.tile());
        EXPECT_EQ(gradientAt(2, 3, 0), at(iter, 2, 3));
    }
    fails = false;
    EXPECT_EQ(gradientAt(20, 1, 0), at(iter, 20, 1));
}

TEST_F(QelRandomIterBaseTest, AnAllocationThatFailsIsTriedAgain) {
    FaultySystem system;
    QelRandomIterBase iter(make());
    at(iter, 1, 1);
    system.failAllocation(1);
    std::optional<ZanError> const error = errorOf([&] { iter.address(20, 1); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    EXPECT_EQ(gradientAt(2, 3, 0), at(iter, 2, 3));
    EXPECT_EQ(gradientAt(20, 1, 0), at(iter, 20, 1));
}

TEST_F(QelRandomIterBaseTest, AContainerWithoutATileRaises3) {
    MockContainer container;
    container.onCreateTile = [](Qel2DImage *, std::int32_t, std::int32_t) {
        return MoxSmartPtr<QelTile>();
    };
    image =
        imageWithoutOp({.width = 40, .height = 30, .tileWidth = 16, .tileHeight = 16}, &container);
    QelRandomIterBase iter(image);
    expectRaises(QelErrorCode::misuse, noTile("(2,1)"), [&] { iter.address(39, 29); });
    EXPECT_EQ(nullptr, iter.tile());
}

TEST_F(QelRandomIterBaseTest, ATileOfAnotherOrganisationRaises3) {
    QelRandomIterBase iter(make());
    MoxSmartPtr<QelTile> const tile =
        new QelTile(image->dataOrg()->withLayout(BAND_INTERLEAVED), QelTileId(1, 0));
    image->insertTile(tile);
    expectRaises(QelErrorCode::misuse, noTile("(1,0)"), [&] { iter.address(20, 3); });
}

TEST_F(QelRandomIterBaseTest, ATileOfAnotherGridRaises3) {
    QelRandomIterBase iter(make());
    MoxSmartPtr<QelTile> const tile =
        new QelTile(image->dataOrg()->withOrigin(4, 0), QelTileId(1, 0));
    image->insertTile(tile);
    expectRaises(QelErrorCode::misuse, noTile("(1,0)"), [&] { iter.address(20, 3); });
}

TEST_F(QelRandomIterBaseTest, PixelsThatAWrappedBufferDoesNotHaveRaise3) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(10, 5, 12, 9), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer->setFullSize(30, 40);
    buffer->allocate();
    fillPixels(*buffer, buffer->rect(), gradientAt);
    image = new Qel2DImage(buffer);
    QelRandomIterBase iter(image);
    struct Row {
        std::int32_t x, y;
        char const * tile;
    };
    for (Row const & row : {Row{9, 5, "(-1,0)"}, Row{10, 4, "(0,-1)"}, Row{22, 13, "(-1,0)"},
                            Row{21, 14, "(0,-1)"}, Row{0, 0, "(-1,-1)"}, Row{29, 39, "(-1,-1)"}}) {
        SCOPED_TRACE(row.tile);
        expectRaises(QelErrorCode::misuse,
                     std::string("Failed to generate tile ") + row.tile +
                         " for an Qel2DImage of size 1 x 1 tiles -- image rect (0,0,30,40) "
                         "iteration rect (0,0,30,40)",
                     [&] { iter.address(row.x, row.y); });
    }
    EXPECT_EQ(gradientAt(10, 5, 0), at(iter, 10, 5));
    EXPECT_EQ(gradientAt(21, 13, 0), at(iter, 21, 13));
    EXPECT_EQ(12, iter.runLength(10, 13));
    expectRaises(QelErrorCode::outOfBounds, "X value out of bounds", [&] { iter.address(30, 5); });
}

TEST_F(QelRandomIterBaseTest, AnImageWithoutPixelsHasNoAddress) {
    QelRectBuffer nothing;
    image = new Qel2DImage(&nothing);
    QelRandomIterBase iter(image);
    expectRaises(QelErrorCode::outOfBounds, "X value out of bounds", [&] { iter.address(0, 0); });
}
