#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "FaultySystem.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "QelRectIter.h"

// Rect iterators whose tiles cannot be had.

namespace {

using ConstIter = QelRectConstIter<std::uint8_t>;
using Iter = QelRectIter<std::uint8_t>;

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

// 40 by 30 pixels in 3 by 2 tiles.
TestImage const sixTiles{.width = 40, .height = 30, .tileWidth = 16, .tileHeight = 16};

MoxSmartPtr<Qel2DImage> imageOfTiles(MoxSmartPtr<QelImageOp> const & op) {
    TileLimits const limits(1, 1000);
    return new Qel2DImage(op);
}

std::string noTile(std::string const & tile, std::string const & size, std::string const & image,
                   std::string const & rect) {
    return "Failed to generate tile " + tile + " for an Qel2DImage of size " + size +
           " tiles -- image rect " + image + " iteration rect " + rect;
}

template <class Walk>
std::int64_t pixelsOf(Walk & iter) {
    std::int64_t pixels = 0;
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.next())
            pixels += iter.get() <= 126;
    }
    return pixels;
}

}  // namespace

TEST(QelRectIterFaultTest, ARectangleThatLeavesTheImageRaises3AndComputesNothing) {
    struct Row {
        std::int32_t left, top, right, bottom, x, y;
        char const * tile;
        char const * rect;
    };
    for (Row const & row : {
             Row{0, 0, 48, 9, 0, 0, "(3,0)", "(0,0,49,10)"},
             Row{0, 0, 200, 9, 0, 5, "(3,0)", "(0,0,201,10)"},
             Row{5, 20, 40, 25, 5, 20, "(2,1)", "(5,20,36,6)"},  // within the last tile's cell
             Row{-1, 0, 20, 9, 5, 5, "(-1,0)", "(-1,0,22,10)"},
             Row{-17, 20, 20, 29, 5, 20, "(-2,1)", "(-17,20,38,10)"},
             Row{17, -1, 20, 9, 17, 5, "(1,-1)", "(17,-1,4,11)"},
             Row{17, -40, 20, 9, 17, -1, "(1,-1)", "(17,-40,4,50)"},
             Row{17, 3, 20, 32, 17, 5, "(1,2)", "(17,3,4,30)"},
             Row{17, 3, 20, 30, 17, 5, "(1,1)", "(17,3,4,28)"},
             Row{17, 3, 20, 99, 17, 70, "(1,4)", "(17,3,4,97)"},
             Row{-9, -9, -1, -1, -9, -9, "(-1,-1)", "(-9,-9,9,9)"},
         }) {
        SCOPED_TRACE(row.rect);
        MoxSmartPtr<CountingOp> const op = countingOp(sixTiles);
        MoxSmartPtr<Qel2DImage> const image = imageOfTiles(op);
        ConstIter iter(image, row.left, row.top, row.right, row.bottom);
        for (int round = 0; round < 2; ++round) {
            expectRaises(QelErrorCode::misuse, noTile(row.tile, "3 x 2", "(0,0,40,30)", row.rect),
                         [&] { iter.moveTo(row.x, row.y); });
            EXPECT_TRUE(iter.done());
            EXPECT_TRUE(iter.rowDone());
        }
        EXPECT_EQ(0, op->computes());
    }
}

TEST(QelRectIterFaultTest, ARectangleThatLeavesAnImageOfOneTileRaises3AndComputesNothing) {
    MoxSmartPtr<CountingOp> const op = countingOp({.width = 40, .height = 30});
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(op);
    ConstIter beside(image, 30, 0, 40, 9);
    expectRaises(QelErrorCode::misuse, noTile("(0,0)", "1 x 1", "(0,0,40,30)", "(30,0,11,10)"),
                 [&] { beside.toStart(); });
    ConstIter farBeside(image, 30, 0, 400, 9);
    expectRaises(QelErrorCode::misuse, noTile("(1,0)", "1 x 1", "(0,0,40,30)", "(30,0,371,10)"),
                 [&] { farBeside.toStart(); });
    ConstIter below(image, 30, 0, 39, 30);
    expectRaises(QelErrorCode::misuse, noTile("(0,0)", "1 x 1", "(0,0,40,30)", "(30,0,10,31)"),
                 [&] { below.toStart(); });
    EXPECT_EQ(0, op->computes());
}

TEST(QelRectIterFaultTest, ARectangleOutsideTheAnchoredTileRaises3AndComputesNothing) {
    // Tile (0,0) reaches from -10 to 5, but the image starts at 0.
    TestImage told = sixTiles;
    told.originX = -10;
    MoxSmartPtr<CountingOp> const op = countingOp(told);
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(op);
    ConstIter iter(image, -3, 0, 9, 9);
    expectRaises(QelErrorCode::misuse, noTile("(0,0)", "4 x 2", "(0,0,40,30)", "(-3,0,13,10)"),
                 [&] { iter.moveTo(2, 2); });
    EXPECT_EQ(0, op->computes());
}

