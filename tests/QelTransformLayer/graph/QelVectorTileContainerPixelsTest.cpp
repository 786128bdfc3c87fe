#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelSystemConfig.h"
#include "QelVectorTileContainer.h"
#include "ScopedSetting.h"
#include "StreamTesting.h"

// The way from images to the transform: tiles, ops, and pixels without an op.

namespace {

using Container = QelVectorTileContainer<QelTileId>;

constexpr PixelSize full{300, 200};
constexpr PixelSize half{150, 100};

class QelVectorTileContainerPixelsTest : public TileContainerFixture {};

// ---- Tiles for images

TEST_F(QelVectorTileContainerPixelsTest, CreateTileMakesAnEmptyTileOfTheImage) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full, 2, 1));
    MoxSmartPtr<QelTile> const tile = container().createTile(image.get(), 1, 0);
    ASSERT_NE(nullptr, tile);
    EXPECT_EQ(idOf(full, 1, 0), tile->tileId());
    EXPECT_EQ(tile, image->findTile(1, 0));
    EXPECT_EQ(image.get(), tile->container());
    EXPECT_FALSE(tile->isAllocated());
    EXPECT_TRUE(tile->dataOrg()->isCompatible(*image->dataOrg(), false));
    EXPECT_EQ(idOf(full, 0, 1), image->createTile(0, 1)->tileId());
}

// ---- The op

TEST_F(QelVectorTileContainerPixelsTest, DetermineOpInstallsTheOpOfTheTransform) {
    transform_->onDetermineOp = &HookTransform::noOp;
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full, 2, 1));
    ASSERT_EQ(nullptr, image->op());
    transform_->onDetermineOp = nullptr;
    transform_->forgetCalls();
    container().determineOp(image.get());
    EXPECT_EQ("determineOp(<2,1,200,300>;0)", transform_->calls());
    EXPECT_NE(nullptr, image->op());
}

TEST_F(QelVectorTileContainerPixelsTest, AnImageWithoutOpAsksAgainWhenPixelsAreNeeded) {
    transform_->onDetermineOp = &HookTransform::noOp;
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    transform_->onDetermineOp = nullptr;
    MoxSmartPtr<QelTile> const tile = image->getTile(1, 1);
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_NE(nullptr, image->op());
    EXPECT_EQ(2, transform_->count("determineOp"));
    EXPECT_EQ(0, transform_->count("getTile"));
    image->getTile(0, 0);
    EXPECT_EQ(2, transform_->count("determineOp"));
}

TEST_F(QelVectorTileContainerPixelsTest, DetermineOpWithoutAnOpLeavesTheImageAsItIs) {
    transform_->onDetermineOp = &HookTransform::noOp;
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    container().determineOp(image.get());
    EXPECT_EQ(nullptr, image->op());
    EXPECT_EQ(QelRect(0, 0, 300, 200), image->imageRect());
}

// ---- Pixels by the transform itself

class RequestLog {
  public:
    std::optional<QelRect> bounds;
    PixelSize size{0, 0};
    QelImageOutputCP * output = nullptr;
    bool isSimple = false;

    void note(QelImageRequestDesc const & request) {
        MoxSmartPtr<QelXyRegion> const region = request.region();
        bounds = region->pixelBounds();
        size = {region->xyCoordSpace()->numPixelsWide(), region->xyCoordSpace()->numPixelsHigh()};
        output = request.output();
        isSimple = dynamic_cast<QelXySimpleRegion const *>(region.get()) != nullptr;
    }
};

TEST_F(QelVectorTileContainerPixelsTest, WithoutAnOpTheTransformComputesTheTile) {
    transform_ = painterWithoutOps();
    RequestLog log;
    transform_->onGetTile = [&](MoxSmartPtr<QelTile> tile, QelImageRequestDesc const & request) {
        log.note(request);
        fillPixels(*tile, tile->rect(), gradientAt);
        tile->setComplete(true);
        return tile;
    };
    MoxSmartPtr<QelTile> const tile = output().getTile(idOf(full, 2, 1));
    ASSERT_NE(nullptr, tile);
    EXPECT_TRUE(showsPixels(*tile, QelRect(256, 128, 44, 72), gradientAt));
    EXPECT_EQ(QelRect(256, 128, 44, 72), log.bounds);
    EXPECT_EQ(300U, log.size.width);
    EXPECT_EQ(200U, log.size.height);
    EXPECT_EQ(&output(), log.output);
    EXPECT_TRUE(log.isSimple);
    EXPECT_EQ(1, transform_->count("getTile"));
    output().getTile(idOf(full, 2, 1));
    EXPECT_EQ(1, transform_->count("getTile")) << "complete, and held";
}

