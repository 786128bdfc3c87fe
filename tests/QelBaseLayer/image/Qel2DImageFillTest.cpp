#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"

// The ways in which fillRWBuffer() gets pixels into a buffer, told apart by what is computed and
// what is copied.

namespace {

class Qel2DImageFillTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_EQ("", output_.text()); }

    // A buffer that a tile's memory fits: laid out like the tile of that column and row, from its
    // corner on, without memory.
    static MoxSmartPtr<QelRectBuffer> likeTile(Qel2DImage & image, std::int32_t x, std::int32_t y,
                                               std::int32_t width, std::int32_t height) {
        QelRect const tile = image.dataOrg()->tileRect(x, y);
        return new QelRectBuffer(image.dataOrg(), tile.x, tile.y, width, height);
    }

    static void expectPicture(QelRectBuffer const & buffer) {
        EXPECT_TRUE(showsPixels(buffer, buffer.rect(), gradientAt));
    }

    void expectCounts(int computes, std::int64_t copied) const {
        EXPECT_EQ(computes, op->computes());
        EXPECT_EQ(copied, image->statistics().pixelsCopied);
        EXPECT_EQ(computes, image->statistics().tilesComputed);
        EXPECT_EQ(op->pixels(), image->statistics().pixelsComputed);
    }

    // From here on the op writes into nothing but tiles.
    void useOpForTiles() {
        op = countingOpForTiles(report);
        image = imageOf(op);
    }

    // 3 by 2 tiles of 128 by 128.
    TestImage const report{.width = 300, .height = 200};
    MoxSmartPtr<CountingOp> op = countingOp(report);
    MoxSmartPtr<Qel2DImage> image = imageOf(op);
    QelRect const inOneTile{140, 130, 20, 10};
    QelRect const inFourTiles{100, 100, 60, 50};
    OutputCapture output_;
};

}  // namespace

TEST_F(Qel2DImageFillTest, ABufferWithoutMemoryStealsTheTiles) {
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    expectPicture(*dest);
    expectCounts(1, 0);
    EXPECT_EQ(QelRect(128, 0, 128, 128), op->rects().at(0));
    EXPECT_EQ(nullptr, image->findTile(1, 0).get());
    EXPECT_EQ(1, dest->referenceCount());
}

TEST_F(Qel2DImageFillTest, AnOpThatWritesOnlyIntoTilesCanStillBeStolenFrom) {
    useOpForTiles();
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    expectPicture(*dest);
    expectCounts(1, 0);
}

TEST_F(Qel2DImageFillTest, ATileOfTheCacheThatWasStolenFromIsNotCompleteAndIsComputedAgain) {
    image->setCacheTiles(true);
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 128, 128);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    MoxSmartPtr<QelTile> const tile = image->findTile(1, 0);
    ASSERT_TRUE(tile);
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_EQ(4U, image->tileFlags(1, 0));
    expectPicture(*image->getTile(1, 0));
    EXPECT_NE(dest->dataBuffer().get(), tile->dataBuffer().get());
    expectCounts(2, 0);
}

TEST_F(Qel2DImageFillTest, ABufferWithMemoryNeverSteals) {
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
    dest->allocate();
    std::uint8_t const * const memory = dest->getData();
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    EXPECT_EQ(memory, dest->getData());
    expectPicture(*dest);
    expectCounts(1, 0);
    EXPECT_EQ(dest->rect(), op->rects().at(0));
}

TEST_F(Qel2DImageFillTest, ABufferWhoseMemoryToComeIsSharedNeverSteals) {
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
    MoxSmartPtr<QelRectBuffer> const sharer = dest->subBuffer(dest->rect());
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*sharer);
    expectCounts(1, 0);
    EXPECT_EQ(dest->rect(), op->rects().at(0));
}

TEST_F(Qel2DImageFillTest, MemoryThatDoesNotFitIsNotStolen) {
    QelRect const tile(128, 0, 128, 128);
    MoxSmartPtr<QelDataOrg> const planar = image->dataOrg()->withLayout(BAND_INTERLEAVED);
    std::vector<MoxSmartPtr<QelRectBuffer>> const dests{
        // another layout, another size, not at the tile's corner
        new QelRectBuffer(planar, tile),
        new QelRectBuffer(image->dataOrg()->withSize(64, 64), tile),
        new QelRectBuffer(image->dataOrg(), 130, 0, 60, 60)};
    for (MoxSmartPtr<QelRectBuffer> const & dest : dests) {
        EXPECT_TRUE(image->fillRWBuffer(dest, false));
        expectPicture(*dest);
        EXPECT_EQ(dest->rect(), op->rects().back());
    }
    expectCounts(3, 0);
}

