#include <sstream>
#include <stdexcept>

#include "DiagonalOrg.h"
#include "ExpectError.h"
#include "OutputCapture.h"
#include "QelError.h"
#include "QelSystemConfig.h"
#include "QelXySimpleRegion.h"
#include "ScopedSetting.h"
#include "TransformTesting.h"

// How a transform makes the pixels of its outputs.

namespace {

constexpr std::int32_t width = 300;
constexpr std::int32_t height = 200;
QelTileId const wholeImage(0, 0, width, height);

// "painter": makes the gradient by an op, by genRect() or by nothing, and notes how it was asked.
// Has `outputs` outputs "out0", ... of 300 by 200 pixels in tiles of 128 by 128.
class PaintTransform : public QelTransform {
  public:
    enum class By { op, genRect, nothing };

    explicit PaintTransform(By by = By::op, int outputs = 1) : by_(by) {
        setLabel("painter");
        for (int i = 0; i < outputs; ++i) {
            addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(
                new QelImageOutputCP("out" + std::to_string(i))));
        }
    }

    bool good = true;
    std::function<void()> onGenRect;
    mutable TransformLog log;
    // The requests that genTile() and genRect() have got.
    std::vector<MoxSmartPtr<QelImageRequestDesc>> requests;

    MoxSmartPtr<QelTransform> clone() const override { return nullptr; }
    void setupTransform() override {
        if (!good) qelRaise(QelErrorCode::invalidValue, "no paint");
        for (int i = 0; i < numOutputs(); ++i) {
            imageOutput(*this, i).setAttributes(
                image_.dataOrg(), new QelXyCoordSpace(width, height), nullptr, nullptr, true);
        }
        setStatusOK();
    }
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override {
        std::ostringstream text;
        text << "op(" << id.resolutionWidth << 'x' << id.resolutionHeight << ';' << outputIndex
             << ')';
        log.note(text.str());
        if (by_ != By::op) return nullptr;
        return MoxSmartPtr<QelImageOp>(
            new GradientOp(image_, [outputIndex](std::int32_t x, std::int32_t y, int band) {
                return gradientAt(x, y, band) + outputIndex;
            }));
    }
    MoxSmartPtr<QelTile> getTile(MoxSmartPtr<QelTile> tile,
                                 MoxSmartPtr<QelImageRequestDesc> request) override {
        note("getTile", tile->rect());
        return QelTransform::getTile(tile, request);
    }
    void genTile(MoxSmartPtr<QelTile> tile, MoxSmartPtr<QelImageRequestDesc> request) override {
        note("genTile", tile->rect());
        requests.push_back(request);
        QelTransform::genTile(tile, request);
    }
    void genRect(MoxSmartPtr<QelRectBuffer> buffer,
                 MoxSmartPtr<QelImageRequestDesc> request) override {
        note("genRect", buffer->rect());
        requests.push_back(request);
        if (onGenRect) onGenRect();
        if (by_ == By::genRect)
            fillPixels(*buffer, request->region()->pixelBounds(), gradientAt);
        else
            QelTransform::genRect(buffer, request);
    }
    bool canGenRectForData(QelDataOrg const * org, int outputIndex) override {
        log.note("canGenRectForData(" + std::to_string(outputIndex) + ')');
        return QelTransform::canGenRectForData(org, outputIndex);
    }

    QelImageOutputCP & out(int index = 0) { return imageOutput(*this, index); }
    // A request for a rectangle of an output.
    MoxSmartPtr<QelImageRequestDesc> request(QelRect const & rect, int index = 0) {
        MoxSmartPtr<QelXySimpleRegion> const region = out(index).getMaxResRegion();
        region->setPixelBounds(rect);
        return new QelImageRequestDesc(region.get(), &out(index));
    }
    // An empty tile of an output.
    MoxSmartPtr<QelTile> emptyTile(std::int32_t x, std::int32_t y, int index = 0) {
        MoxSmartPtr<QelTile> const tile = out(index).createTile(QelTileId(wholeImage, x, y));
        log.take("");
        requests.clear();
        return tile;
    }

