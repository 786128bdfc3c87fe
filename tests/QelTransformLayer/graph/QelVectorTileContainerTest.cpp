#include "QelVectorTileContainer.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelSimpleResolutionDesc.h"
#include "QelSystemConfig.h"
#include "ScopedSetting.h"
#include "StreamTesting.h"

namespace {

using Container = QelVectorTileContainer<QelTileId>;

constexpr PixelSize full{300, 200};
constexpr PixelSize half{150, 100};
constexpr PixelSize wide{300, 100};

class QelVectorTileContainerTest : public TileContainerFixture {};

// ---- Images

TEST_F(QelVectorTileContainerTest, AnImageIsMadeOnceWithTheOpOfTheTransform) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    ASSERT_NE(nullptr, image);
    EXPECT_EQ("determineOp(<0,0,200,300>;0)", transform_->calls());
    EXPECT_NE(nullptr, image->op());
    EXPECT_EQ(QelRect(0, 0, 300, 200), image->imageRect());
    ASSERT_NE(nullptr, image->id());
    EXPECT_EQ(idOf(full), *image->id());
    EXPECT_EQ(&container(), image->container());
    EXPECT_EQ(image, container().getImage(idOf(full)));
    EXPECT_EQ(1, transform_->count("determineOp"));
    EXPECT_EQ(1, container().numImages());
}

TEST_F(QelVectorTileContainerTest, IdsOfOneResolutionSelectTheSameImageWhateverTheirPlace) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full, 0, 0));
    EXPECT_EQ(image, container().getImage(idOf(full, 2, 0)));
    EXPECT_EQ(image, container().getImage(idOf(full, 0, 1)));
    EXPECT_EQ(image, container().findImage(idOf(full, 77, -5)));
    EXPECT_EQ(1, container().numImages());
}

TEST_F(QelVectorTileContainerTest, WidthAndHeightBothTellImagesApart) {
    MoxSmartPtr<Qel2DImage> const images[] = {
        container().getImage(idOf({300, 200})), container().getImage(idOf({300, 100})),
        container().getImage(idOf({200, 200})), container().getImage(idOf({200, 300}))};
    EXPECT_EQ(4, container().numImages());
    for (MoxSmartPtr<Qel2DImage> const & image : images)
        EXPECT_EQ(image, container().findImage(*image->id()));
}

TEST_F(QelVectorTileContainerTest, FindImageMakesNone) {
    EXPECT_EQ(nullptr, container().findImage(idOf(full)));
    EXPECT_EQ(0, container().numImages());
    EXPECT_EQ("", transform_->calls());
}

TEST_F(QelVectorTileContainerTest, AnIdWithoutResolutionIsRefused) {
    struct Case {
        QelTileId id;
        char const * size;
    };
    for (Case const & each :
         {Case{QelTileId(), "-1 by -1"}, Case{QelTileId(0, 0, 0, 0), "0 by 0"},
          Case{QelTileId(0, 0, 300, 0), "300 by 0"}, Case{QelTileId(0, 0, 0, 200), "0 by 200"}}) {
        expectRaises(QelErrorCode::noSelectedResolution,
                     std::string("Cannot make an image of ") + each.size +
                         " pixels, because no resolution is selected",
                     [&] { container().getImage(each.id); });
        EXPECT_EQ(nullptr, container().findImage(each.id));
    }
    EXPECT_EQ(0, container().numImages());
    EXPECT_EQ("", transform_->calls());
}

TEST_F(QelVectorTileContainerTest, TheOpIsAskedForWithTheIndexOfTheOutput) {
    transform_->addConnectionPoint(
        MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("second")));
    transform_->onSetup = [this] {
        transform_->output(1).setAttributes(
            TestImage{}.dataOrg(), MoxSmartPtr<QelXyCoordSpace>(new QelXyCoordSpace(300U, 200U)),
            nullptr, nullptr, true);
        transform_->describe();
    };
    transform_->output(1).getTileContainer()->getImage(idOf(full, 1, 1));
    EXPECT_EQ("determineOp(<1,1,200,300>;1)", transform_->calls());
}

