#include <cstdint>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"
#include "MockContainer.h"
#include "OutputCapture.h"

// What an image asks its container for, and what its tiles tell it.

namespace {

class Qel2DImageContainerTest : public testing::Test {
  protected:
    // 3 by 2 tiles of 128 by 128.
    TestImage const report{.width = 300, .height = 200};
    MockContainer container_;
    OutputCapture output_;
};

void computeAndComplete(QelTile * tile) {
    tile->getData();
    fillPixels(*tile, tile->rect(), gradientAt);
    tile->setComplete(true);
}

class Qel2DImageContainerNoticeTest : public testing::Test {
  protected:
    // 3 by 2 tiles of 128 by 128.
    TestImage const report{.width = 300, .height = 200};
    OutputCapture output_;
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report));
};

constexpr char const * populatedTwice =
    ": tile location was populated more than once. Possible Tile dependency mismatch";

}  // namespace

TEST_F(Qel2DImageContainerTest, MakesAndComputesTilesWithoutAnOp) {
    container_.onComputeTile = computeAndComplete;
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(report, &container_);
    EXPECT_EQ("", container_.calls());
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 0);
    EXPECT_EQ("createTile(1,0) determineOp computeTile(1,0)", container_.calls());
    EXPECT_EQ(QelTileId(1, 0, 300, 200), tile->tileId());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    image->getTile(1, 0);
    image->createTile(1, 0);
    image->findTile(1, 0);
    EXPECT_EQ("createTile(1,0) determineOp computeTile(1,0)", container_.calls());
}

TEST_F(Qel2DImageContainerTest, ChoosesAnOpWhenATileIsToBeComputed) {
    container_.onDetermineOp = [this](Qel2DImage * image) { image->setOp(new GradientOp(report)); };
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(report, &container_);
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 0);
    EXPECT_EQ("createTile(1,0) determineOp workDone(1)", container_.calls());
    EXPECT_EQ(tile.get(), image->findTile(1, 0).get());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    container_.forgetCalls();
    image->getTile(0, 0);
    EXPECT_EQ("createTile(0,0) workDone(1)", container_.calls());
}

TEST_F(Qel2DImageContainerTest, AnOpThatChangesTheGridGetsItsTilesMadeAnew) {
    MoxSmartPtr<CountingOp> const op = countingOp(report);
    container_.onDetermineOp = [&op](Qel2DImage * image) { image->setOp(op); };
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(
        {.width = 300, .height = 200, .tileWidth = 50, .tileHeight = 50}, &container_);
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 0);
    EXPECT_EQ("createTile(1,0) determineOp createTile(1,0) workDone(1)", container_.calls());
    EXPECT_EQ(3, image->tilesAcross());
    EXPECT_EQ(QelRect(128, 0, 128, 128), tile->rect());
    EXPECT_EQ(tile.get(), image->findTile(1, 0).get());
    EXPECT_EQ(1, op->computes());
    EXPECT_EQ("", output_.text());
}

// The container of another image, which is asked in between, is the one that inserts the tile.
TEST_F(Qel2DImageContainerTest, ATileGoesIntoTheGridThatItWasMadeFor) {
    container_.onDetermineOp = [this](Qel2DImage * image) { image->setOp(new GradientOp(report)); };
    MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(
        {.width = 300, .height = 200, .tileWidth = 50, .tileHeight = 50}, &container_);
    MockContainer between;
    MoxSmartPtr<Qel2DImage> const other = imageWithoutOp(report, &between);
    auto const makePlain = container_.onCreateTile;
    container_.onCreateTile = [&](Qel2DImage *, std::int32_t x, std::int32_t y) {
        if (x == 0) return makePlain(image, x, y);
        MoxSmartPtr<QelTile> const tile = new QelTile(image->dataOrg(), QelTileId(x, y));
        image->getTile(0, 0);  // for which the container chooses an op, and so another grid
        between.onCreateTile = [&image, tile](auto...) {
            image->insertTile(tile);
            return MoxSmartPtr<QelTile>();
        };
        other->createTile(0, 0);
        return tile;
    };
    MoxSmartPtr<QelTile> const made = image->createTile(1, 0);
    EXPECT_EQ(3, image->tilesAcross());
    EXPECT_EQ(QelRect(50, 0, 50, 50), made->rect());
    EXPECT_EQ(nullptr, image->findTile(1, 0).get());
    EXPECT_EQ(nullptr, made->container());
}