  private:
    void note(char const * operation, QelRect const & rect) const {
        std::ostringstream text;
        text << operation << '(' << rect.x << ',' << rect.y << ' ' << rect.width << 'x'
             << rect.height << ')';
        log.note(text.str());
    }

    By by_;
    TestImage image_{.width = width, .height = height};
};

using Painter = MoxSmartPtr<PaintTransform>;

Painter painter(PaintTransform::By by = PaintTransform::By::op, int outputs = 1) {
    return new PaintTransform(by, outputs);
}

// A buffer of zeros.
MoxSmartPtr<QelRectBuffer> bufferOf(QelRect const & rect) {
    MoxSmartPtr<QelRectBuffer> buffer(
        new QelRectBuffer(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar));
    fillPixels(*buffer, rect, [](std::int32_t, std::int32_t, int) { return 0.0; });
    return buffer;
}

// The gradient within `rect`, zero elsewhere.
PixelFunction gradientWithin(QelRect const & rect) {
    return [rect](std::int32_t x, std::int32_t y, int band) {
        return rect.contains(x, y) ? gradientAt(x, y, band) : 0.0;
    };
}

double seven(std::int32_t, std::int32_t, int) {
    return 7.0;
}

// A complete tile of the output whose pixels are all 7.
MoxSmartPtr<QelTile> tileOfSevens(PaintTransform & from, std::int32_t x, std::int32_t y) {
    MoxSmartPtr<QelTile> tile = from.emptyTile(x, y);
    fillPixels(*tile, tile->rect(), seven);
    tile->setComplete(true);
    return tile;
}

void makeBad(PaintTransform & transform) {
    transform.good = false;
    transform.markOutOfDate(true);
}

// ---- getTile

TEST(QelTransformPixelsTest, GetTilePopulatesATile) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = p->emptyTile(1, 0);
    EXPECT_EQ(tile.get(), p->getTile(tile, p->request(QelRect(0, 0, width, height))).get());
    EXPECT_EQ(
        "getTile(128,0 128x128) genTile(128,0 128x128) genRect(128,0 128x128) "
        "op(300x200;0)",
        p->log.take(""));
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, QelRect(128, 0, 128, 128), gradientAt));
}

TEST(QelTransformPixelsTest, GetTileNarrowsTheRequestToTheTile) {
    Painter const p = painter(PaintTransform::By::genRect);
    MoxSmartPtr<QelTile> const tile = p->emptyTile(2, 1);
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(5, 6, 290, 190));
    p->getTile(tile, request);
    ASSERT_EQ(2U, p->requests.size());
    EXPECT_NE(request.get(), p->requests[0].get());
    EXPECT_NE(request->region().get(), p->requests[0]->region().get());
    EXPECT_EQ(QelRect(256, 128, 44, 72), p->requests[0]->region()->pixelBounds());
    EXPECT_EQ(&p->out(), p->requests[0]->output());
    EXPECT_EQ(QelRect(5, 6, 290, 190), request->region()->pixelBounds());
    EXPECT_TRUE(showsPixels(*tile, QelRect(256, 128, 44, 72), gradientAt));
}

TEST(QelTransformPixelsTest, GetTileMakesTheWholeTileThoughLessIsAskedFor) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    p->getTile(tile, p->request(QelRect(0, 0, 10, 10)));
    EXPECT_TRUE(showsPixels(*tile, QelRect(0, 0, 128, 128), gradientAt));
}

TEST(QelTransformPixelsTest, GetTileYieldsNullForABadStatus) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    p->log.take("");
    makeBad(*p);
    OutputCapture const output;
    EXPECT_EQ(nullptr, p->getTile(tile, request).get());
    EXPECT_EQ("getTile(0,0 128x128)", p->log.take(""));
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_EQ("", output.text());
}

TEST(QelTransformPixelsTest, GetTileLeavesAPopulatedTile) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = tileOfSevens(*p, 0, 0);
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    p->log.take("");
    EXPECT_EQ(tile.get(), p->getTile(tile, request).get());
    EXPECT_EQ("getTile(0,0 128x128)", p->log.take(""));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), seven));
}