TEST_F(QelVectorTileContainerTest, WithoutAnOpTheImageHasTheOrganisationOfTheOutput) {
    transform_->onDetermineOp = &HookTransform::noOp;
    MoxSmartPtr<QelDataOrg> const org =
        TestImage{.bands = 2, .type = QelDataType::Float, .tileWidth = 64, .tileHeight = 32}
            .dataOrg();
    output().setDataOrg(org);
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(half));
    EXPECT_EQ(nullptr, image->op());
    EXPECT_EQ(QelRect(0, 0, 150, 100), image->imageRect());
    EXPECT_EQ(idOf(half), *image->id());
    EXPECT_TRUE(image->dataOrg()->isCompatible(*org, false));
    EXPECT_EQ(3, image->tilesAcross());
    EXPECT_EQ(4, image->tilesDown());
}

TEST_F(QelVectorTileContainerTest, WithoutAnOrganisationTheImageHasTheDefaultOne) {
    transform_->onDetermineOp = &HookTransform::noOp;
    output().setDataOrg(nullptr);
    MoxSmartPtr<QelDataOrg> const org = container().getImage(idOf(full))->dataOrg();
    EXPECT_TRUE(org->isCompatible(*QelImageInfo().dataOrg(), false));
    EXPECT_EQ(1, org->numBands());
    EXPECT_EQ(128, org->tileWidth());
}

TEST_F(QelVectorTileContainerTest, WhatDetermineOpRaisesLeavesNoImage) {
    transform_->onDetermineOp = [](QelTileId const &, int) -> MoxSmartPtr<QelImageOp> {
        qelRaise(QelErrorCode::invalidInput, "no op today");
    };
    expectRaises(QelErrorCode::invalidInput, "no op today",
                 [&] { container().getImage(idOf(full)); });
    EXPECT_EQ(0, container().numImages());
    transform_->onDetermineOp = nullptr;
    EXPECT_NE(nullptr, container().getImage(idOf(full)));
    EXPECT_EQ(2, transform_->count("determineOp"));
}

TEST_F(QelVectorTileContainerTest, AForeignExceptionOfDetermineOpLeavesNoImage) {
    transform_->onDetermineOp = [](QelTileId const &, int) -> MoxSmartPtr<QelImageOp> {
        throw std::runtime_error("from the transform");
    };
    EXPECT_THROW(container().getImage(idOf(full)), std::runtime_error);
    EXPECT_EQ(0, container().numImages());
}

TEST_F(QelVectorTileContainerTest, AnOpOfAnotherSizeLeavesNoImage) {
    transform_->onDetermineOp = [](QelTileId const &, int) {
        return MoxSmartPtr<QelImageOp>(new GradientOp({.width = 100, .height = 50}));
    };
    expectRaises(QelErrorCode::misuse,
                 "Qel2DImage error: its size (100,50) does not match its resolution (300,200)",
                 [&] { container().getImage(idOf(full)); });
    EXPECT_EQ(0, container().numImages());
}

TEST_F(QelVectorTileContainerTest, AnOpWithABadReportLeavesNoImage) {
    transform_->onDetermineOp = [](QelTileId const &, int) {
        return MoxSmartPtr<QelImageOp>(
            new BadOp(QelError(QelErrorCode::invalidInput, "no input", __FILE__, __LINE__)));
    };
    expectRaises(QelErrorCode::misuse,
                 "The Op (BadOp) for this operation returns a bad status from outputInfo(): QEL "
                 "error 123\nno input",
                 [&] { container().getImage(idOf(full)); });
    EXPECT_EQ(0, container().numImages());
}

TEST_F(QelVectorTileContainerTest, DetermineOpMayAskForOtherImagesOfTheSameOutput) {
    transform_->onDetermineOp = [this](QelTileId const & id, int) {
        if (id.resolutionWidth == 300) container().getImage(idOf(half));
        return transform_->gradient(id);
    };
    EXPECT_EQ(QelRect(0, 0, 300, 200), container().getImage(idOf(full))->imageRect());
    EXPECT_EQ(2, container().numImages());
    EXPECT_EQ(2, transform_->count("determineOp"));
}

