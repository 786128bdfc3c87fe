#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ImageTesting.h"
#include "IterTesting.h"
#include "OutputCapture.h"

// Random requests to random chains of images, compared with a directly computed picture.

namespace {

class Random : public TestRandom {
  public:
    using TestRandom::TestRandom;

    QelLayout layout() {
        return oneOf(std::array{PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED});
    }
    // A rectangle that starts in or near an image of that size.
    QelRect rectNear(QelRect const & image) {
        std::int32_t const x = between(-image.width / 4 - 2, image.width + 2);
        std::int32_t const y = between(-image.height / 4 - 2, image.height + 2);
        return QelRect(x, y, between(1, image.width + 4), between(1, image.height + 4));
    }
    // A rectangle in one cell of the grid, often all of it.
    QelRect rectInTile(Qel2DImage const & image) {
        QelRect const tile = image.dataOrg()->tileRect(between(0, image.tilesAcross() - 1),
                                                       between(0, image.tilesDown() - 1));
        if (chance(40)) return tile;
        std::int32_t const x = chance(50) ? 0 : between(0, tile.width - 1);
        std::int32_t const y = chance(50) ? 0 : between(0, tile.height - 1);
        return QelRect(tile.x + x, tile.y + y, between(1, tile.width - x),
                       between(1, tile.height - y));
    }
};

// Passes on to another op, but will write into no buffer, or accept no other tile size.
class PickyOp : public CountingOp {
  public:
    PickyOp(MoxSmartPtr<QelImageOp> inner, bool fills, bool resizes)
        : CountingOp(std::move(inner)), fills_(fills), resizes_(resizes) {}
    bool acceptsDataOrg(QelDataOrg * org, QelOpContext opContext) override {
        return resizes_ && CountingOp::acceptsDataOrg(org, opContext);
    }
    bool canFill(QelRectBuffer * buffer, QelOpContext opContext) override {
        return fills_ && CountingOp::canFill(buffer, opContext);
    }

  private:
    bool fills_;
    bool resizes_;
};

// A chain of images and the picture that its end shows.
class Chain {
  public:
    explicit Chain(Random & random) : random_(random) {
        // Small tiles in small images: each tile costs more than its pixels.
        std::int32_t const tile =
            random.chance(30) ? random.between(1, 300) : random.between(4, 60);
        std::int32_t const most = std::min(random.chance(4) ? 300 : 70, tile * 7);
        TestImage source{.width = random.between(1, most),
                         .height = random.between(1, most),
                         .bands = random.between(1, 4),
                         .type = random.oneOf(numberTypes()),
                         .layout = random.layout()};
        source.tileWidth = random.chance(10) ? 0 : tile;
        source.tileHeight = random.chance(10) ? 0 : std::max(1, random.between(tile / 2, tile));
        source.originX = random.between(-500, 500);
        source.originY = random.between(-500, 500);
        type_ = source.type;
        picture_ = [type = source.type](std::int32_t x, std::int32_t y, int band) {
            return storedAs(type, gradientAt(x, y, band));
        };
        add(new GradientOp(source), tile);
        for (int length = random.between(0, 4); length > 0; --length)
            addPointOp(tile);
    }

    Qel2DImage & end() const { return *images_.back(); }
    PixelFunction const & picture() const { return picture_; }

    // Makes or computes some tiles and holds some of these.
    void prepareTiles() {
        for (MoxSmartPtr<Qel2DImage> const & image : images_) {
            for (int count = random_.between(0, 4); count > 0; --count) {
                std::int32_t const x = random_.between(0, image->tilesAcross() - 1);
                std::int32_t const y = random_.between(0, image->tilesDown() - 1);
                MoxSmartPtr<QelTile> const tile =
                    random_.chance(50) ? image->getTile(x, y) : image->createTile(x, y);
                for (int holders = random_.between(0, 2); holders > 0; --holders)
                    held_.push_back(tile);
            }
        }
    }

  private:
    void add(MoxSmartPtr<QelImageOp> const & op, std::int32_t tile) {
        TileLimits const limits(random_.chance(50) ? 1 : random_.between(1, tile),
                                random_.chance(50) ? 300 : random_.between(tile, 300));
        MoxSmartPtr<Qel2DImage> const image =
            imageOf(new PickyOp(op, random_.chance(70), random_.chance(70)));
        image->setCacheTiles(random_.chance(50));
        images_.push_back(image);
    }