TEST_F(Qel2DImageContainerTest, AnOpThatChangesTheGridDuringAFillComputesOnce) {
    for (QelRect const & rect : {QelRect(10, 10, 20, 20), QelRect(10, 10, 60, 20)}) {
        MoxSmartPtr<CountingOp> const op = countingOp(report);
        MockContainer container;
        container.onDetermineOp = [&op](Qel2DImage * image) { image->setOp(op); };
        container.onCanGenRect = [](QelRectBuffer *) { return true; };
        MoxSmartPtr<Qel2DImage> const image = imageWithoutOp(
            {.width = 300, .height = 200, .tileWidth = 50, .tileHeight = 50}, &container);
        MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), rect);
        EXPECT_TRUE(image->fillRWBuffer(dest, true));
        EXPECT_TRUE(showsPixels(*dest, rect, gradientAt));
        EXPECT_EQ(1, container.count("determineOp"));
        EXPECT_EQ(1, container.count("workDone"));
        EXPECT_EQ(0, container.count("genRect"));
        EXPECT_EQ(1, op->computes());
        EXPECT_EQ("", output_.text());
    }
}

TEST_F(Qel2DImageContainerTest, IsToldOfEachTileThatAnOpComputed) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report), &container_);
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    EXPECT_EQ("createTile(0,0) workDone(1)", container_.calls());
    image->getTile(0, 0);
    EXPECT_EQ(1, container_.count("workDone"));
}

TEST_F(Qel2DImageContainerTest, IsNotToldOfTilesWithinAComputeOfTheImage) {
    MoxSmartPtr<HookedOp> const op = new HookedOp(report);
    MoxSmartPtr<Qel2DImage> const image = imageOf(op, &container_);
    int depth = 0;
    op->onCompute = [&](QelRectBuffer *) {
        EXPECT_TRUE(image->computing());
        if (++depth == 1) image->getTile(2, 1);
    };
    MoxSmartPtr<QelRectBuffer> const dest =
        paintedBuffer(image->dataOrg(), QelRect(10, 10, 20, 20));
    EXPECT_TRUE(image->fillRWBuffer(dest, false));
    EXPECT_EQ(2, depth);
    EXPECT_FALSE(image->computing());
    EXPECT_EQ("createTile(0,0) createTile(2,1) workDone(1)", container_.calls());
}

TEST_F(Qel2DImageContainerTest, OneComputingImageDoesNotSpeakForAnother) {
    MoxSmartPtr<Qel2DImage> const input = imageOf(new GradientOp(report), &container_);
    MoxSmartPtr<Qel2DImage> const image = imageOf(new HookedOp(report, [&](QelRectBuffer *) {
        EXPECT_TRUE(image->computing());
        EXPECT_FALSE(input->computing());
        input->getTile(0, 0);
    }));
    image->fillRWBuffer(paintedBuffer(image->dataOrg(), QelRect(0, 0, 9, 9)), false);
    EXPECT_EQ("createTile(0,0) workDone(1)", container_.calls());
}

TEST_F(Qel2DImageContainerTest, AFailedComputeLeavesTheImageNotComputing) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new HookedOp(report, [](QelRectBuffer *) { throw std::runtime_error("x"); }));
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), QelRect(0, 0, 9, 9));
    EXPECT_THROW(image->fillRWBuffer(dest, false), ZanError);
    EXPECT_FALSE(image->computing());
}