// The image that was made meanwhile stays, and the other one goes.
TEST_F(QelVectorTileContainerTest, DetermineOpMayAskForTheVeryImage) {
    MoxSmartPtr<Qel2DImage> inner;
    transform_->onDetermineOp = [&](QelTileId const & id, int) {
        if (!inner) {
            transform_->onDetermineOp = nullptr;
            inner = container().getImage(id);
        }
        return transform_->gradient(id);
    };
    MoxSmartPtr<Qel2DImage> const outer = container().getImage(idOf(full));
    EXPECT_NE(nullptr, outer);
    EXPECT_EQ(inner, outer);
    EXPECT_EQ(1, container().numImages());
    EXPECT_EQ(2, transform_->count("determineOp"));
    EXPECT_EQ(&container(), outer->container());
}

// ---- Containers of nobody

// Its images have the default organisation and nobody to ask for pixels.
TEST_F(QelVectorTileContainerTest, OneOfNobodyKeepsTilesAllTheSame) {
    MoxSmartPtr<Container> const nobodys(new Container);
    EXPECT_EQ(nullptr, nobodys->output());
    EXPECT_EQ(nullptr, nobodys->getOwner());
    EXPECT_FALSE(nobodys->cacheTiles());
    EXPECT_EQ(nullptr, nobodys->findImage(idOf(full)));
    EXPECT_EQ(nullptr, nobodys->findTile(idOf(full)));
    EXPECT_TRUE(nobodys->makeIterator().done());
    MoxSmartPtr<QelTile> const tile(new QelTile(TestImage{}.dataOrg(), idOf(full, 1, 0)));
    nobodys->add(tile.get());
    EXPECT_EQ(tile, nobodys->findTile(idOf(full, 1, 0)));
    MoxSmartPtr<Qel2DImage> const image = nobodys->getImage(idOf(full));
    EXPECT_TRUE(image->dataOrg()->isCompatible(*QelImageInfo().dataOrg(), false));
    EXPECT_EQ(QelRect(0, 0, 300, 200), image->imageRect());
    expectRaises(QelErrorCode::noPixelSource,
                 "QelVectorTileContainer<QelTileId> with no owner connection point has no "
                 "transform",
                 [&] { image->getTile(0, 0); });
    expectRaises(QelErrorCode::tilePresent,
                 "Attempted to add a tile that was already present: <1,0,200,300> in connection "
                 "point NULL of NULL labelled NULL",
                 [&] { nobodys->add(tile.get()); });
}

TEST_F(QelVectorTileContainerTest, DoesNotCountItsOwner) {
    std::int32_t const before = output().refCount();
    MoxSmartPtr<Container> const another(new Container(&output()));
    EXPECT_EQ(before, output().refCount());
    EXPECT_EQ(&output(), another->output());
    EXPECT_EQ(static_cast<QelItemOwner *>(&output()), another->getOwner());
}

// ---- Adding and finding tiles

TEST_F(QelVectorTileContainerTest, FindTileOfAResolutionWithoutImageMakesNothing) {
    EXPECT_EQ(nullptr, container().findTile(idOf(full)));
    EXPECT_EQ(0, container().numImages());
    EXPECT_EQ("", transform_->calls());
}

TEST_F(QelVectorTileContainerTest, FindTileLooksInTheImageOfItsResolution) {
    MoxSmartPtr<QelTile> const tile = container().getImage(idOf(full))->createTile(1, 1);
    EXPECT_EQ(tile, container().findTile(idOf(full, 1, 1)));
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 0, 1)));
    container().getImage(idOf(half));
    EXPECT_EQ(nullptr, container().findTile(idOf(half, 0, 0)));
}

TEST_F(QelVectorTileContainerTest, FindOrCreateTileMakesAnEmptyOne) {
    MoxSmartPtr<QelTile> const tile = container().findOrCreateTile(idOf(full, 2, 1));
    ASSERT_NE(nullptr, tile);
    EXPECT_EQ(idOf(full, 2, 1), tile->tileId());
    EXPECT_EQ(QelRect(256, 128, 44, 72), tile->rect());
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_EQ(container().findImage(idOf(full)).get(), tile->container());
    EXPECT_EQ(tile, container().findOrCreateTile(idOf(full, 2, 1)));
    EXPECT_EQ(tile, container().getImage(idOf(full))->findTile(2, 1));
    EXPECT_EQ(1, tile->refCount());
}