TEST(QelTransformPixelsTest, GetTileTracesWhatItDoesWithBit0) {
    Painter const p = painter(PaintTransform::By::genRect);
    MoxSmartPtr<QelTile> const tile = p->emptyTile(1, 0);
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, width, height));
    tile->getData();
    OutputCapture output;
    p->getTile(tile, request);
    EXPECT_EQ("", output.take());
    p->getTile(tile, request);
    EXPECT_EQ("", output.take());
    tile->setComplete(false);
    tile->getData();
    ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 1);
    output.take();
    p->getTile(tile, request);
    std::string const first = output.take();
    EXPECT_NE(std::string::npos, first.find("calling genTile for ")) << first;
    for (char const * part : {"PaintTransform", "painter", "out0", "<1,0,200,300>"})
        EXPECT_NE(std::string::npos, first.find(part)) << part << " is not in " << first;
    p->getTile(tile, request);
    EXPECT_EQ("tile <1,0,200,300> is already populated in QelTransform::getTile painter\n",
              output.take());
}

TEST(QelTransformPixelsTest, GetTileLeavesATileUnmarkedThatFailed) {
    Painter const p = painter(PaintTransform::By::genRect);
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    p->onGenRect = [] { qelRaise(QelErrorCode::misuse, "no brush"); };
    expectRaises(QelErrorCode::misuse, "no brush", [&] { p->getTile(tile, request); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    p->onGenRect = [] { throw std::runtime_error("foreign"); };
    EXPECT_THROW(p->getTile(tile, request), std::runtime_error);
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    p->onGenRect = nullptr;
    p->getTile(tile, request);
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

// ---- genTile

TEST(QelTransformPixelsTest, GenTileNamesTheOutputThatOwnsTheTile) {
    Painter const p = painter(PaintTransform::By::op, 2);
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0, 1);
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 128, 128), 0);
    p->genTile(tile, request);
    EXPECT_EQ(&p->out(1), request->output());
    EXPECT_EQ("genTile(0,0 128x128) genRect(0,0 128x128) op(300x200;1)", p->log.take(""));
    EXPECT_EQ(request.get(), p->requests.back().get());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), [](std::int32_t x, std::int32_t y, int band) {
        return gradientAt(x, y, band) + 1;
    }));
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
}

// ---- genRect

TEST(QelTransformPixelsTest, GenRectRefusesABadStatus) {
    Painter const p = painter();
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    makeBad(*p);
    expectRaises(QelErrorCode::misuse,
                 "Bad status found when calling genRect in painter:" + p->getClassName(),
                 [&] { p->genRect(buffer, request); });
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect())));
}

TEST(QelTransformPixelsTest, GenRectComputesTheBoxOfTheRequestByTheOp) {
    Painter const p = painter();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(100, 50, 100, 100));
    p->genRect(buffer, p->request(QelRect(120, 60, 30, 20)));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect(120, 60, 30, 20))));
}

TEST(QelTransformPixelsTest, GenRectComputesNoMoreThanTheBufferHas) {
    Painter const p = painter();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(100, 50, 20, 20));
    p->genRect(buffer, p->request(QelRect(110, 0, 100, 60)));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect(110, 50, 10, 10))));
}

// Its op must not be asked to compute.
class ResentfulTransform : public PaintTransform {
  public:
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const &, int) const override {
        return MoxSmartPtr<QelImageOp>(new ThrowingOp({.width = width, .height = height}, [] {
            qelRaise(QelErrorCode::misuse, "leave me alone");
        }));
    }
};

TEST(QelTransformPixelsTest, GenRectComputesNothingWhereRequestAndBufferShareNoPixel) {
    Painter const p = new ResentfulTransform();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    EXPECT_NO_THROW(p->genRect(buffer, p->request(QelRect(10, 0, 10, 10))));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect())));
    expectRaises(QelErrorCode::misuse, "leave me alone",
                 [&] { p->genRect(buffer, p->request(QelRect(9, 0, 10, 10))); });
}