TEST_F(Qel2DImageContainerTest, ATileThatIsNotMadeIsNull) {
    container_.onCreateTile = [](Qel2DImage *, std::int32_t, std::int32_t) { return nullptr; };
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report), &container_);
    EXPECT_EQ(nullptr, image->createTile(1, 0).get());
    EXPECT_EQ(nullptr, image->getTile(1, 0).get());
    EXPECT_EQ(nullptr, image->getData(QelRect(0, 0, 9, 9), false).get());
    // Nobody needs the tile for this.
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(image->dataOrg(), QelRect(0, 0, 9, 9));
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    EXPECT_TRUE(showsPixels(*dest, dest->rect(), gradientAt));
}

TEST_F(Qel2DImageContainerTest, AnExceptionOfCreateTileLeavesTheSlotFree) {
    bool fails = true;
    auto const create = container_.onCreateTile;
    container_.onCreateTile = [&](Qel2DImage * image, std::int32_t x, std::int32_t y) {
        if (fails) throw std::runtime_error("x");
        return create(image, x, y);
    };
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(report), &container_);
    EXPECT_THROW(image->getTile(1, 0), std::runtime_error);
    fails = false;
    EXPECT_TRUE(image->getTile(1, 0));
}

TEST_F(Qel2DImageContainerNoticeTest, DroppingWhatIsNotATileOfTheImageIsALine) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    image->discardReference(nullptr);
    EXPECT_EQ("Not a tile in Qel2DImage::discardReference\n", output_.take());
    image->discardReference(MoxSmartPtr<QelRectBuffer>(new QelRectBuffer).get());
    EXPECT_EQ("Not a tile in Qel2DImage::discardReference\n", output_.take());
    image->discardReference(MoxSmartPtr<QelTile>(new QelTile(image->dataOrg(), QelTileId(3, 1))));
    EXPECT_EQ("OUT OF RANGE -- discardReference 3 1 3 2 " + addressText(image.get()) + "\n",
              output_.take());
    image->discardReference(MoxSmartPtr<QelTile>(new QelTile(image->dataOrg(), QelTileId(1, 1))));
    EXPECT_EQ("Invalid tile in Qel2DImage::discardReference\n", output_.take());
    EXPECT_EQ(tile.get(), image->findTile(1, 1).get());
    image->discardReference(tile);
    EXPECT_EQ(nullptr, image->findTile(1, 1).get());
    tile->setContainer(nullptr);
    EXPECT_EQ("", output_.text());
}

TEST_F(Qel2DImageContainerNoticeTest, ATileThatWasNeverInsertedLeavesTheSlotAlone) {
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    MoxSmartPtr<QelTile> stranger = new QelTile(image->dataOrg(), QelTileId(1, 1));
    stranger->setContainer(image);
    stranger.release();
    EXPECT_EQ("Invalid tile in Qel2DImage::discardReference\n", output_.take());
    EXPECT_EQ(tile.get(), image->findTile(1, 1).get());
}

TEST_F(Qel2DImageContainerNoticeTest, NewsOfWhatIsNotATileOfTheImageIsALineOnlyWhenTraced) {
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer);
    MoxSmartPtr<QelTile> const outside(new QelTile(image->dataOrg(), QelTileId(3, 1)));
    MoxSmartPtr<QelTile> const stranger(new QelTile(image->dataOrg(), QelTileId(1, 1)));
    auto const notifyAll = [&] {
        image->notifyStateChange(buffer, QelRenderedItem::complete, true);
        image->notifyStateChange(outside, QelRenderedItem::complete, true);
        image->notifyStateChange(stranger, QelRenderedItem::complete, true);
    };
    notifyAll();
    EXPECT_EQ("", output_.take());
    {
        ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags,
                                                 QelSystemConfig::traceActivity);
        notifyAll();
    }
    EXPECT_EQ(
        "Not a tile in Qel2DImage::notifyStateChange\n"
        "OUT OF RANGE -- notifyStateChange 3 1 3 2 " +
            addressText(image.get()) +
            "\n"
            "Invalid tile in Qel2DImage::notifyStateChange\n",
        output_.take());
    EXPECT_EQ(0U, image->tileFlags(1, 1));
}