    void addPointOp(std::int32_t tile) {
        double const amount = random_.between(-3, 3);
        bool const inverts = random_.chance(50);
        auto const change = [amount, inverts](double value) {
            return inverts ? 126 - value : value + amount;
        };
        add(new PointOp(images_.back(), change), tile);
        picture_ = [type = type_, change, inner = picture_](std::int32_t x, std::int32_t y,
                                                            int band) {
            return storedAs(type, change(inner(x, y, band)));
        };
    }

    Random & random_;
    QelDataType type_;
    PixelFunction picture_;
    std::vector<MoxSmartPtr<Qel2DImage>> images_;
    std::vector<MoxSmartPtr<QelTile>> held_;
};

// A buffer for a rectangle, laid out in any way that the copier knows.
MoxSmartPtr<QelRectBuffer> anyBuffer(Random & random, Qel2DImage const & image,
                                     QelRect const & rect) {
    MoxSmartPtr<QelDataOrg> org = image.dataOrg();
    bool const asTile = random.chance(50);
    if (!asTile && random.chance(40)) org = org->withLayout(random.layout());
    if (!asTile && random.chance(20)) org = org->withDataType(random.oneOf(numberTypes()));
    if (!asTile && random.chance(40))
        org = org->withSize(rect.width + random.between(0, 5), rect.height);
    MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(org, rect);
    if (random.chance(10)) buffer->releaseData();
    if (random.chance(50)) fillPixels(*buffer, rect, painted);
    return buffer;
}

// What a buffer of another element type shows.
PixelFunction convertedTo(QelDataType type, PixelFunction picture) {
    return [type, picture = std::move(picture)](std::int32_t x, std::int32_t y, int band) {
        return storedAs(type, picture(x, y, band));
    };
}

void fillSomething(Random & random, Chain & chain, QelRect const & rect) {
    Qel2DImage & image = chain.end();
    MoxSmartPtr<QelRectBuffer> const dest = anyBuffer(random, image, rect);
    bool const hadMemory = dest->isAllocated();
    bool const allowCopy = random.chance(70);
    bool const filled = image.fillRWBuffer(dest, allowCopy);
    QelRect const inside = rect.intersect(image.imageRect());
    PixelFunction const picture = convertedTo(dest->precision(0), chain.picture());
    ASSERT_TRUE(filled || !allowCopy);
    if (filled && !inside.isEmpty()) {
        ASSERT_TRUE(showsPixels(*dest, inside, picture));
    }
    if (hadMemory) {
        QelRect const written = filled ? inside : QelRect();
        ASSERT_TRUE(showsPixels(*dest, rect, framedBy(written, picture, paint)));
    }
}

void getSomething(Random & random, Chain & chain, QelRect const & rect) {
    Qel2DImage & image = chain.end();
    bool const allowCopy = random.chance(70);
    MoxSmartPtr<QelRectBuffer> const data = image.getData(rect, allowCopy);
    QelRect const inside = rect.intersect(image.imageRect());
    bool const isThere = !inside.isEmpty() && (allowCopy || image.dataOrg()->isOneTile(inside));
    ASSERT_EQ(isThere, static_cast<bool>(data));
    if (!data) return;
    ASSERT_EQ(allowCopy ? rect : inside, data->rect());
    ASSERT_TRUE(showsPixels(*data, data->rect(), framedBy(inside, chain.picture(), 0)));
}

void shareSomething(Random & random, Chain & chain, QelRect const & rect) {
    Qel2DImage & image = chain.end();
    QelRect const own(random.between(-500, 500), random.between(-500, 500), rect.width,
                      rect.height);
    MoxSmartPtr<QelRectBuffer> const buffer = anyBuffer(random, image, own);
    bool const hadMemory = buffer->isAllocated();
    bool const allowCopy = random.chance(70);
    image.shareBuffer(buffer, rect, allowCopy);
    if (!buffer->isAllocated()) {
        ASSERT_TRUE(!allowCopy || rect.intersect(image.imageRect()).isEmpty());
        return;
    }
    // Under the coordinates of the image.
    buffer->setRect(rect);
    PixelFunction const picture = convertedTo(buffer->precision(0), chain.picture());
    QelRect const inside = rect.intersect(image.imageRect());
    if (hadMemory) {
        QelRect const written = allowCopy ? inside : QelRect();
        ASSERT_TRUE(showsPixels(*buffer, rect, framedBy(written, picture, paint)));
    } else {
        ASSERT_TRUE(showsPixels(*buffer, inside, picture));
    }
}

void askForATile(Random & random, Chain & chain, QelRect const &) {
    Qel2DImage & image = chain.end();
    MoxSmartPtr<QelTile> const tile = image.getTile(random.between(0, image.tilesAcross() - 1),
                                                    random.between(0, image.tilesDown() - 1));
    ASSERT_TRUE(tile->isState(QelRenderedItem::complete));
    ASSERT_TRUE(showsPixels(*tile, tile->rect(), chain.picture()));
}

std::vector<double> allElements(QelRectBuffer const & buffer) {
    std::vector<double> elements;
    QelRect const & rect = buffer.rect();
    for (std::int32_t y = 0; y < rect.height; ++y) {
        for (std::int32_t x = 0; x < rect.width; ++x) {
            for (int band = 0; band < buffer.numBands(); ++band)
                elements.push_back(elementAt(buffer, rect.x + x, rect.y + y, band));
        }
    }
    return elements;
}

}  // namespace