TEST(QelRectIterFaultTest, ExtremeRectanglesNeitherOverflowNorAllocate) {
    MoxSmartPtr<CountingOp> const op =
        countingOp({.width = 40, .height = 30, .tileWidth = 1, .tileHeight = 1});
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(op);
    FaultySystem const system;
    ConstIter all(image, least, least, most, most);
    EXPECT_EQ(most, all.columnCount());
    all.next();
    expectRaises(QelErrorCode::misuse,
                 noTile("(-2147483648,-2147483648)", "40 x 30", "(0,0,40,30)",
                        "(-2147483648,-2147483648,4294967296,4294967296)"),
                 [&] { all.toStart(); });
    EXPECT_THROW(all.moveX(most), ZanError);
    EXPECT_EQ(-1, all.x());
    EXPECT_THROW(all.moveY(most), ZanError);
    all.moveX(least);
    EXPECT_EQ(std::int64_t{least} - 1, all.x());
    all.moveY(least);
    EXPECT_EQ(std::int64_t{least} - 1, all.y());
    EXPECT_THROW(all.moveTo(most, most), ZanError);
    all.moveX(most);
    all.moveY(most);
    EXPECT_EQ(std::int64_t{most} + 1, all.y());
    EXPECT_TRUE(all.done());
    ConstIter far(image, QelRect(most, most, most, most));
    EXPECT_EQ(most, far.right());
    EXPECT_THROW(far.toStart(), ZanError);
    EXPECT_EQ(0, op->computes());
    EXPECT_EQ(0U, system.allocations());
}

TEST(QelRectIterFaultTest, LongStepsWithinTheImageDoNotOverflow) {
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(countingOp(sixTiles));
    ConstIter iter(image);
    for (std::int32_t const n : {least, most}) {
        iter.moveTo(20, 20);
        iter.moveX(n);
        EXPECT_EQ(n < 0 ? -1 : 40, iter.x());
        iter.moveX(n);
        iter.moveY(n);
        iter.moveY(n);
        EXPECT_EQ(n < 0 ? -1 : 30, iter.y());
        EXPECT_TRUE(iter.done());
    }
}

TEST(QelRectIterFaultTest, AnOpThatRaisesLeavesTheIteratorDoneAndMoveToTriesAgain) {
    for (int failing = 1; failing <= 6; ++failing) {
        SCOPED_TRACE(failing);
        int computes = 0;
        MoxSmartPtr<Qel2DImage> const image =
            imageOfTiles(new HookedOp(sixTiles, [&](QelRectBuffer *) {
                if (++computes == failing) qelRaise(77, "no such luck");
            }));
        ConstIter iter(image);
        std::optional<ZanError> const error = errorOf([&] { pixelsOf(iter); });
        ASSERT_TRUE(error);
        EXPECT_EQ(77, error->getErrcode());
        EXPECT_TRUE(iter.done());
        EXPECT_TRUE(iter.rowDone());
        EXPECT_EQ(nullptr, iter.tile());
        iter.moveTo(1, 2, 2);
        EXPECT_EQ(gradientAt(1, 2, 2), iter.get());
        iter.moveTo(39, failing <= 3 ? 0 : 29, 1);
        EXPECT_EQ(gradientAt(39, failing <= 3 ? 0 : 29, 1), iter.get());
        EXPECT_EQ(40 * 30, pixelsOf(iter));
    }
}

TEST(QelRectIterFaultTest, AStepIntoATileThatFailsStandsThereAndTriesAgain) {
    bool fails = true;
    MoxSmartPtr<Qel2DImage> const image =
        imageOfTiles(new HookedOp(sixTiles, [&](QelRectBuffer * buffer) {
            if (fails && buffer->rect().y == 16) qelRaise(77, "no such luck");
        }));
    ConstIter iter(image);
    iter.moveTo(20, 15);
    EXPECT_THROW(iter.moveY(1), ZanError);
    EXPECT_TRUE(iter.done());
    EXPECT_EQ(20, iter.x());
    EXPECT_EQ(16, iter.y());
    fails = false;
    iter.moveX(0);
    EXPECT_EQ(gradientAt(20, 16, 0), iter.get());
}