TEST_F(Qel2DImageFillTest, ATileThatTheAnchorCutsIsNotStolen) {
    op = countingOp({.width = 300, .height = 200, .originX = 300});
    image = imageOf(op);
    QelRect const visible(0, 0, 44, 128);
    // The second has the pixels where the tile has them, but starts elsewhere.
    for (QelRect const & rect : {visible, QelRect(-84, 0, 128, 128)}) {
        MoxSmartPtr<QelRectBuffer> const dest =
            new QelRectBuffer(image->dataOrg(), rect.x, rect.y, rect.width, rect.height);
        EXPECT_TRUE(image->fillRWBuffer(dest, false));
        EXPECT_TRUE(showsPixels(*dest, visible, gradientAt));
        EXPECT_EQ(0, dest->dataOffset());
        EXPECT_EQ(visible, op->rects().back());
    }
    expectCounts(2, 0);
}

TEST_F(Qel2DImageFillTest, ABufferThatStartsWithinATileDoesNotSteal) {
    QelRect const rect(130, 0, 60, 60);
    MoxSmartPtr<QelRectBuffer> const whole = likeTile(*image, 1, 0, 128, 128);
    MoxSmartPtr<QelRectBuffer> const dest = whole->subBuffer(rect);
    whole->releaseData();
    EXPECT_EQ(6, dest->dataOffset());
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    expectPicture(*dest);
    EXPECT_EQ(rect, op->rects().back());
}

TEST_F(Qel2DImageFillTest, ACompleteTileThatSomebodyHoldsIsCopiedAndNotStolen) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 0);
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(1, 50 * 40);
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(image->fillRWBuffer(likeTile(*image, 1, 0, 50, 40), false));
}

TEST_F(Qel2DImageFillTest, ATileThatSomebodyFindsWhileItIsComputedIsCopiedAndNotStolen) {
    for (bool const cached : {false, true}) {
        MoxSmartPtr<QelTile> found;
        image =
            imageOf(new HookedOp(report, [&](QelRectBuffer *) { found = image->findTile(1, 0); }));
        image->setCacheTiles(cached);
        MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
        EXPECT_TRUE(image->fillRWBuffer(dest, true));
        expectPicture(*dest);
        ASSERT_TRUE(found);
        EXPECT_TRUE(found->isState(QelRenderedItem::complete));
        expectPicture(*found);
        EXPECT_EQ(1, image->statistics().tilesComputed);
        EXPECT_EQ(50 * 40, image->statistics().pixelsCopied);
    }
}

TEST_F(Qel2DImageFillTest, ABufferInOneTileIsComputedIntoDirectly) {
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inOneTile);
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    expectPicture(*dest);
    expectCounts(1, 0);
    EXPECT_EQ(inOneTile, op->rects().at(0));
    EXPECT_EQ(nullptr, image->findTile(1, 1).get());
    EXPECT_EQ(0U, image->tileFlags(1, 1));
}

TEST_F(Qel2DImageFillTest,
       ComputingDirectlyLeavesTheTileOfTheCacheIncompleteAndWithoutDependencies) {
    image->setCacheTiles(true);
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 1);
    tile->addDependency(MoxSmartPtr<QelRectBuffer>(new QelRectBuffer));
    image->setCacheTiles(false);
    EXPECT_TRUE(image->fillRWBuffer(paintedBuffer(image->dataOrg(), inOneTile), false));
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_EQ(0, tile->dependencyCount());
}

TEST_F(Qel2DImageFillTest, ATileThatOthersWaitForIsCompletedAndCopied) {
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 1);
    MoxSmartPtr<QelTile> const other = tile;
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inOneTile);
    EXPECT_FALSE(image->fillRWBuffer(dest, false));
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(1, inOneTile.area());
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
}

TEST_F(Qel2DImageFillTest, AViewOfATileOfTheCacheCountsAsAThirdParty) {
    image->setCacheTiles(true);
    MoxSmartPtr<QelRectBuffer> const view = image->createTile(1, 1)->subBuffer(inOneTile);
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inOneTile);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectCounts(1, inOneTile.area());
    expectPicture(*view);
}

TEST_F(Qel2DImageFillTest, AnOpThatCannotFillIsCopiedFromItsTile) {
    useOpForTiles();
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inOneTile);
    EXPECT_FALSE(image->fillRWBuffer(dest, false));
    EXPECT_TRUE(showsPixels(*dest, inOneTile, painted));
    expectCounts(0, 0);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(1, inOneTile.area());
    EXPECT_EQ(QelRect(128, 128, 128, 72), op->rects().at(0));
}

