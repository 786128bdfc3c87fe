#include <functional>
#include <string>
#include <vector>

#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelImageStreamData.h"
#include "QelSmartRenderedItemVector.h"
#include "StreamTesting.h"

namespace {

constexpr PixelSize full{300, 200};
constexpr PixelSize half{150, 100};

class QelImageStreamDataPixelsTest : public ImageStreamFixture {};

// ---- Images

TEST_F(QelImageStreamDataPixelsTest, ThereIsOneImageForEachSizeAskedFor) {
    offer({full, half});
    MoxSmartPtr<Qel2DImage> const large = data().get2DImage(idOf(full));
    MoxSmartPtr<Qel2DImage> const small = data().get2DImage(idOf(half));
    ASSERT_NE(nullptr, large);
    ASSERT_NE(nullptr, small);
    EXPECT_NE(large, small);
    EXPECT_EQ(QelRect(0, 0, 300, 200), large->imageRect());
    EXPECT_EQ(QelRect(0, 0, 150, 100), small->imageRect());
    EXPECT_EQ(large, data().get2DImage(idOf(full, 2, 1)));
    EXPECT_EQ(large, data().get2DImage(regionOf(output(), full, QelRect(3, 4, 5, 6)).get()));
    EXPECT_EQ(small, data().get2DImage(regionOf(output(), half, QelRect(3, 4, 5, 6)).get()));
    EXPECT_EQ(2, data().getTileContainer()->numImages());
    EXPECT_EQ(2, transform_->count("determineOp"));
}

TEST_F(QelImageStreamDataPixelsTest, AnImageOfABadStatusIsNull) {
    fail();
    EXPECT_EQ(nullptr, data().get2DImage(idOf(full)));
    MoxSmartPtr<QelXySimpleRegion> const region(
        new QelXySimpleRegion(MoxSmartPtr<QelXyCoordSpace>(new QelXyCoordSpace(300U, 200U))));
    EXPECT_EQ(nullptr, data().get2DImage(region.get()));
    EXPECT_EQ(0, data().getTileContainer()->numImages());
    EXPECT_EQ("setup()", transform_->calls());
}

TEST_F(QelImageStreamDataPixelsTest, ANullRegionIsRefused) {
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { data().get2DImage(static_cast<QelXyRegion const *>(nullptr)); });
    EXPECT_EQ(0, data().getTileContainer()->numImages());
}

// ---- Pixel calls

QelXyBox boxOfInches() {
    QelValue const inch(1.0, QEL_UNIT_INCH);
    QelValueRange const range(QelValue(0.5, QEL_UNIT_INCH), inch, 0, true, true);
    return {range, range};
}

MoxSmartPtr<QelRectBuffer> bufferAt(QelRect const & rect) {
    return new QelRectBuffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
}

TEST_F(QelImageStreamDataPixelsTest, GetDataGivesThePixelsOfTheRegion) {
    QelRect const rect(100, 100, 60, 60);
    QelImageRequestDesc const wanted = request(rect);
    MoxSmartPtr<QelRectBuffer> const pixels = data().getData(&wanted, true);
    ASSERT_NE(nullptr, pixels);
    EXPECT_EQ(rect, pixels->rect());
    EXPECT_TRUE(showsPixels(*pixels, rect, gradientAt));
}

TEST_F(QelImageStreamDataPixelsTest, GetDataInOneTileIsAViewAndInSeveralNeedsACopy) {
    data().setCachingClient(true);
    QelImageRequestDesc const inOne = request(QelRect(10, 10, 20, 20));
    MoxSmartPtr<QelRectBuffer> const view = data().getData(&inOne, false);
    ASSERT_NE(nullptr, view);
    EXPECT_EQ(data().getTile(idOf(full))->dataBuffer(), view->dataBuffer());
    QelImageRequestDesc const inFour = request(QelRect(100, 100, 60, 60));
    OutputCapture output;
    EXPECT_EQ(nullptr, data().getData(&inFour, false));
    EXPECT_EQ("", output.text());
}

TEST_F(QelImageStreamDataPixelsTest, TheResolutionOfTheRegionChoosesTheImage) {
    offer({full, half});
    QelImageRequestDesc const wanted(regionOf(output(), half, QelRect(140, 90, 10, 10)));
    MoxSmartPtr<QelRectBuffer> const pixels = data().getData(&wanted, true);
    ASSERT_NE(nullptr, pixels);
    EXPECT_TRUE(showsPixels(*pixels, QelRect(140, 90, 10, 10), gradientAt));
    EXPECT_EQ(1, data().getTileContainer()->numImages());
    EXPECT_NE(nullptr, data().getTileContainer()->findImage(idOf(half)));
}

