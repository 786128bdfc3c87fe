#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"
#include "QelError.h"

// Making, computing and finding tiles.

namespace {

constexpr char const * noSource =
    "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an QelImageOp "
    "or containing connection point with which to generate a tile (getTile)";

class Qel2DImageTileTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_EQ("", output_.text()); }

    // 3 by 2 tiles of 128 by 128.
    TestImage const report{.width = 300, .height = 200};
    MoxSmartPtr<CountingOp> const op = countingOp(report);
    MoxSmartPtr<Qel2DImage> const image = imageOf(op);
    OutputCapture output_;
};

}  // namespace

TEST_F(Qel2DImageTileTest, GetTileComputes) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    EXPECT_EQ(QelTileId(1, 1), tile->tileId());
    EXPECT_EQ(image.get(), tile->container());
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ(QelRect(128, 128, 128, 72), tile->rect());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_EQ(1, op->computes());
    EXPECT_EQ(tile.get(), image->getTile(1, 1).get());
    EXPECT_EQ(1, op->computes());
    EXPECT_EQ(1, image->statistics().tilesComputed);
    EXPECT_EQ(128 * 72, image->statistics().pixelsComputed);
    EXPECT_EQ(0, image->statistics().pixelsCopied);
}

TEST_F(Qel2DImageTileTest, CreateTileComputesNothing) {
    EXPECT_EQ(nullptr, image->findTile(1, 0).get());
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 0);
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_EQ(tile.get(), image->createTile(1, 0).get());
    EXPECT_EQ(tile.get(), image->findTile(1, 0).get());
    EXPECT_EQ(0, op->computes());
    EXPECT_EQ(1, tile->refCount());
}

TEST_F(Qel2DImageTileTest, PositionsOutsideTheGridAreOneLineAndNull) {
    for (auto const & [x, y] : {std::tuple{-1, 0}, std::tuple{0, -1}, std::tuple{3, 0},
                                std::tuple{0, 2}, std::tuple{2147483647, -2147483647}}) {
        std::string const rest = " " + std::to_string(x) + " " + std::to_string(y) + " 3 2 " +
                                 addressText(image.get()) + "\n";
        EXPECT_EQ(nullptr, image->getTile(x, y).get());
        EXPECT_EQ("OUT OF RANGE -- getTile" + rest, output_.take());
        EXPECT_EQ(nullptr, image->createTile(x, y).get());
        EXPECT_EQ("OUT OF RANGE -- createTile" + rest, output_.take());
        EXPECT_EQ(nullptr, image->findTile(x, y).get());
        EXPECT_EQ("OUT OF RANGE -- findTile" + rest, output_.take());
        MoxSmartPtr<QelTile> const tile =
            new QelTile(image->dataOrg(), QelTileId(x == 2147483647 ? 9 : x, y < -9 ? 9 : y));
        EXPECT_EQ(nullptr, image->insertTile(tile));
        EXPECT_EQ("OUT OF RANGE -- insertTile " + std::to_string(tile->tileId().tileX) + " " +
                      std::to_string(tile->tileId().tileY) + " 3 2 " + addressText(image.get()) +
                      "\n",
                  output_.take());
        EXPECT_EQ(nullptr, tile->container());
    }
    EXPECT_EQ(0, op->computes());
}

TEST_F(Qel2DImageTileTest, TilesOfTheLastColumnAndRowAreCut) {
    EXPECT_EQ(QelRect(0, 0, 128, 128), image->createTile(0, 0)->rect());
    EXPECT_EQ(QelRect(256, 0, 44, 128), image->createTile(2, 0)->rect());
    EXPECT_EQ(QelRect(0, 128, 128, 72), image->createTile(0, 1)->rect());
    MoxSmartPtr<QelTile> const corner = image->createTile(2, 1);
    EXPECT_EQ(QelRect(256, 128, 44, 72), corner->rect());
    EXPECT_EQ(image->dataOrg()->size(), corner->dataBuffer()->size());
}

TEST_F(Qel2DImageTileTest, WithoutCachingATileGoesWithItsLastHolder) {
    image->getTile(1, 1);
    EXPECT_EQ(nullptr, image->findTile(1, 1).get());
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_EQ(2, op->computes());
}

TEST_F(Qel2DImageTileTest, WithCachingTilesStay) {
    image->setCacheTiles(true);
    EXPECT_TRUE(image->cacheTiles());
    image->getTile(1, 1);
    EXPECT_EQ(2, image->findTile(1, 1)->refCount());
    image->getTile(1, 1);
    image->getData(QelRect(200, 150, 10, 10), false);
    EXPECT_EQ(1, op->computes());
}