TEST_F(Qel2DImageFillTest, ABufferOverManyTilesIsComputedIntoPieceByPiece) {
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inFourTiles);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(4, 0);
    EXPECT_EQ((std::vector<QelRect>{
                  {100, 100, 28, 28}, {128, 100, 32, 28}, {100, 128, 28, 22}, {128, 128, 32, 22}}),
              op->rects());
    EXPECT_EQ(nullptr, image->findTile(0, 0).get());
}

TEST_F(Qel2DImageFillTest, ManyTilesNeedLeaveToCopy) {
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inFourTiles);
    EXPECT_FALSE(image->fillRWBuffer(dest, false));
    EXPECT_TRUE(showsPixels(*dest, inFourTiles, painted));
    expectCounts(0, 0);
}

TEST_F(Qel2DImageFillTest, ABufferOverManyTilesIsCopiedFromAnOpThatCannotFill) {
    useOpForTiles();
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inFourTiles);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(4, inFourTiles.area());
    EXPECT_EQ(QelRect(0, 0, 128, 128), op->rects().at(0));
}

TEST_F(Qel2DImageFillTest, CompleteTilesAndThoseThatOthersWaitForAreCopiedAmongComputedOnes) {
    MoxSmartPtr<QelTile> const complete = image->getTile(0, 0);
    MoxSmartPtr<QelTile> const awaited = image->createTile(1, 1);
    MoxSmartPtr<QelTile> const waiting = awaited;
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inFourTiles);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(4, 28 * 28 + 32 * 22);
    EXPECT_TRUE(awaited->isState(QelRenderedItem::complete));
}

TEST_F(Qel2DImageFillTest, ABufferWithoutMemoryOverManyTilesGetsOne) {
    for (bool const released : {false, true}) {
        MoxSmartPtr<QelRectBuffer> const dest = emptyBuffer(image->dataOrg(), inFourTiles);
        if (released) dest->releaseData();
        EXPECT_TRUE(image->fillRWBuffer(dest, true));
        expectPicture(*dest);
    }
    expectCounts(8, 0);
}

TEST_F(Qel2DImageFillTest, OnlyTheInsideOfTheImageIsWritten) {
    for (QelRect const & rect : {QelRect(-20, -30, 60, 50), QelRect(280, 190, 60, 50),
                                 QelRect(290, 10, 20, 20), QelRect(-50, -50, 500, 400)}) {
        MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), rect);
        EXPECT_TRUE(image->fillRWBuffer(dest, true));
        EXPECT_TRUE(showsPixels(*dest, rect, framedBy(report.rect(), gradientAt, paint)));
        MoxSmartPtr<QelRectBuffer> const bare = emptyBuffer(image->dataOrg(), rect);
        bare->releaseData();
        EXPECT_TRUE(image->fillRWBuffer(bare, true));
        QelRect const inside = rect.intersect(report.rect());
        EXPECT_TRUE(showsPixels(*bare, inside, gradientAt));
    }
}

TEST_F(Qel2DImageFillTest, ARectangleOutsideTheImageIsFilledWithNothing) {
    for (QelRect const & rect : {QelRect(-20, 0, 20, 10), QelRect(0, 200, 10, 10),
                                 QelRect(300, 0, 500, 500), QelRect(50, 50, 0, 10)}) {
        for (bool const allowCopy : {false, true}) {
            MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), rect);
            EXPECT_TRUE(image->fillRWBuffer(dest, allowCopy));
            EXPECT_TRUE(showsPixels(*dest, rect, painted));
            EXPECT_TRUE(image->fillRWBuffer(emptyBuffer(image->dataOrg(), rect), allowCopy));
        }
    }
    expectCounts(0, 0);
}

TEST_F(Qel2DImageFillTest, AnotherElementTypeIsConvertedFromTiles) {
    MoxSmartPtr<QelRectBuffer> const dest =
        paintedBuffer(image->dataOrg()->withDataType(QelDataType::Float), inFourTiles);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    expectCounts(4, inFourTiles.area());
}

TEST_F(Qel2DImageFillTest, WithoutOpAndContainerNothingIsWritten) {
    MoxSmartPtr<Qel2DImage> const bare = imageWithoutOp(report);
    MoxSmartPtr<QelTile> const tile = bare->createTile(0, 0);
    fillPixels(*tile, tile->rect(), gradientAt);
    tile->setComplete(true);
    for (QelRect const & rect : {inOneTile, inFourTiles, QelRect(120, 0, 20, 20)}) {
        for (bool const allowCopy : {false, true}) {
            MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(bare->dataOrg(), rect);
            EXPECT_FALSE(bare->fillRWBuffer(dest, allowCopy));
            EXPECT_TRUE(showsPixels(*dest, rect, painted));
            MoxSmartPtr<QelRectBuffer> const empty = emptyBuffer(bare->dataOrg(), rect);
            EXPECT_FALSE(bare->fillRWBuffer(empty, allowCopy));
            EXPECT_FALSE(empty->isAllocated());
        }
    }
    // What is there can be copied.
    MoxSmartPtr<QelRectBuffer> const dest =
        paintedBuffer(bare->dataOrg(), QelRect(100, 100, 28, 28));
    EXPECT_FALSE(bare->fillRWBuffer(dest, false));
    EXPECT_TRUE(bare->fillRWBuffer(dest, true));
    expectPicture(*dest);
    EXPECT_EQ(28 * 28, bare->statistics().pixelsCopied);
}