TEST_F(QelVectorTileContainerTest, AddPutsATileInTheImageOfItsId) {
    MoxSmartPtr<QelTile> const tile = newTile(idOf(half, 1, 0));
    container().add(tile.get());
    EXPECT_EQ(tile, container().getImage(idOf(half))->findTile(1, 0));
    EXPECT_EQ(container().findImage(idOf(half)).get(), tile->container());
    EXPECT_EQ(1, tile->refCount()) << "takes no reference";
    MoxSmartPtr<QelTile> const other = newTile(idOf(half, 0, 0));
    container().addTile(other.get());
    EXPECT_EQ(other, container().findTile(idOf(half, 0, 0)));
}

TEST_F(QelVectorTileContainerTest, AddTileMakesTheImage) {
    MoxSmartPtr<QelTile> const tile(new QelTile(TestImage{}.dataOrg(), idOf(full, 1, 0)));
    container().addTile(tile.get());
    EXPECT_EQ("determineOp(<1,0,200,300>;0)", transform_->calls());
    EXPECT_EQ(tile, container().findTile(idOf(full, 1, 0)));
}

TEST_F(QelVectorTileContainerTest, ACachingContainerKeepsTheTilesThatAreAdded) {
    container().setCacheTiles(true);
    MoxSmartPtr<QelTile> tile = newTile(idOf(full));
    container().addTile(tile.get());
    EXPECT_EQ(2, tile->refCount());
    tile.release();
    EXPECT_NE(nullptr, container().findTile(idOf(full)));
}

TEST_F(QelVectorTileContainerTest, AddRefusesNull) {
    char const * const text = "QelVectorTileContainer::add called with a null pointer";
    expectRaises(QelErrorCode::nullPointer, text, [&] { container().add(nullptr); });
    expectRaises(QelErrorCode::nullPointer, text, [&] { container().addTile(nullptr); });
    EXPECT_EQ(0, container().numImages());
}

TEST_F(QelVectorTileContainerTest, AddAndRemoveTakeNothingButTiles) {
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer);
    expectRaises(QelErrorCode::wrongClass, "Can only add tiles to a tile container",
                 [&] { container().add(buffer.get()); });
    expectRaises(QelErrorCode::wrongClass, "Can only remove tiles from a tile container",
                 [&] { container().remove(buffer.get()); });
    expectRaises(QelErrorCode::wrongClass, "Can only remove tiles from a tile container",
                 [&] { container().remove(nullptr); });
    EXPECT_EQ(0, container().numImages());
}

TEST_F(QelVectorTileContainerTest, ATileThatIsThereIsNotReplaced) {
    MoxSmartPtr<QelTile> const first = newTile(idOf(full, 1, 0));
    container().addTile(first.get());
    MoxSmartPtr<QelTile> const second = newTile(idOf(full, 1, 0));
    char const * const text =
        "Attempted to add a tile that was already present: <1,0,200,300> in connection point out "
        "of HookTransform labelled hooked";
    expectRaises(QelErrorCode::tilePresent, text, [&] { container().addTile(second.get()); });
    expectRaises(QelErrorCode::tilePresent, text, [&] { container().add(second.get()); });
    expectRaises(QelErrorCode::tilePresent, text, [&] { container().add(first.get()); });
    EXPECT_EQ(first, container().findTile(idOf(full, 1, 0)));
    EXPECT_EQ(nullptr, second->container());
    EXPECT_EQ(1, first->refCount());
    EXPECT_EQ(1, second->refCount());
}

TEST_F(QelVectorTileContainerTest, ATileOutsideTheGridIsReportedByTheImage) {
    MoxSmartPtr<QelTile> const tile = newTile(idOf(full, 3, 0));
    OutputCapture output;
    container().addTile(tile.get());
    EXPECT_NE(std::string::npos, output.text().find("OUT OF RANGE -- insertTile 3 0 3 2 "))
        << output.text();
    EXPECT_EQ(nullptr, tile->container());
}

// ---- Removing tiles