TEST(QelTransformPixelsTest, GenRectAsksForTheOpOfTheOutputAndResolutionOfTheRequest) {
    Painter const p = painter(PaintTransform::By::op, 3);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10), 2);
    p->log.take("");
    p->genRect(buffer, request);
    EXPECT_EQ("genRect(0,0 10x10) op(300x200;2)", p->log.take(""));
}

TEST(QelTransformPixelsTest, GenRectTracesTheOpWithBit0) {
    Painter const p = painter();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(2, 3, 4, 5));
    OutputCapture output;
    p->genRect(buffer, request);
    EXPECT_EQ("", output.take());
    ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 1);
    p->genRect(buffer, request);
    std::string const text = output.take();
    EXPECT_NE(std::string::npos, text.find("Delegate to computation layer op: ")) << text;
    for (char const * part : {"PaintTransform", "2,3,4,5", "0,0,10,10"})
        EXPECT_NE(std::string::npos, text.find(part)) << part << " is not in " << text;
}

TEST(QelTransformPixelsTest, GenRectWithoutAnOpCopiesFromTilesThatOthersMade) {
    Painter const p = painter(PaintTransform::By::nothing);
    MoxSmartPtr<QelTile> const left = p->emptyTile(0, 0);
    MoxSmartPtr<QelTile> const right = p->emptyTile(1, 0);
    fillPixels(*left, left->rect(), gradientAt);
    left->setComplete(true);
    fillPixels(*right, right->rect(), seven);
    right->setComplete(true);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(120, 10, 20, 20));
    p->genRect(buffer, p->request(QelRect(118, 15, 20, 100)));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), [](std::int32_t x, std::int32_t y, int band) {
        if (y < 15 || x >= 138) return 0.0;
        return x < 128 ? gradientAt(x, y, band) : 7.0;
    }));
}

TEST(QelTransformPixelsTest, GenRectWithoutAnOpFailsWhereItIsAskedForItsOwnTile) {
    Painter const p = painter(PaintTransform::By::nothing);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    std::string const text =
        "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an "
        "QelImageOp or containing connection point with which to generate a tile (getTile)";
    expectRaises(QelErrorCode::noPixelSource, text, [&] { p->genRect(buffer, request); });
    expectRaises(QelErrorCode::noPixelSource, text,
                 [&] { p->out().getTile(QelTileId(wholeImage, 0, 0)); });
    expectRaises(QelErrorCode::noPixelSource, text,
                 [&] { p->out().fillRWBuffer(buffer, request, true); });
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect())));
}

// ---- fillRect

TEST(QelTransformPixelsTest, FillRectReportsABadStatusAndFillsNothing) {
    Painter const p = painter();
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    makeBad(*p);
    OutputCapture const output;
    EXPECT_FALSE(p->fillRect(buffer, request, true));
    EXPECT_EQ("Bad status found when calling fillRect in painter:" + p->getClassName() + "\n",
              output.text());
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect())));
}

TEST(QelTransformPixelsTest, FillRectFillsWhatRequestAndBufferShare) {
    for (bool const useTiles : {true, false}) {
        Painter const p = painter();
        MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(50, 60, 200, 120));
        EXPECT_TRUE(p->fillRect(buffer, p->request(QelRect(0, 100, 220, 50)), useTiles));
        EXPECT_TRUE(
            showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect(50, 100, 170, 50))));
    }
}

TEST(QelTransformPixelsTest, FillRectOfABufferThatTouchesNoTileWritesNothing) {
    for (bool const useTiles : {true, false}) {
        Painter const p = painter();
        MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(1000, 1000, 10, 10));
        MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, width, height));
        p->log.take("");
        EXPECT_TRUE(p->fillRect(buffer, request, useTiles));
        EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientWithin(QelRect())));
        EXPECT_EQ("", p->log.take("gen"));
    }
}

TEST(QelTransformPixelsTest, FillRectWithoutTilesGoesStraightEvenPastPopulatedOnes) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = tileOfSevens(*p, 0, 0);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(100, 100, 60, 60));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, width, height));
    p->log.take("");
    EXPECT_TRUE(p->fillRect(buffer, request, false));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
    EXPECT_EQ(
        "genRect(100,100 28x28) genRect(128,100 32x28) genRect(100,128 28x32) "
        "genRect(128,128 32x32)",
        p->log.take("genRect"));
}