TEST_F(Qel2DImageContainerNoticeTest, FlagsAreTheHistoryOfAPosition) {
    EXPECT_EQ(0U, image->tileFlags(1, 1));
    MoxSmartPtr<QelTile> tile = image->createTile(1, 1);
    EXPECT_EQ(0U, image->tileFlags(1, 1));
    tile->setState(QelRenderedItem::pending, true);
    EXPECT_EQ(1U, image->tileFlags(1, 1));
    image->getTile(1, 1);
    EXPECT_EQ(5U, image->tileFlags(1, 1));
    tile->setState(QelRenderedItem::taken, true);
    EXPECT_EQ(7U, image->tileFlags(1, 1));
    // Clearing is not recorded, but pending starts anew.
    tile->setComplete(false);
    EXPECT_EQ(7U, image->tileFlags(1, 1));
    tile->setState(QelRenderedItem::pending, true);
    EXPECT_EQ(3U, image->tileFlags(1, 1));
    // The history outlives the tile.
    tile.release();
    EXPECT_EQ(3U, image->tileFlags(1, 1));
    EXPECT_EQ(0U, image->tileFlags(0, 0));
}

TEST_F(Qel2DImageContainerNoticeTest, FlagsOutsideTheGridAreARangeError) {
    EXPECT_THROW(image->tileFlags(3, 0), std::out_of_range);
    EXPECT_THROW(image->tileFlags(0, -1), std::out_of_range);
}

TEST_F(Qel2DImageContainerNoticeTest, PopulatingTwiceIsAnErrorOnlyInStrictMode) {
    MoxSmartPtr<QelTile> tile = image->createTile(1, 0);
    tile->setState(QelRenderedItem::pending, true);
    tile = image->getTile(1, 0);
    tile.release();
    tile = image->getTile(1, 0);  // not strict
    tile.release();
    ScopedSetting<std::uint32_t> const strict(QelSystemConfig::traceFlags,
                                              QelSystemConfig::strictTiles);
    expectRaises(QelErrorCode::misuse,
                 "insertTile(1,0)for GradientOp " + std::string(populatedTwice),
                 [this] { image->getTile(1, 0); });
    EXPECT_EQ(5U, image->tileFlags(1, 0));
    // A position that waited for its dependencies again may be populated again.
    tile = image->createTile(1, 0);
    tile->setState(QelRenderedItem::pending, true);
    image->getTile(1, 0);
    EXPECT_EQ(5U, image->tileFlags(1, 0));
}

TEST_F(Qel2DImageContainerNoticeTest, PopulatingTwiceWithoutAnOpNamesNone) {
    MoxSmartPtr<Qel2DImage> const bare = imageWithoutOp(report);
    MoxSmartPtr<QelTile> const tile = bare->createTile(2, 1);
    ScopedSetting<std::uint32_t> const strict(QelSystemConfig::traceFlags,
                                              QelSystemConfig::strictTiles);
    tile->setState(QelRenderedItem::pending, true);
    tile->setComplete(true);
    expectRaises(QelErrorCode::misuse, "insertTile(2,1)for " + std::string(populatedTwice),
                 [&tile] { tile->setComplete(true); });
    EXPECT_EQ(5U, bare->tileFlags(2, 1));
    EXPECT_EQ("", output_.text());
}

TEST_F(Qel2DImageContainerNoticeTest, ATileThatWasNeverPendingMayBePopulatedTwice) {
    ScopedSetting<std::uint32_t> const strict(QelSystemConfig::traceFlags,
                                              QelSystemConfig::strictTiles);
    image->getTile(1, 0);
    image->getTile(1, 0);
    EXPECT_EQ(4U, image->tileFlags(1, 0));
}