TEST_F(QelVectorTileContainerTest, RemoveEmptiesThePlaceOfATile) {
    MoxSmartPtr<QelTile> tile = container().findOrCreateTile(idOf(full, 1, 0));
    OutputCapture output;
    container().remove(tile.get());
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 1, 0)));
    MoxSmartPtr<QelTile> const next = container().findOrCreateTile(idOf(full, 1, 0));
    EXPECT_NE(tile, next);
    EXPECT_EQ(1, tile->refCount());
    EXPECT_EQ("", output.text());
}

// It has left: its image may end first, and its own end is nobody's business.
TEST_F(QelVectorTileContainerTest, ARemovedTileBelongsToNoImage) {
    for (bool const caches : {false, true}) {
        container().clear();
        container().setCacheTiles(caches);
        MoxSmartPtr<QelTile> const tile = container().getImage(idOf(full))->getTile(1, 0);
        MoxSmartPtr<QelTile> byId = container().findOrCreateTile(idOf(full, 0, 0));
        OutputCapture output;
        container().remove(tile.get());
        container().removeById(idOf(full, 0, 0));
        EXPECT_EQ(nullptr, tile->container());
        EXPECT_EQ(nullptr, byId->container());
        EXPECT_EQ(1, tile->refCount());
        EXPECT_EQ(1, byId->refCount());
        byId.release();
        container().clear();
        EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
        EXPECT_EQ("", output.text());
    }
}

TEST_F(QelVectorTileContainerTest, RemovingATileThatOnlyItsImageKeepsEndsIt) {
    container().setCacheTiles(true);
    container().findOrCreateTile(idOf(full, 1, 0));
    OutputCapture output;
    container().removeById(idOf(full, 1, 0));
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 1, 0)));
    EXPECT_EQ("", output.text());
}

TEST_F(QelVectorTileContainerTest, RemoveByIdEmptiesThePlaceOfATile) {
    MoxSmartPtr<QelTile> const tile = container().findOrCreateTile(idOf(full, 1, 0));
    MoxSmartPtr<QelTile> const stays = container().findOrCreateTile(idOf(full, 0, 0));
    container().removeById(idOf(full, 1, 0));
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 1, 0)));
    EXPECT_EQ(stays, container().findTile(idOf(full, 0, 0)));
    container().removeById(idOf(full, 2, 0));
    container().removeById(idOf(half));
    EXPECT_EQ(1, container().numImages());
}

TEST_F(QelVectorTileContainerTest, ATileThatEndsLeavesItsPlace) {
    MoxSmartPtr<QelTile> tile = container().findOrCreateTile(idOf(full, 1, 0));
    OutputCapture output;
    tile.release();
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 1, 0)));
    EXPECT_EQ("", output.text());
}

TEST_F(QelVectorTileContainerTest, DiscardReferenceTakesNothingButTiles) {
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer);
    char const * const text =
        "QelVectorTileContainer::discardReference was called by a rendered item that is not a tile";
    expectRaises(QelErrorCode::notATile, text, [&] { container().discardReference(buffer.get()); });
    expectRaises(QelErrorCode::notATile, text, [&] { container().discardReference(nullptr); });
}

TEST_F(QelVectorTileContainerTest, DiscardReferenceRefusesATileOfAResolutionWithoutImage) {
    container().getImage(idOf(half));
    MoxSmartPtr<QelTile> const tile(new QelTile(TestImage{}.dataOrg(), idOf(full, 1, 0)));
    char const * const text =
        "QelVectorTileContainer::discardReference was called by a tile that was not in the "
        "container ";
    expectRaises(QelErrorCode::notATile, text, [&] { container().discardReference(tile.get()); });
    expectRaises(QelErrorCode::notATile, text, [&] { container().remove(tile.get()); });
    EXPECT_EQ(1, container().numImages());
}

TEST_F(QelVectorTileContainerTest, ATileThatIsNotInItsPlaceIsReportedByTheImage) {
    MoxSmartPtr<QelTile> const inPlace = container().findOrCreateTile(idOf(full, 1, 0));
    MoxSmartPtr<QelTile> const stranger = newTile(idOf(full, 1, 0));
    OutputCapture output;
    container().discardReference(stranger.get());
    EXPECT_EQ("Invalid tile in Qel2DImage::discardReference\n", output.text());
    EXPECT_EQ(inPlace, container().findTile(idOf(full, 1, 0)));
}

// ---- Caching