TEST(QelTransformPixelsTest, FillRectTakesPopulatedTilesAndGoesStraightForOthers) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = tileOfSevens(*p, 0, 0);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(100, 100, 60, 20));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, width, height));
    p->log.take("");
    EXPECT_TRUE(p->fillRect(buffer, request, true));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), [](std::int32_t x, std::int32_t y, int band) {
        return x < 128 ? 7.0 : gradientAt(x, y, band);
    }));
    EXPECT_EQ("genRect(128,100 32x20)", p->log.take("gen"));
}

TEST(QelTransformPixelsTest, FillRectTouchesNoTileMemoryWhereItGoesStraight) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const watched = p->emptyTile(0, 0);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    std::int64_t const before = QelSystemConfig::allocationCount;
    EXPECT_TRUE(p->fillRect(buffer, p->request(QelRect(0, 0, width, height)), true));
    EXPECT_EQ(before, QelSystemConfig::allocationCount);
    EXPECT_FALSE(watched->isState(QelRenderedItem::complete));
    EXPECT_FALSE(watched->isAllocated());
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
}

TEST(QelTransformPixelsTest, FillRectPopulatesATileThatSeveralUse) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    MoxSmartPtr<QelTile> const second = tile;
    MoxSmartPtr<QelTile> const third = tile;
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    EXPECT_TRUE(p->fillRect(buffer, p->request(QelRect(0, 0, width, height)), true));
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
}

TEST(QelTransformPixelsTest, FillRectDoesNotPopulateATileThatFewUse) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    MoxSmartPtr<QelTile> const second = tile;
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    EXPECT_TRUE(p->fillRect(buffer, p->request(QelRect(0, 0, width, height)), true));
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
}

TEST(QelTransformPixelsTest, FillRectPassesTheRequestsOutputOn) {
    Painter const p = painter(PaintTransform::By::op, 2);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    EXPECT_TRUE(p->fillRect(buffer, p->request(QelRect(0, 0, 10, 10), 1), false));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), [](std::int32_t x, std::int32_t y, int band) {
        return gradientAt(x, y, band) + 1;
    }));
}

TEST(QelTransformPixelsTest, FillRectTracesItsWaysWithBit0) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = tileOfSevens(*p, 0, 0);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(100, 100, 60, 20));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, width, height));
    OutputCapture output;
    EXPECT_TRUE(p->fillRect(buffer, request, true));
    EXPECT_EQ("", output.take());
    ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 1);
    EXPECT_TRUE(p->fillRect(buffer, request, true));
    std::string const text = output.take();
    for (char const * part :
         {"fillrect is allocated -- painter\n", "fillrect painter created tile ", "copying ",
          "Data gotten -- about to copy\n", "propagating fill rect instead of filling tile ",
          " not populated"})
        EXPECT_NE(std::string::npos, text.find(part)) << part << " is not in " << text;
    EXPECT_EQ(std::string::npos, text.find("is populated ")) << text;
    EXPECT_TRUE(p->fillRect(buffer, request, false));
    EXPECT_NE(std::string::npos, output.take().find("is populated "));
    MoxSmartPtr<QelRectBuffer> const late(
        new QelRectBuffer(QelRect(0, 0, 10, 10), 3, PIXEL_INTERLEAVED, QelDataType::UChar));
    EXPECT_TRUE(p->fillRect(late, request, true));
    EXPECT_EQ(std::string::npos, output.take().find("fillrect is allocated"));
    EXPECT_TRUE(showsPixels(*late, late->rect(), seven));
}

// ---- From the image

TEST(QelTransformPixelsTest, AnImageWithoutAnOpResortsToTheTransform) {
    Painter const p = painter(PaintTransform::By::genRect);
    OutputCapture output;
    {
        ScopedSetting<std::uint32_t> const trace(QelSystemConfig::traceFlags, 1);
        ASSERT_TRUE(p->out().getTile(QelTileId(wholeImage, 1, 0)));
    }
    std::string const text = output.take();
    EXPECT_NE(std::string::npos, text.find("Resorting to Transform-level computation ")) << text;
    EXPECT_EQ("getTile(128,0 128x128) genTile(128,0 128x128) genRect(128,0 128x128)",
              p->log.take("(128"));
}