TEST(Qel2DImageRandomTest, EveryRequestShowsThePicture) {
    constexpr std::uint32_t seed = 20240611;
    constexpr int cases = 150;
    constexpr int requests = 12;
    Random random(seed);
    OutputCapture const output;
    std::int64_t const bytes = QelSystemConfig::currentBytes;
    std::int64_t const blocks = QelSystemConfig::liveBlocks;
    std::array const ask{fillSomething, getSomething, shareSomething, askForATile};
    for (int i = 0; i < cases; ++i) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", case " + std::to_string(i));
        Chain chain(random);
        SCOPED_TRACE(chain.end().describe());
        chain.prepareTiles();
        for (int request = 0; request < requests; ++request) {
            QelRect const rect = random.chance(50) ? random.rectInTile(chain.end())
                                                   : random.rectNear(chain.end().imageRect());
            SCOPED_TRACE("request " + std::to_string(request));
            SCOPED_TRACE(rect);
            random.oneOf(ask)(random, chain, rect);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
    EXPECT_EQ("", output.text());
    EXPECT_EQ(bytes, QelSystemConfig::currentBytes);
    EXPECT_EQ(blocks, QelSystemConfig::liveBlocks);
}

// A chain of three images with one tile size, read piece by piece.
TEST(Qel2DImageRandomTest, PixelsAreIdenticalForEveryTileSize) {
    constexpr std::uint32_t seed = 77;
    Random random(seed);
    std::vector<double> first;
    for (std::int32_t const size :
         {300, 1, 2, 3, 5, 16, 17, 31, 64, 100, 127, 128, 200, 256, 299}) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", tile size " + std::to_string(size));
        std::int32_t const height = random.chance(50) ? size : random.between(size, 300);
        TileLimits const limits(1, 300);
        TestImage report{.width = 41, .height = 37, .type = QelDataType::Short};
        if (size > 20) report.width = report.height = 301;
        // The pictures agree where the small one ends.
        report.tileWidth = size;
        report.tileHeight = height;
        report.originX = random.between(-400, 400);
        report.originY = random.between(-400, 400);
        MoxSmartPtr<Qel2DImage> const source = imageOf(new GradientOp(report));
        MoxSmartPtr<Qel2DImage> const inverted = imageOf(new InvertOp(source, 1000));
        MoxSmartPtr<Qel2DImage> const image = imageOf(new AddOp(inverted, 3));
        image->setCacheTiles(random.chance(50));
        EXPECT_EQ(size, image->dataOrg()->tileWidth());
        MoxSmartPtr<QelRectBuffer> const data = image->getData(QelRect(-2, 1, 43, 36), true);
        ASSERT_TRUE(data);
        QelRect const inside(0, 1, 41, 36);
        ASSERT_TRUE(showsPixels(*data, inside, [](std::int32_t x, std::int32_t y, int band) {
            return 1003 - gradientAt(x, y, band);
        }));
        std::vector<double> const elements = allElements(*data->subBuffer(inside));
        if (first.empty()) first = elements;
        ASSERT_EQ(first, elements);
    }
}