TEST_F(QelVectorTileContainerPixelsTest, TheRequestHasTheResolutionOfTheImage) {
    transform_ = painterWithoutOps();
    transform_->onSetup = [this] { transform_->describe({full, half}); };
    RequestLog log;
    transform_->onGenRect = [&](QelRectBuffer & buffer, QelImageRequestDesc const & request) {
        log.note(request);
        fillPixels(buffer, request.region()->pixelBounds(), gradientAt);
    };
    MoxSmartPtr<QelTile> const tile = output().getTile(idOf(half, 1, 0));
    EXPECT_TRUE(showsPixels(*tile, QelRect(128, 0, 22, 100), gradientAt));
    EXPECT_EQ(QelRect(128, 0, 22, 100), log.bounds);
    EXPECT_EQ(150U, log.size.width);
    EXPECT_EQ(100U, log.size.height);
}

TEST_F(QelVectorTileContainerPixelsTest, ATransformWithoutOpsWritesStraightIntoABufferThatSuits) {
    transform_ = painterWithoutOps();
    RequestLog log;
    transform_->onGenRect = [&](QelRectBuffer & buffer, QelImageRequestDesc const & request) {
        log.note(request);
        fillPixels(buffer, request.region()->pixelBounds(), gradientAt);
    };
    QelRect const rect(10, 20, 30, 40);
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar));
    QelImageRequestDesc const request(regionOf(output(), full, rect));
    transform_->forgetCalls();
    EXPECT_TRUE(output().fillRWBuffer(buffer.get(), &request, true));
    EXPECT_TRUE(showsPixels(*buffer, rect, gradientAt));
    EXPECT_EQ(1, transform_->count("genRect"));
    EXPECT_EQ(0, transform_->count("getTile"));
    EXPECT_EQ(1, transform_->count("canGenRectForData"));
    EXPECT_EQ(rect, log.bounds);
    EXPECT_EQ(&output(), log.output);
    EXPECT_TRUE(log.isSimple);
    EXPECT_EQ(nullptr, output().findTile(idOf(full))) << "no tile is left behind";
}

TEST_F(QelVectorTileContainerPixelsTest, ABufferThatDoesNotSuitGetsACopy) {
    transform_ = painterWithoutOps();
    QelRect const rect(10, 20, 30, 40);
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::Float));
    QelImageRequestDesc const request(regionOf(output(), full, rect));
    EXPECT_TRUE(output().fillRWBuffer(buffer.get(), &request, true));
    EXPECT_TRUE(showsPixels(*buffer, rect, gradientAt));
    EXPECT_EQ(1, transform_->count("getTile"));
}

TEST_F(QelVectorTileContainerPixelsTest, PixelsAcrossTilesAreTheSameWithoutOps) {
    transform_ = painterWithoutOps();
    MoxSmartPtr<QelRectBuffer> const pixels = pixelsOf(*transform_);
    ASSERT_NE(nullptr, pixels);
    EXPECT_TRUE(showsPixels(*pixels, QelRect(0, 0, 300, 200), gradientAt));
}

TEST_F(QelVectorTileContainerPixelsTest, ComputeTileAsksTheTransform) {
    transform_ = painterWithoutOps();
    MoxSmartPtr<QelTile> const tile = output().createTile(idOf(full, 1, 0));
    container().computeTile(tile.get());
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_EQ(1, transform_->count("getTile"));
    container().computeTile(tile.get());
    EXPECT_EQ(1, transform_->count("genRect")) << "complete already";
}

TEST_F(QelVectorTileContainerPixelsTest, GenTileAsksTheTransformForTheTile) {
    transform_ = painterWithoutOps();
    MoxSmartPtr<QelTile> const tile = output().createTile(idOf(full, 1, 0));
    container().genTile(tile.get());
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_EQ(1, transform_->count("getTile"));
}

TEST_F(QelVectorTileContainerPixelsTest, GenRectAsksTheTransformForTheRectangle) {
    transform_ = painterWithoutOps();
    QelRect const rect(100, 100, 60, 60);
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar));
    MoxSmartPtr<Qel2DImage> const image = output().get2DImage(idOf(full));
    container().genRect(image.get(), buffer.get());
    EXPECT_TRUE(showsPixels(*buffer, rect, gradientAt));
    EXPECT_EQ(1, transform_->count("genRect"));
    EXPECT_EQ(0, transform_->count("getTile"));
}