TEST_F(QelImageStreamDataPixelsTest, FillRWBufferFillsTheBuffer) {
    QelRect const rect(100, 100, 60, 60);
    QelImageRequestDesc const wanted = request(rect);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(rect);
    EXPECT_TRUE(data().fillRWBuffer(buffer.get(), &wanted, true));
    EXPECT_TRUE(showsPixels(*buffer, rect, gradientAt));
}

TEST_F(QelImageStreamDataPixelsTest, FillRWBufferThatWouldHaveToCopyIsFalseWithoutLeave) {
    data().setCachingClient(true);
    for (std::int32_t y : {0, 1})
        for (std::int32_t x : {0, 1})
            data().getTile(idOf(full, x, y));
    QelRect const rect(100, 100, 60, 60);
    QelImageRequestDesc const wanted = request(rect);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(rect);
    fillPixels(*buffer, rect, [](auto, auto, auto) { return 200; });
    OutputCapture output;
    EXPECT_FALSE(data().fillRWBuffer(buffer.get(), &wanted, false));
    EXPECT_TRUE(showsPixels(*buffer, rect, [](auto, auto, auto) { return 200; }));
    EXPECT_EQ("", output.text());
}

TEST_F(QelImageStreamDataPixelsTest, ShareBufferGivesABufferAnywhereThePixelsOfTheRegion) {
    QelRect const rect(100, 100, 60, 60);
    QelImageRequestDesc const wanted = request(rect);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(5, 6, 60, 60));
    EXPECT_TRUE(data().shareBuffer(buffer.get(), &wanted));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), [](std::int32_t x, std::int32_t y, int band) {
        return gradientAt(x + 95, y + 94, band);
    }));
}

TEST_F(QelImageStreamDataPixelsTest, ShareBufferSharesTheMemoryOfATile) {
    data().setCachingClient(true);
    MoxSmartPtr<QelTile> const tile = data().getTile(idOf(full, 1, 0));
    QelImageRequestDesc const wanted = request(tile->rect());
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(tile->rect());
    EXPECT_TRUE(data().shareBuffer(buffer.get(), &wanted, false));
    EXPECT_EQ(tile->getData(), buffer->getData());
}

TEST_F(QelImageStreamDataPixelsTest, ShareBufferThatWouldHaveToCopyIsFalseWithoutLeave) {
    QelImageRequestDesc const acrossTiles = request(QelRect(100, 100, 60, 60));
    MoxSmartPtr<QelRectBuffer> const empty = bufferAt(QelRect(0, 0, 60, 60));
    EXPECT_FALSE(data().shareBuffer(empty.get(), &acrossTiles, false));
    EXPECT_FALSE(empty->isAllocated());
    QelImageRequestDesc const inOne = request(QelRect(0, 0, 128, 128));
    MoxSmartPtr<QelRectBuffer> const filled = bufferAt(QelRect(0, 0, 128, 128));
    fillPixels(*filled, filled->rect(), [](auto, auto, auto) { return 200; });
    EXPECT_FALSE(data().shareBuffer(filled.get(), &inOne, false));
    EXPECT_TRUE(showsPixels(*filled, filled->rect(), [](auto, auto, auto) { return 200; }));
    EXPECT_TRUE(data().shareBuffer(filled.get(), &inOne, true));
    EXPECT_TRUE(showsPixels(*filled, filled->rect(), gradientAt));
}

TEST_F(QelImageStreamDataPixelsTest, GetTileComputesTheTile) {
    MoxSmartPtr<QelTile> const tile = data().getTile(idOf(full, 2, 1));
    ASSERT_NE(nullptr, tile);
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ(idOf(full, 2, 1), tile->tileId());
    EXPECT_TRUE(showsPixels(*tile, QelRect(256, 128, 44, 72), gradientAt));
    MoxSmartPtr<QelXyCoordSpace> const space = data().getCoordSpace();
    EXPECT_EQ(tile, data().getTile(2, 1, space.get()));
}

TEST_F(QelImageStreamDataPixelsTest, GetTileTakesTheResolutionThatTheSpaceHasSelected) {
    offer({full, half});
    MoxSmartPtr<QelXyCoordSpace> const space = data().getCoordSpace()->cloneXy();
    space->selectResolution(half.width, half.height);
    MoxSmartPtr<QelTile> const tile = data().getTile(1, 0, space.get());
    ASSERT_NE(nullptr, tile);
    EXPECT_EQ(idOf(half, 1, 0), tile->tileId());
    EXPECT_EQ(QelRect(128, 0, 22, 100), tile->rect());
}