TEST(QelRectIterFaultTest, EveryAllocationMayFailAndIsTriedAgain) {
    std::uint64_t failing = 1;
    for (bool failed = true; failed; ++failing) {
        SCOPED_TRACE(failing);
        FaultySystem system;
        {
            MoxSmartPtr<Qel2DImage> const image = imageOfTiles(countingOp(sixTiles));
            ConstIter iter(image);
            system.failAllocation(failing);
            try {
                EXPECT_EQ(40 * 30, pixelsOf(iter));
            } catch (ZanError const & error) {
                EXPECT_EQ(QelErrorCode::unexpectedException, error.getErrcode());
                EXPECT_TRUE(iter.done());
            }
            failed = system.failures() > 0;
            system.failAllocation(0);
            EXPECT_EQ(40 * 30, pixelsOf(iter));
        }
        EXPECT_EQ(0U, system.liveAllocations());
    }
    EXPECT_GE(failing, 7U);
}

TEST(QelRectIterFaultTest, AllocationsOfTheWritingFormMayFailToo) {
    FaultySystem system;
    MoxSmartPtr<CountingOp> const op = countingOp(sixTiles);
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(op);
    image->setCacheTiles(true);
    Iter iter(image);
    system.failAllocation(2);
    std::optional<ZanError> const error = errorOf([&] { iter.toStart(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::unexpectedException, error->getErrcode());
    EXPECT_TRUE(iter.done());
    iter.moveTo(39, 0, 2);
    iter.set(9);
    EXPECT_EQ(9, iter.get());
    EXPECT_EQ(0, op->computes());
}

TEST(QelRectIterFaultTest, AContainerWithoutATileRaises3) {
    MockContainer container;
    container.onCreateTile = [](Qel2DImage *, std::int32_t, std::int32_t) {
        return MoxSmartPtr<QelTile>();
    };
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(sixTiles, &container);
    ConstIter reading(image, 17, 17, 20, 20);
    Iter writing(image, 17, 17, 20, 20);
    std::string const text = noTile("(1,1)", "3 x 2", "(0,0,40,30)", "(17,17,4,4)");
    expectRaises(QelErrorCode::misuse, text, [&] { reading.toStart(); });
    expectRaises(QelErrorCode::misuse, text, [&] { writing.toStart(); });
    EXPECT_TRUE(reading.done());
}

TEST(QelRectIterFaultTest, ATileOfAnotherOrganisationRaises3) {
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(countingOp(sixTiles));
    MoxSmartPtr<QelTile> const tile =
        new QelTile(image->dataOrg()->withLayout(BAND_INTERLEAVED), QelTileId(1, 1));
    image->insertTile(tile);
    ConstIter iter(image, 17, 17, 20, 20);
    expectRaises(QelErrorCode::misuse, noTile("(1,1)", "3 x 2", "(0,0,40,30)", "(17,17,4,4)"),
                 [&] { iter.toStart(); });
}

TEST(QelRectIterFaultTest, ATileOfAnotherGridRaises3) {
    MoxSmartPtr<Qel2DImage> const image = imageOfTiles(countingOp(sixTiles));
    MoxSmartPtr<QelTile> const tile =
        new QelTile(image->dataOrg()->withOrigin(4, 0), QelTileId(1, 1));
    image->insertTile(tile);
    ConstIter iter(image, 17, 17, 20, 20);
    expectRaises(QelErrorCode::misuse, noTile("(1,1)", "3 x 2", "(0,0,40,30)", "(17,17,4,4)"),
                 [&] { iter.toStart(); });
}

TEST(QelRectIterFaultTest, PixelsThatAWrappedBufferDoesNotHaveRaise3) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(10, 5, 12, 9), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer->allocate();
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(buffer);
    ConstIter iter(image);
    expectRaises(QelErrorCode::misuse, noTile("(0,0)", "1 x 1", "(0,0,22,14)", "(0,0,22,14)"),
                 [&] { iter.toStart(); });
    iter.moveTo(10, 5);
    EXPECT_FALSE(iter.rowDone());
    EXPECT_THROW(iter.moveX(-1), ZanError);
    EXPECT_TRUE(iter.done());
}

TEST(QelRectIterFaultTest, AnImageWithoutPixelsRaises3) {
    QelRectBuffer nothing;
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(&nothing);
    ConstIter iter(image, 0, 0, 1, 1);
    expectRaises(QelErrorCode::misuse, noTile("(0,0)", "0 x 0", "[empty]", "(0,0,2,2)"),
                 [&] { iter.toStart(); });
    EXPECT_TRUE(ConstIter(image).done());
}

TEST(QelRectIterFaultTest, AnImageWithNothingToComputeWithPassesItsErrorOn) {
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(sixTiles);
    ConstIter iter(image);
    std::optional<ZanError> const error = errorOf([&] { iter.toStart(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::noPixelSource, error->getErrcode());
    EXPECT_TRUE(iter.done());
}