TEST(QelTransformPixelsTest, AnImageWithoutAnOpShowsTheTransformsPixels) {
    Painter const p = painter(PaintTransform::By::genRect);
    MoxSmartPtr<QelRectBuffer> const pixels = pixelsOf(*p);
    ASSERT_TRUE(pixels);
    EXPECT_TRUE(showsPixels(*pixels, QelRect(0, 0, width, height), gradientAt));
    // And by a straight way into a buffer of the client's.
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(10, 10, 280, 180));
    EXPECT_TRUE(p->out().fillRWBuffer(buffer, p->request(QelRect(10, 10, 280, 180)), true));
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), gradientAt));
}

// Without an op; fills tiles.
class TilePainter : public PaintTransform {
  public:
    TilePainter() : PaintTransform(By::nothing) {}
    void genTile(MoxSmartPtr<QelTile> tile, MoxSmartPtr<QelImageRequestDesc>) override {
        fillPixels(*tile, tile->rect(), gradientAt);
    }
};

TEST(QelTransformPixelsTest, AClassWithoutOpsMayMakeTilesAlone) {
    QelRect const rects[] = {QelRect(10, 10, 50, 50), QelRect(0, 0, 128, 128),
                             QelRect(100, 100, 150, 80), QelRect(0, 0, width, height)};
    for (QelRect const & rect : rects) {
        Painter const p = new TilePainter();
        MoxSmartPtr<QelRectBuffer> const straight = bufferOf(rect);
        p->genRect(straight, p->request(rect));
        EXPECT_TRUE(showsPixels(*straight, rect, gradientAt)) << rect;
        MoxSmartPtr<QelRectBuffer> const filled = bufferOf(rect);
        EXPECT_TRUE(p->fillRect(filled, p->request(rect), true));
        EXPECT_TRUE(showsPixels(*filled, rect, gradientAt)) << rect;
        MoxSmartPtr<QelRectBuffer> const asked = bufferOf(rect);
        EXPECT_TRUE(p->out().fillRWBuffer(asked, p->request(rect), true));
        EXPECT_TRUE(showsPixels(*asked, rect, gradientAt)) << rect;
    }
}

// ---- Null

TEST(QelTransformPixelsTest, RefusesNullEverywhere) {
    Painter const p = painter();
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const empty(new QelImageRequestDesc(nullptr, &p->out()));
    QelTransform & t = *p;
    std::function<void()> const calls[] = {
        [&] { t.QelTransform::getTile(nullptr, request); },
        [&] { t.QelTransform::getTile(tile, nullptr); },
        [&] { t.QelTransform::getTile(tile, empty); },
        [&] { t.QelTransform::genTile(nullptr, request); },
        [&] { t.QelTransform::genTile(tile, nullptr); },
        [&] { t.QelTransform::genTile(tile, empty); },
        [&] { t.QelTransform::genRect(nullptr, request); },
        [&] { t.QelTransform::genRect(buffer, nullptr); },
        [&] { t.QelTransform::genRect(buffer, empty); },
        [&] { t.QelTransform::fillRect(nullptr, request, true); },
        [&] { t.QelTransform::fillRect(buffer, nullptr, true); },
        [&] { t.QelTransform::fillRect(buffer, empty, true); },
    };
    for (auto const & call : calls)
        expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", call);
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
}

TEST(QelTransformPixelsTest, RefusesARequestWithoutAnOutput) {
    Painter const p = painter();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelImageRequestDesc> const request = p->request(QelRect(0, 0, 10, 10));
    request->setOutput(nullptr);
    std::string const text = "The request names no output connection point";
    expectRaises(QelErrorCode::nullPointer, text, [&] { p->genRect(buffer, request); });
    expectRaises(QelErrorCode::nullPointer, text, [&] { p->fillRect(buffer, request, true); });
    // A tile knows its output.
    MoxSmartPtr<QelTile> const tile = p->emptyTile(0, 0);
    EXPECT_EQ(tile.get(), p->getTile(tile, request).get());
    EXPECT_TRUE(showsPixels(*tile, tile->rect(), gradientAt));
}