TEST_F(QelImageStreamDataPixelsTest, CreateTileComputesNothingAndFindTileCreatesNothing) {
    EXPECT_EQ(nullptr, data().findTile(idOf(full, 1, 1)));
    MoxSmartPtr<QelTile> const tile = data().createTile(idOf(full, 1, 1));
    ASSERT_NE(nullptr, tile);
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ(tile, data().findTile(idOf(full, 1, 1)));
    EXPECT_EQ(tile, data().createTile(idOf(full, 1, 1)));
    EXPECT_EQ(tile, data().getTile(idOf(full, 1, 1)));
}

struct PixelCall {
    char const * name;                               // as in the line about a bad status
    char const * operation;                          // for people
    std::function<bool(QelImageStreamData &)> call;  // true for a result
};

std::vector<PixelCall> const & pixelCalls() {
    static MoxSmartPtr<QelXyCoordSpace> const space(new QelXyCoordSpace(300U, 200U));
    static QelImageRequestDesc const wanted(
        MoxSmartPtr<QelXyRegion>(new QelXySimpleRegion(space, 10, 10, 30, 30)));
    static std::vector<PixelCall> const all{
        {"getData", "getData",
         [](QelImageStreamData & data) { return data.getData(&wanted, true) != nullptr; }},
        {"shareBuffer", "shareBuffer",
         [](QelImageStreamData & data) {
             return data.shareBuffer(bufferAt(QelRect(10, 10, 30, 30)).get(), &wanted, true);
         }},
        {"fillRWBuffer", "fillRWBuffer",
         [](QelImageStreamData & data) {
             return data.fillRWBuffer(bufferAt(QelRect(10, 10, 30, 30)).get(), &wanted, true);
         }},
        {"getTile", "getTile(id)",
         [](QelImageStreamData & data) { return data.getTile(idOf(full)) != nullptr; }},
        {"getTile", "getTile(x, y, space)",
         [](QelImageStreamData & data) { return data.getTile(0, 0, space.get()) != nullptr; }},
        {"getTile", "createTile",
         [](QelImageStreamData & data) { return data.createTile(idOf(full)) != nullptr; }},
    };
    return all;
}

TEST_F(QelImageStreamDataPixelsTest, EachPixelCallBringsAStaleOneUpToDate) {
    for (PixelCall const & call : pixelCalls()) {
        SCOPED_TRACE(call.operation);
        MoxSmartPtr<HookTransform> const transform(new HookTransform);
        QelImageStreamData & data = *transform->output().imageStreamData();
        OutputCapture output;
        EXPECT_TRUE(call.call(data));
        EXPECT_EQ(1, transform->count("setup"));
        EXPECT_FALSE(data.outOfDate());
        transform->markOutOfDate(true);
        EXPECT_TRUE(call.call(data));
        EXPECT_EQ(2, transform->count("setup"));
        EXPECT_EQ("", output.text());
    }
}

TEST_F(QelImageStreamDataPixelsTest, FindTileAndImagesBringAStaleOneUpToDate) {
    data().findTile(idOf(full));
    EXPECT_EQ(1, transform_->count("setup"));
    transform_->markOutOfDate(true);
    EXPECT_NE(nullptr, data().get2DImage(idOf(full)));
    EXPECT_EQ(2, transform_->count("setup"));
    MoxSmartPtr<QelXySimpleRegion> const region = data().getMaxResRegion();
    transform_->markOutOfDate(true);
    EXPECT_NE(nullptr, data().get2DImage(region.get()));
    EXPECT_EQ(3, transform_->count("setup"));
}

TEST_F(QelImageStreamDataPixelsTest, AFailedSetupShowsAsNoPixelsAndALineOnTheOutput) {
    fail("Nothing to show");
    for (PixelCall const & call : pixelCalls()) {
        SCOPED_TRACE(call.operation);
        OutputCapture output;
        EXPECT_FALSE(call.call(data()));
        EXPECT_EQ(std::string("Bad status (") + call.name + ") in hooked:out\n", output.text());
    }
    OutputCapture output;
    EXPECT_EQ(nullptr, data().findTile(idOf(full)));
    EXPECT_EQ("Bad status (getTile) in hooked:out\n", output.text());
    expectQelError(data().getStatus(), QelErrorCode::invalidValue, "Nothing to show");
    EXPECT_EQ(1, transform_->count("setup"));
    EXPECT_EQ(0, data().getTileContainer()->numImages());
}