TEST_F(Qel2DImageTileTest, TurningCachingOnKeepsTheTilesThatAreThere) {
    MoxSmartPtr<QelTile> tile = image->getTile(1, 1);
    image->setCacheTiles(true);
    EXPECT_EQ(2, tile->refCount());
    image->setCacheTiles(true);
    EXPECT_EQ(2, tile->refCount());
    tile.release();
    EXPECT_TRUE(image->findTile(1, 1)->isState(QelRenderedItem::complete));
}

TEST_F(Qel2DImageTileTest, TurningCachingOffDropsWhatNobodyHolds) {
    image->setCacheTiles(true);
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    image->getTile(0, 0);
    image->setCacheTiles(false);
    EXPECT_EQ(nullptr, image->findTile(0, 0).get());
    EXPECT_EQ(tile.get(), image->findTile(1, 1).get());
    EXPECT_EQ(1, tile->refCount());
    image->setCacheTiles(false);
    EXPECT_EQ(1, tile->refCount());
}

TEST_F(Qel2DImageTileTest, ATileThatIsNotCompleteAnyMoreIsComputedAgain) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    tile->setComplete(false);
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_EQ(tile.get(), image->getTile(1, 1).get());
    EXPECT_EQ(2, op->computes());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

TEST_F(Qel2DImageTileTest, ATileComputesItself) {
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 1);
    tile->compute();
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ(1, op->computes());
    EXPECT_EQ(1, tile->refCount());
}

TEST_F(Qel2DImageTileTest, TilesOutliveTheImage) {
    for (bool const cached : {false, true}) {
        MoxSmartPtr<Qel2DImage> mortal = imageOf(op);
        mortal->setCacheTiles(cached);
        MoxSmartPtr<QelTile> const tile = mortal->getTile(1, 1);
        MoxSmartPtr<QelTile> const unfinished = mortal->createTile(0, 0);
        mortal.release();
        EXPECT_EQ(nullptr, tile->container());
        EXPECT_EQ(nullptr, unfinished->container());
        EXPECT_EQ(1, tile->refCount());
        EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
        expectRaises(QelErrorCode::nullPointer,
                     "An QelTile is not owned by an Qel2DImage in QelTile::computeTile",
                     [&unfinished] { unfinished->compute(); });
    }
}

TEST_F(Qel2DImageTileTest, AnInsertedTileIsFoundAndCut) {
    MoxSmartPtr<QelTile> const tile = new QelTile(image->dataOrg(), QelTileId(2, 1));
    EXPECT_EQ(tile.get(), image->insertTile(tile));
    EXPECT_EQ(tile.get(), image->findTile(2, 1).get());
    EXPECT_EQ(QelRect(256, 128, 44, 72), tile->rect());
    EXPECT_EQ(image.get(), tile->container());
    EXPECT_EQ(1, tile->refCount());
}

TEST_F(Qel2DImageTileTest, InsertingOverAnOccupiedSlotDetachesTheOldTile) {
    for (bool const cached : {false, true}) {
        image->setCacheTiles(cached);
        MoxSmartPtr<QelTile> const old = image->getTile(1, 1);
        MoxSmartPtr<QelTile> const tile = new QelTile(image->dataOrg(), QelTileId(1, 1));
        image->insertTile(tile);
        EXPECT_EQ(nullptr, old->container());
        EXPECT_EQ(1, old->refCount());
        EXPECT_TRUE(showsPixels(*old, old->rect(), gradientAt));
        EXPECT_EQ(tile.get(), image->findTile(1, 1).get());
        EXPECT_EQ(cached ? 2 : 1, tile->refCount());
        // Again: nothing happens.
        image->insertTile(tile);
        EXPECT_EQ(cached ? 2 : 1, tile->refCount());
        EXPECT_EQ(image.get(), tile->container());
    }
}

TEST_F(Qel2DImageTileTest, InsertingOverATileThatOnlyTheImageHoldsDeletesIt) {
    image->setCacheTiles(true);
    std::int64_t const blocks = QelSystemConfig::liveBlocks;
    image->getTile(1, 1);
    EXPECT_EQ(blocks + 1, QelSystemConfig::liveBlocks);
    image->insertTile(MoxSmartPtr<QelTile>(new QelTile(image->dataOrg(), QelTileId(1, 1))));
    EXPECT_EQ(blocks, QelSystemConfig::liveBlocks);
}

TEST_F(Qel2DImageTileTest, ATileMovesFromOneImageToAnother) {
    for (bool const fromCached : {false, true}) {
        for (bool const toCached : {false, true}) {
            MoxSmartPtr<Qel2DImage> const from = imageOf(op);
            MoxSmartPtr<Qel2DImage> const to = imageOf(op);
            from->setCacheTiles(fromCached);
            to->setCacheTiles(toCached);
            MoxSmartPtr<QelTile> const tile = from->getTile(1, 1);
            to->insertTile(tile);
            EXPECT_EQ(to.get(), tile->container());
            EXPECT_EQ(nullptr, from->findTile(1, 1).get());
            EXPECT_EQ(tile.get(), to->getTile(1, 1).get());
            EXPECT_EQ(toCached ? 2 : 1, tile->refCount());
        }
    }
}