TEST_F(QelVectorTileContainerTest, CachesAsTheSettingSays) {
    EXPECT_FALSE(MoxSmartPtr<Container>(new Container)->cacheTiles());
    ScopedSetting<bool> const cache(QelSystemConfig::tileCachingDefault, true);
    EXPECT_TRUE(MoxSmartPtr<Container>(new Container)->cacheTiles());
}

TEST_F(QelVectorTileContainerTest, CachingAppliesToEveryImage) {
    MoxSmartPtr<Qel2DImage> const large = container().getImage(idOf(full));
    MoxSmartPtr<Qel2DImage> const small = container().getImage(idOf(half));
    container().setCacheTiles(true);
    EXPECT_TRUE(container().cacheTiles());
    EXPECT_TRUE(large->cacheTiles());
    EXPECT_TRUE(small->cacheTiles());
    EXPECT_TRUE(container().getImage(idOf(wide))->cacheTiles()) << "one that is made later";
    container().setCacheTiles(false);
    EXPECT_FALSE(container().cacheTiles());
    EXPECT_FALSE(large->cacheTiles());
    EXPECT_FALSE(small->cacheTiles());
    EXPECT_FALSE(container().getImage(idOf(wide))->cacheTiles());
    EXPECT_FALSE(container().getImage(idOf({10, 10}))->cacheTiles());
}

TEST_F(QelVectorTileContainerTest, AnUnchangedSettingOfCachingHasNoEffect) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    image->setCacheTiles(true);
    container().setCacheTiles(false);
    EXPECT_TRUE(image->cacheTiles());
    container().setCacheTiles(true);
    image->setCacheTiles(false);
    container().setCacheTiles(true);
    EXPECT_FALSE(image->cacheTiles());
}

TEST_F(QelVectorTileContainerTest, CachingKeepsTilesAlive) {
    MoxSmartPtr<QelTile> tile = container().findOrCreateTile(idOf(full, 1, 0));
    container().setCacheTiles(true);
    EXPECT_EQ(2, tile->refCount());
    tile.release();
    EXPECT_NE(nullptr, container().findTile(idOf(full, 1, 0)));
    container().setCacheTiles(false);
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 1, 0)));
}

// ---- Clearing, and the end

TEST_F(QelVectorTileContainerTest, ClearDropsAllImagesAndKeepsTheSetting) {
    container().setCacheTiles(true);
    container().getImage(idOf(full))->getTile(0, 0);
    container().getImage(idOf(half));
    container().clear();
    EXPECT_EQ(0, container().numImages());
    EXPECT_TRUE(container().cacheTiles());
    EXPECT_EQ(nullptr, container().findTile(idOf(full)));
    EXPECT_EQ(&output(), container().output());
    MoxSmartPtr<Qel2DImage> const next = container().getImage(idOf(full));
    EXPECT_TRUE(next->cacheTiles());
    EXPECT_EQ(nullptr, next->findTile(0, 0));
}

TEST_F(QelVectorTileContainerTest, AnImageThatIsHeldWhileItsContainerIsClearedForgetsIt) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->getTile(0, 0);
    container().clear();
    EXPECT_EQ(nullptr, image->container());
    EXPECT_EQ(nullptr, image->getOwner());
    EXPECT_EQ(1, image->refCount());
    EXPECT_EQ(tile, image->findTile(0, 0));
    // It has an op, and goes on.
    MoxSmartPtr<QelTile> const other = image->getTile(1, 1);
    EXPECT_TRUE(showsPixels(*other, other->rect(), gradientAt));
    EXPECT_NE(image, container().getImage(idOf(full)));
    EXPECT_NE(tile, container().findOrCreateTile(idOf(full)));
}

TEST_F(QelVectorTileContainerTest, AnImageWithoutOpHasNoPixelsOnceItsContainerIsCleared) {
    transform_->onDetermineOp = &HookTransform::noOp;
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    container().clear();
    transform_->forgetCalls();
    expectRaises(
        QelErrorCode::noPixelSource,
        "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an "
        "QelImageOp or containing connection point with which to generate a tile (getTile)",
        [&] { image->getTile(0, 0); });
    EXPECT_EQ("", transform_->calls());
}