TEST(QelTransformPixelsTest, RefusesARequestForTheOutputOfAnotherTransform) {
    Painter const p = painter();
    Painter const other = painter();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    std::optional<ZanError> const error =
        errorOf([&] { p->genRect(buffer, other->request(QelRect(0, 0, 10, 10))); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::notOwnOutput, error->getErrcode());
}

// ---- canGenRect

TEST(QelTransformPixelsTest, CanGenRectOfTheSameElementType) {
    Painter const p = painter(PaintTransform::By::op, 2);
    MoxSmartPtr<QelRectBuffer> const same = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<QelRectBuffer> const planar(
        new QelRectBuffer(QelRect(0, 0, 10, 10), 3, BAND_INTERLEAVED, QelDataType::UChar));
    MoxSmartPtr<QelRectBuffer> const other(
        new QelRectBuffer(QelRect(0, 0, 10, 10), 3, PIXEL_INTERLEAVED, QelDataType::Short));
    EXPECT_TRUE(p->canGenRect(same, 0));
    EXPECT_EQ("canGenRectForData(0)", p->log.take("can"));
    EXPECT_TRUE(p->canGenRect(planar, 1));
    EXPECT_EQ("canGenRectForData(1)", p->log.take("can"));
    EXPECT_FALSE(p->canGenRect(other, 0));
    EXPECT_TRUE(p->canGenRectForData(same->dataOrg(), 0));
    EXPECT_FALSE(p->canGenRectForData(other->dataOrg(), 0));
}

// Whoever makes pixels itself may write through any organisation.
TEST(QelTransformPixelsTest, CanGenRectOfAnyClassOfOrganisation) {
    MoxSmartPtr<ScriptedTransform> const grey(new ScriptedTransform("grey"));
    grey->onSetup = [](ScriptedTransform & self) {
        imageOutput(self).setAttributes(TestImage{.bands = 1}.dataOrg(),
                                        new QelXyCoordSpace(width, height), nullptr, nullptr, true);
        self.setStatusOK();
    };
    MoxSmartPtr<DiagonalOrg> const diagonal(new DiagonalOrg(10, 10));
    EXPECT_TRUE(grey->canGenRectForData(diagonal, 0));
}

TEST(QelTransformPixelsTest, CanGenRectRefusesOtherNumbersOfBands) {
    Painter const p = painter();
    MoxSmartPtr<QelRectBuffer> const grey(
        new QelRectBuffer(QelRect(0, 0, 10, 10), 1, PIXEL_INTERLEAVED, QelDataType::UChar));
    EXPECT_FALSE(p->canGenRect(grey, 0));
}

TEST(QelTransformPixelsTest, CanGenRectRefusesABadTransformAndDataThatIsNoImage) {
    Painter const p = painter();
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    MoxSmartPtr<ScriptedTransform> const numbers(new ScriptedTransform("n", 0, 0));
    numbers->addOutput(new NumberOutputCP("numbers"));
    EXPECT_FALSE(numbers->canGenRect(buffer, 0));
    MoxSmartPtr<ScriptedTransform> const plain(new ScriptedTransform("plain"));
    EXPECT_FALSE(plain->canGenRect(buffer, 0));
}

TEST(QelTransformPixelsTest, CanGenRectRefusesNullAndWrongOutputs) {
    Painter const p = painter();
    EXPECT_FALSE(p->canGenRect(nullptr, 0));
    EXPECT_FALSE(p->canGenRectForData(nullptr, 0));
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(QelRect(0, 0, 10, 10));
    expectRaises(QelErrorCode::noSuchPointIndex,
                 "Transform painter does not have an output CP with index 1; there are only 1 "
                 "connection points",
                 [&] { p->canGenRect(buffer, 1); });
}

}  // namespace