TEST_F(Qel2DImageTileTest, ATileThatOnlyItsImageHoldsCanMove) {
    MoxSmartPtr<Qel2DImage> const to = imageOf(op);
    to->setCacheTiles(true);
    image->setCacheTiles(true);
    QelTile * const tile = image->getTile(1, 1);
    to->insertTile(tile);
    EXPECT_EQ(1, tile->refCount());
    EXPECT_EQ(tile, to->getTile(1, 1).get());
    EXPECT_EQ(1, op->computes());
}

TEST_F(Qel2DImageTileTest, NothingToComputeWithRaises602AndKeepsTheTile) {
    MoxSmartPtr<Qel2DImage> const bare = imageWithoutOp(report);
    bare->setCacheTiles(true);
    expectRaises(QelErrorCode::noPixelSource, noSource, [&bare] { bare->getTile(1, 1); });
    ASSERT_TRUE(bare->findTile(1, 1));
    EXPECT_FALSE(bare->findTile(1, 1)->isState(QelRenderedItem::complete));
    EXPECT_EQ(2, bare->findTile(1, 1)->refCount());
    MoxSmartPtr<QelTile> const other = bare->createTile(0, 0);
    expectRaises(QelErrorCode::noPixelSource, noSource, [&other] { other->compute(); });
}

TEST_F(Qel2DImageTileTest, AForeignExceptionOfTheOpRaises10) {
    for (bool const isStandard : {true, false}) {
        MoxSmartPtr<Qel2DImage> const failing =
            imageOf(new HookedOp(report, [isStandard](QelRectBuffer *) {
                errno = isStandard ? ENOENT : 0;
                if (isStandard) throw std::runtime_error("broken");
                throw 42;
            }));
        failing->setOpContext(77);
        expectRaises(QelErrorCode::unexpectedException,
                     foreignText("getTile(1,0) calling _op->getTile(t,77)", *failing,
                                 isStandard ? ENOENT : 0),
                     [&failing] { failing->getTile(1, 0); });
        EXPECT_FALSE(failing->computing());
        EXPECT_EQ(nullptr, failing->findTile(1, 0).get());
    }
}

TEST_F(Qel2DImageTileTest, AForeignExceptionOfTheContainerRaises10) {
    MockContainer container;
    container.onComputeTile = [](QelTile *) {
        errno = EIO;
        throw std::runtime_error("broken");
    };
    MoxSmartPtr<Qel2DImage> const failing = imageWithoutOp(report, &container);
    expectRaises(QelErrorCode::unexpectedException,
                 foreignText("getTile(1,0) calling _container->computeTile(t)", *failing, EIO),
                 [&failing] { failing->getTile(1, 0); });
    EXPECT_FALSE(failing->computing());
}

TEST_F(Qel2DImageTileTest, AnErrorOfTheLibraryPassesUnchanged) {
    auto const cancel = [](QelRectBuffer *) { qelRaise(204, "cancelled by a test"); };
    MoxSmartPtr<Qel2DImage> const failing = imageOf(new HookedOp(report, cancel));
    expectRaises(QelErrorCode::cancelled, "cancelled by a test",
                 [&failing] { failing->getTile(1, 0); });

    MockContainer container;
    container.onComputeTile = [](QelTile *) { throw ZanError("Other", 204, __FILE__, __LINE__); };
    MoxSmartPtr<Qel2DImage> const contained = imageWithoutOp(report, &container);
    auto const error = errorOf([&contained] { contained->getTile(1, 0); });
    ASSERT_TRUE(error);
    EXPECT_STREQ("Other error 204", error->getMsg());
    EXPECT_EQ(QelErrorCode::cancelled, error->getErrcode());
}

TEST_F(Qel2DImageTileTest, ATileWhoseComputeFailedIsComputedWhenItIsAskedForAgain) {
    MoxSmartPtr<HookedOp> const failing =
        new HookedOp(report, [](QelRectBuffer *) { qelRaise(204, ""); });
    MoxSmartPtr<Qel2DImage> const patient = imageOf(failing);
    patient->setCacheTiles(true);
    EXPECT_THROW(patient->getTile(1, 1), ZanError);
    EXPECT_FALSE(patient->findTile(1, 1)->isState(QelRenderedItem::complete));
    failing->onCompute = nullptr;
    MoxSmartPtr<QelTile> const tile = patient->getTile(1, 1);
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}