TEST_F(QelVectorTileContainerTest, ATileThatIsHeldWhileItsContainerIsClearedStaysABuffer) {
    MoxSmartPtr<QelTile> tile = container().getImage(idOf(full))->getTile(1, 0);
    OutputCapture output;
    container().clear();
    EXPECT_EQ(nullptr, tile->container());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    tile.release();
    EXPECT_EQ("", output.text());
}

TEST_F(QelVectorTileContainerTest, AnImageThatOutlivesItsContainerForgetsIt) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    transform_.release();
    EXPECT_EQ(nullptr, image->container());
    EXPECT_EQ(tile, image->getTile(0, 0));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

TEST_F(QelVectorTileContainerTest, AContainerThatOutlivesItsOutputBelongsToNobody) {
    MoxSmartPtr<Container> const kept = output().getTileContainer();
    MoxSmartPtr<Qel2DImage> const image = kept->getImage(idOf(full));
    transform_.release();
    EXPECT_EQ(nullptr, kept->output());
    EXPECT_EQ(0, kept->numImages());
    EXPECT_EQ(nullptr, image->container());
    EXPECT_EQ("QelVectorTileContainer<QelTileId> with no owner connection point",
              kept->description());
    kept->workDone(1);
    expectRaises(QelErrorCode::noPixelSource,
                 "QelVectorTileContainer<QelTileId> with no owner connection point has no "
                 "transform",
                 [&] { kept->getImage(idOf(full))->getTile(0, 0); });
}

TEST_F(QelVectorTileContainerTest, LeaveOutputClearsAndForgetsTheOutput) {
    MoxSmartPtr<Container> const another(new Container(&output()));
    MoxSmartPtr<Qel2DImage> const image = another->getImage(idOf(full));
    another->leaveOutput();
    EXPECT_EQ(nullptr, another->output());
    EXPECT_EQ(nullptr, another->getOwner());
    EXPECT_EQ(0, another->numImages());
    EXPECT_EQ(nullptr, image->container());
    another->leaveOutput();
    EXPECT_EQ(nullptr, another->output());
}

// ---- Iterators

TEST_F(QelVectorTileContainerTest, AnEmptyContainerHasNothingToIterateOver) {
    EXPECT_EQ("", idsOf());
    container().getImage(idOf(full));
    EXPECT_EQ("", idsOf());
    EXPECT_EQ(nullptr, container().findTile(idOf(full))) << "iterating makes no tile";
}

TEST_F(QelVectorTileContainerTest, IteratesOverAllTilesThatThereAreByWidthThenHeightThenRows) {
    std::vector<MoxSmartPtr<QelTile>> kept;
    for (QelTileId const & id : {idOf(full, 0, 1), idOf(half, 1, 0), idOf(full, 2, 0), idOf(wide),
                                 idOf(full, 1, 0), idOf(half, 0, 0)})
        kept.push_back(container().findOrCreateTile(id));
    EXPECT_EQ("<0,0,100,150><1,0,100,150><0,0,100,300><1,0,200,300><2,0,200,300><0,1,200,300>",
              idsOf());
}

TEST_F(QelVectorTileContainerTest, IteratesOverHighImagesToTheEnd) {
    PixelSize const high{100, 900};
    MoxSmartPtr<QelTile> const first = container().findOrCreateTile(idOf(high, 0, 1));
    MoxSmartPtr<QelTile> const last = container().findOrCreateTile(
        idOf(high, 0, container().findImage(idOf(high))->tilesDown() - 1));
    MoxSmartPtr<QelTile> const next = container().findOrCreateTile(idOf(full));
    std::vector<QelRenderedItem *> found;
    for (auto i = container().makeIterator(); !i.done(); i.next())
        found.push_back(i.get().get());
    EXPECT_EQ((std::vector<QelRenderedItem *>{first.get(), last.get(), next.get()}), found);
}