TEST_F(Qel2DImageFillTest, AContainerThatCanGenerateWritesIntoTheBuffer) {
    MockContainer container;
    container.onCanGenRect = [](QelRectBuffer *) { return true; };
    container.onGenRect = [](Qel2DImage *, QelRectBuffer * buffer) {
        fillPixels(*buffer, buffer->rect(), gradientAt);
    };
    image = imageWithoutOp(report, &container);
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inOneTile);
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    expectPicture(*dest);
    EXPECT_EQ("canGenRect createTile(1,1) determineOp genRect workDone(1)", container.calls());

    container.forgetCalls();
    MoxSmartPtr<QelRectBuffer> const large =
        paintedBuffer(image->dataOrg(), QelRect(100, 10, 60, 50));
    EXPECT_TRUE(image->fillRWBuffer(large, true));
    expectPicture(*large);
    EXPECT_EQ(
        "canGenRect createTile(0,0) determineOp genRect workDone(1) "
        "createTile(1,0) determineOp genRect workDone(1)",
        container.calls());
    EXPECT_EQ(3, image->statistics().tilesComputed);
    EXPECT_EQ(0, image->statistics().pixelsCopied);
}

TEST_F(Qel2DImageFillTest, AContainerThatCannotGenerateIsCopiedFromItsTiles) {
    MockContainer container;
    container.onComputeTile = [](QelTile * tile) {
        tile->getData();
        fillPixels(*tile, tile->rect(), gradientAt);
        tile->setComplete(true);
    };
    image = imageWithoutOp(report, &container);
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), inOneTile);
    EXPECT_FALSE(image->fillRWBuffer(dest, false));
    EXPECT_EQ("canGenRect", container.calls());
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    expectPicture(*dest);
    EXPECT_EQ("canGenRect canGenRect createTile(1,1) determineOp computeTile(1,1)",
              container.calls());
}

TEST_F(Qel2DImageFillTest, AContainersTileIsStolen) {
    MockContainer container;
    image = imageOf(op, &container);
    MoxSmartPtr<QelRectBuffer> const dest = likeTile(*image, 1, 0, 50, 40);
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    expectPicture(*dest);
    EXPECT_EQ("createTile(1,0) workDone(1)", container.calls());
    expectCounts(1, 0);
}

TEST_F(Qel2DImageFillTest, AnImageAndABufferOnAStackAreLeftAlone) {
    Qel2DImage local(op);
    for (QelRect const & rect : {QelRect(128, 0, 50, 40), inOneTile, inFourTiles,
                                 QelRect(290, 190, 40, 40), QelRect(900, 0, 9, 9)}) {
        for (bool const allowCopy : {false, true}) {
            QelRectBuffer dest(local.dataOrg()->withSize(128, 128), rect);
            bool const filled = local.fillRWBuffer(&dest, allowCopy);
            EXPECT_EQ(0, dest.refCount());
            EXPECT_EQ(0, local.refCount());
            QelRect const inside = rect.intersect(local.imageRect());
            if (filled && !inside.isEmpty()) {
                EXPECT_TRUE(showsPixels(dest, inside, gradientAt));
            }
            local.getData(rect, allowCopy);
            EXPECT_EQ(0, local.refCount());
            QelRectBuffer shared(local.dataOrg(), rect);
            local.shareBuffer(&shared, rect, allowCopy);
            EXPECT_EQ(0, shared.refCount());
            EXPECT_EQ(0, local.refCount());
        }
    }
}

TEST_F(Qel2DImageFillTest, ABufferWithoutOrganisationIsAnErrorAndNotACrash) {
    for (QelRect const & rect : {inOneTile, inFourTiles}) {
        MoxSmartPtr<QelRectBuffer> const dest = new QelRectBuffer(nullptr, rect);
        EXPECT_FALSE(image->fillRWBuffer(dest, false));
        EXPECT_THROW(image->fillRWBuffer(dest, true), ZanError);
        image->shareBuffer(dest, rect, false);
        EXPECT_THROW(image->shareBuffer(dest, rect, true), ZanError);
    }
}