TEST_F(QelImageStreamDataPixelsTest, TheLineOfAnOutputWithoutTransformSaysNULL) {
    MoxSmartPtr<QelImageOutputCP> const alone(new QelImageOutputCP("alone"));
    OutputCapture output;
    EXPECT_EQ(nullptr, alone->getTile(idOf(full)));
    EXPECT_EQ("Bad status (getTile) in NULL:alone\n", output.text());
}

TEST_F(QelImageStreamDataPixelsTest, ABadStatusLeavesTheBufferAlone) {
    QelImageRequestDesc const wanted = request(QelRect(0, 0, 10, 10));
    fail();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(0, 0, 10, 10));
    OutputCapture output;
    EXPECT_FALSE(data().fillRWBuffer(buffer.get(), &wanted, true));
    EXPECT_FALSE(data().shareBuffer(buffer.get(), &wanted, true));
    EXPECT_FALSE(buffer->isAllocated());
    EXPECT_EQ(1, buffer->refCount());
}

TEST_F(QelImageStreamDataPixelsTest, AMendedStatusHasPixelsAgain) {
    fail();
    {
        OutputCapture output;
        EXPECT_EQ(nullptr, data().getTile(idOf(full)));
    }
    transform_->onSetup = nullptr;
    transform_->markOutOfDate(true);
    OutputCapture output;
    EXPECT_NE(nullptr, data().getTile(idOf(full)));
    EXPECT_EQ("", output.text());
}

TEST_F(QelImageStreamDataPixelsTest, PixelCallsRefuseWhatIsMissing) {
    QelImageRequestDesc const wanted = request(QelRect(0, 0, 10, 10));
    QelImageRequestDesc const nowhere(nullptr);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(0, 0, 10, 10));
    struct Case {
        char const * name;
        std::function<void()> call;
    };
    Case const cases[] = {
        {"getData, no request", [&] { data().getData(nullptr, true); }},
        {"getData, no region", [&] { data().getData(&nowhere, true); }},
        {"shareBuffer, no request", [&] { data().shareBuffer(buffer.get(), nullptr, true); }},
        {"shareBuffer, no region", [&] { data().shareBuffer(buffer.get(), &nowhere, true); }},
        {"shareBuffer, no buffer", [&] { data().shareBuffer(nullptr, &wanted, true); }},
        {"fillRWBuffer, no request", [&] { data().fillRWBuffer(buffer.get(), nullptr, true); }},
        {"fillRWBuffer, no region", [&] { data().fillRWBuffer(buffer.get(), &nowhere, true); }},
        {"fillRWBuffer, no buffer", [&] { data().fillRWBuffer(nullptr, &wanted, true); }},
        {"getTile, no space", [&] { data().getTile(0, 0, nullptr); }},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.name);
        expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", each.call);
        EXPECT_FALSE(buffer->isAllocated());
        EXPECT_EQ(0, data().getTileContainer()->numImages());
    }
}

// Pixels of which grid? A space with a single resolution has none selected either.
TEST_F(QelImageStreamDataPixelsTest, ARegionWithoutSelectedResolutionIsRefused) {
    transform_->onDetermineOp = &HookTransform::noOp;
    for (MoxSmartPtr<QelXyCoordSpace> const & space :
         {spaceWith({full, half}), spaceWith({full})}) {
        offer(space);
        transform_->markOutOfDate(true);
        MoxSmartPtr<QelXyRegion> const region(new QelXySimpleRegion(space, boxOfInches()));
        QelImageRequestDesc wanted(region);
        MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(0, 0, 10, 10));
        MoxSmartPtr<QelSmartRenderedItemVector> const list(new QelSmartRenderedItemVector);
        std::function<void()> const calls[] = {
            [&] { data().get2DImage(region.get()); },
            [&] { data().getData(&wanted, true); },
            [&] { data().shareBuffer(buffer.get(), &wanted, true); },
            [&] { data().fillRWBuffer(buffer.get(), &wanted, true); },
            [&] { data().getTile(0, 0, space.get()); },
            [&] { data().generateDependencies(list.get(), &wanted); }};
        for (std::function<void()> const & call : calls) {
            expectRaises(QelErrorCode::noSelectedResolution,
                         "Cannot make an image of 0 by 0 pixels, because no resolution is selected",
                         call);
            EXPECT_EQ(0, data().getTileContainer()->numImages());
        }
        EXPECT_FALSE(buffer->isAllocated());
        EXPECT_EQ(0U, list->size());
    }
}

}  // namespace