TEST_F(QelVectorTileContainerPixelsTest, WhatTheTransformRaisesArrivesAndTheTileStaysEmpty) {
    transform_ = painterWithoutOps();
    transform_->onGenRect = [](QelRectBuffer &, QelImageRequestDesc const &) {
        qelRaise(QelErrorCode::invalidInput, "no pixels today");
    };
    MoxSmartPtr<QelTile> const tile = output().createTile(idOf(full, 1, 0));
    expectRaises(QelErrorCode::invalidInput, "no pixels today",
                 [&] { output().getTile(idOf(full, 1, 0)); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    transform_->onGenRect = [](QelRectBuffer & buffer, QelImageRequestDesc const &) {
        fillPixels(buffer, buffer.rect(), gradientAt);
    };
    EXPECT_EQ(tile, output().getTile(idOf(full, 1, 0)));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

// An image that somebody holds while its transform goes bad.
TEST_F(QelVectorTileContainerPixelsTest, ABadTransformLeavesTheTileEmpty) {
    transform_ = painterWithoutOps();
    transform_->update();
    MoxSmartPtr<Qel2DImage> const image = output().get2DImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    transform_->setStatusBad(QelError(QelErrorCode::invalidInput, "bad now", __FILE__, __LINE__));
    transform_->onGenRect = nullptr;
    ASSERT_NE(nullptr, image->container()) << "the status alone drops no image";
    expectRaises(QelErrorCode::invalidInput, "bad now",
                 [&] { container().computeTile(tile.get()); });
    expectRaises(QelErrorCode::misuse,
                 "Bad status found when calling genRect in hooked:HookTransform",
                 [&] { container().genRect(image.get(), tile.get()); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_FALSE(tile->isAllocated());
    OutputCapture captured;
    EXPECT_EQ(nullptr, output().getTile(idOf(full)));
    EXPECT_EQ("Bad status (getTile) in hooked:out\n", captured.text());
}

// An image that a client has made itself has no id.
TEST_F(QelVectorTileContainerPixelsTest, AnImageWithoutIdHasTheResolutionOfItsSize) {
    MoxSmartPtr<Qel2DImage> const image(
        new Qel2DImage(transform_->gradient(idOf(full)).get(), &container()));
    EXPECT_EQ(idOf(full, 1, 0), image->createTile(1, 0)->tileId());
    container().determineOp(image.get());
    EXPECT_EQ("determineOp(<0,0,200,300>;0)", transform_->calls());
}

TEST_F(QelVectorTileContainerPixelsTest, ANullImageTileOrBufferIsRefused) {
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    transform_->forgetCalls();
    for (std::function<void()> const & call : std::vector<std::function<void()>>{
             [&] { container().createTile(nullptr, 0, 0); },
             [&] { container().determineOp(nullptr); }, [&] { container().computeTile(nullptr); },
             [&] { container().genTile(nullptr); },
             [&] { container().genRect(nullptr, tile.get()); },
             [&] { container().genRect(image.get(), nullptr); }}) {
        expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", call);
    }
    EXPECT_FALSE(container().canGenRect(nullptr));
    EXPECT_FALSE(container().canGenTile(nullptr));
    EXPECT_EQ("", transform_->calls());
}

TEST_F(QelVectorTileContainerPixelsTest, CanGenRectAsksTheTransformAboutTheOrganisation) {
    transform_->addConnectionPoint(
        MoxSmartPtr<QelOutputConnectionPoint>(new QelImageOutputCP("second")));
    transform_->onSetup = [this] {
        transform_->output(1).setAttributes(
            TestImage{}.dataOrg(), MoxSmartPtr<QelXyCoordSpace>(new QelXyCoordSpace(300U, 200U)),
            nullptr, nullptr, true);
        transform_->describe();
    };
    transform_->update();
    transform_->forgetCalls();
    Container & second = *transform_->output(1).getTileContainer();
    MoxSmartPtr<QelRectBuffer> const buffer(
        new QelRectBuffer(QelRect(0, 0, 9, 9), 3, PIXEL_INTERLEAVED, QelDataType::UChar));
    QelDataOrg const * asked = nullptr;
    for (bool const answer : {true, false}) {
        transform_->onCanGenRectForData = [&](QelDataOrg const * org, int) {
            asked = org;
            return answer;
        };
        EXPECT_EQ(answer, second.canGenRect(buffer.get()));
        EXPECT_EQ(buffer->dataOrg().get(), asked);
    }
    EXPECT_EQ("canGenRectForData(1) canGenRectForData(1)", transform_->calls());
}

TEST_F(QelVectorTileContainerPixelsTest, ABufferOfTheOutputsElementTypeSuits) {
    auto const suits = [&](QelDataType type, QelLayout layout) {
        MoxSmartPtr<QelRectBuffer> const buffer(
            new QelRectBuffer(QelRect(0, 0, 9, 9), 3, layout, type));
        return container().canGenRect(buffer.get());
    };
    EXPECT_TRUE(suits(QelDataType::UChar, PIXEL_INTERLEAVED));
    EXPECT_TRUE(suits(QelDataType::UChar, BAND_INTERLEAVED));
    EXPECT_FALSE(suits(QelDataType::Char, PIXEL_INTERLEAVED));
    EXPECT_FALSE(suits(QelDataType::Float, PIXEL_INTERLEAVED));
}

TEST_F(QelVectorTileContainerPixelsTest, CanGenTileAsksAboutTheTile) {
    MoxSmartPtr<QelTile> const tile = output().createTile(idOf(full));
    transform_->forgetCalls();
    EXPECT_TRUE(container().canGenTile(tile.get()));
    EXPECT_EQ("canGenRectForData(0)", transform_->calls());
    transform_->onCanGenRectForData = [](QelDataOrg const *, int) { return false; };
    EXPECT_FALSE(container().canGenTile(tile.get()));
}

TEST_F(QelVectorTileContainerPixelsTest, OneOfNobodyHasNobodyToAskForPixels) {
    MoxSmartPtr<Container> const nobodys(new Container);
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(0, 0);
    EXPECT_FALSE(nobodys->canGenTile(tile.get()));
    EXPECT_FALSE(nobodys->canGenRect(tile.get()));
    nobodys->workDone(3);
    for (std::function<void()> const & call : std::vector<std::function<void()>>{
             [&] { nobodys->computeTile(tile.get()); }, [&] { nobodys->genTile(tile.get()); },
             [&] { nobodys->genRect(image.get(), tile.get()); }}) {
        expectRaises(QelErrorCode::noPixelSource,
                     "QelVectorTileContainer<QelTileId> with no owner connection point has no "
                     "transform",
                     call);
    }
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
}

TEST_F(QelVectorTileContainerPixelsTest, ProgressOutsideARenderIsNobodysBusiness) {
    OutputCapture captured;
    container().workDone(1);
    container().workDone(0);
    container().workDone(-1);
    output().getTile(idOf(full));
    EXPECT_EQ("", captured.text());
}

// ---- Trace

class Tracing {
  public:
    std::string text() const { return capture_.text(); }
    // The line that starts with `start`, without it and without its end; "none" if there is none.
    std::string lineAfter(std::string const & start) const {
        std::istringstream lines(text());
        std::string line;
        while (std::getline(lines, line)) {
            if (line.compare(0, start.size(), start) == 0) return line.substr(start.size());
        }
        return "none";
    }

  private:
    ScopedSetting<std::uint32_t> trace_{QelSystemConfig::traceFlags,
                                        QelSystemConfig::traceActivity};
    OutputCapture capture_;
};

TEST_F(QelVectorTileContainerPixelsTest, TracesANewImageOnce) {
    MoxSmartPtr<QelTile> const tile = container().findOrCreateTile(idOf(half));
    Tracing const trace;
    MoxSmartPtr<Qel2DImage> const image = container().getImage(idOf(full, 1, 0));
    std::ostringstream expected;
    expected << "created new 2DImage (X) " << static_cast<void const *>(image.get())
             << " for out hooked <1,0,200,300>\n      img size 300 200\nTILE CONTAINER \n"
             << printedText(*tile) << "\nTILE CONTAINER END\n";
    EXPECT_EQ(expected.str(), trace.text());
    container().getImage(idOf(full));
    EXPECT_EQ(expected.str(), trace.text());
}

TEST_F(QelVectorTileContainerPixelsTest, TracesTheWayToTheTransform) {
    transform_ = painterWithoutOps();
    MoxSmartPtr<Qel2DImage> const image = output().get2DImage(idOf(full));
    MoxSmartPtr<QelTile> const tile = image->createTile(1, 0);
    MoxSmartPtr<QelTile> const other = image->createTile(2, 1);
    std::string const start = "Resorting to Transform-level computation ";
    Tracing const trace;
    container().genRect(image.get(), tile.get());
    EXPECT_EQ("(128,0,128,128) HookTransform hooked out", trace.lineAfter(start + "(genRect) "));
    container().genTile(tile.get());
    EXPECT_EQ("<1,0,200,300> HookTransform hooked out", trace.lineAfter(start + "(genTile) "));
    image->getTile(2, 1);
    EXPECT_EQ("<2,1,200,300> HookTransform hooked out",
              trace.lineAfter(start + "<2").insert(0, "<2"));
}

TEST_F(QelVectorTileContainerPixelsTest, TracesNothingUnlessAsked) {
    OutputCapture captured;
    output().getTile(idOf(full));
    transform_ = painterWithoutOps();
    output().getTile(idOf(full));
    EXPECT_EQ("", captured.text());
}

}  // namespace