TEST_F(QelVectorTileContainerTest, ARequestIteratesOverTheTilesOfItsRegion) {
    MoxSmartPtr<QelTile> const there = container().findOrCreateTile(idOf(full, 1, 0));
    QelImageRequestDesc request(regionOf(output(), full, QelRect(100, 100, 60, 60)));
    EXPECT_EQ("<0,0,200,300><1,0,200,300><0,1,200,300><1,1,200,300>", idsOf(&request));
    auto i = container().makeIterator(&request);
    i.next();
    EXPECT_EQ(there.get(), i.get().get());
    EXPECT_EQ(nullptr, container().findTile(idOf(full, 0, 1))) << "made as they are reached";
    MoxSmartPtr<QelRenderedItem> const made = [&] {
        i.next();
        return i.get();
    }();
    EXPECT_EQ(made.get(), container().findTile(idOf(full, 0, 1)).get());
    EXPECT_FALSE(made->isState(QelRenderedItem::complete));
}

TEST_F(QelVectorTileContainerTest, ARequestAtAnotherResolutionMakesItsImage) {
    transform_->onSetup = [this] { transform_->describe({full, half}); };
    transform_->markOutOfDate(true);
    QelImageRequestDesc request(regionOf(output(), half, QelRect(0, 0, 150, 100)));
    EXPECT_EQ("<0,0,100,150><1,0,100,150>", idsOf(&request));
    EXPECT_NE(nullptr, container().findImage(idOf(half)));
    EXPECT_EQ(1, container().numImages());
}

TEST_F(QelVectorTileContainerTest, ARequestWithoutRegionIsRefused) {
    QelImageRequestDesc request(nullptr, &output());
    expectRaises(QelErrorCode::noRegion, "Null region provided to Iterator",
                 [&] { container().makeIterator(&request); });
    EXPECT_EQ(0, container().numImages());
}

TEST_F(QelVectorTileContainerTest, ADescriptorOfAnotherClassIsRefused) {
    QelSimpleResolutionDesc resolution(300, 200);
    expectRaises(QelErrorCode::badRequest,
                 "The DataDesc for iterating over an output connection point that is an image "
                 "output connection point was not an QelImageRequestDesc",
                 [&] { container().makeIterator(&resolution); });
    EXPECT_EQ(0, container().numImages());
}

// ---- Texts

TEST_F(QelVectorTileContainerTest, TheDescriptionNamesTheOwner) {
    EXPECT_EQ(
        "QelVectorTileContainer<QelTileId> owned by connection point named 'out of transform "
        "labeled hooked",
        container().description());
    MoxSmartPtr<QelImageOutputCP> const alone(new QelImageOutputCP("alone"));
    EXPECT_EQ(
        "QelVectorTileContainer<QelTileId> owned by connection point named 'alone of transform "
        "labeled NULL",
        alone->getTileContainer()->description());
    EXPECT_EQ("QelVectorTileContainer<QelTileId> with no owner connection point",
              MoxSmartPtr<Container>(new Container)->description());
}

TEST_F(QelVectorTileContainerTest, AnImageDescribesItsContainer) {
    std::string const text = container().getImage(idOf(full))->describe();
    EXPECT_NE(std::string::npos,
              text.find("\n    container:       QelVectorTileContainer<QelTileId> owned by "
                        "connection point named 'out of transform labeled hooked"))
        << text;
}

TEST_F(QelVectorTileContainerTest, PrintsALineForEachTile) {
    EXPECT_EQ("TILE CONTAINER \nTILE CONTAINER END\n", printedText(container()));
    MoxSmartPtr<QelTile> const second = container().findOrCreateTile(idOf(full, 1, 0));
    EXPECT_EQ("TILE CONTAINER \n" + printedText(*second) + "\nTILE CONTAINER END\n",
              printedText(container()));
    MoxSmartPtr<QelTile> const first = container().findOrCreateTile(idOf(half, 0, 0));
    EXPECT_EQ("TILE CONTAINER \n" + printedText(*first) + "\n-----\n" + printedText(*second) +
                  "\nTILE CONTAINER END\n",
              printedText(container()));
}

TEST_F(QelVectorTileContainerTest, PrintsALineForEachImage) {
    container().getImage(idOf(full, 1, 0));
    transform_->onDetermineOp = &HookTransform::noOp;
    container().getImage(idOf(half));
    std::ostringstream out;
    container().printImages(out, "> ");
    EXPECT_EQ(
        "> 0: image size 150 X 100            [id: <0,0,100,150> -- no op -- ]\n"
        "> 1: image size 300 X 200            [id: <1,0,200,300> GradientOp]\n",
        out.str());
}

}  // namespace
