#include "QelNeighbourOp.h"

#include "ClientTesting.h"
#include "FaultySystem.h"
#include "OpReference.h"

namespace {

std::int64_t computed(Qel2DImage const & image) {
    return image.statistics().tilesComputed;
}

MoxSmartPtr<Qel2DImage> gradientImage(std::int32_t width, std::int32_t height) {
    return new Qel2DImage(new GradientOp({.width = width, .height = height}));
}

TEST(QelNeighbourOpTest, ReportsThatItHasNoInput) {
    QelBlurOp op(nullptr);
    expectReportsNoInput(op);
}

// Takes nothing but UChar.
class NarrowOp : public QelBlurOp {
  public:
    using QelBlurOp::QelBlurOp;

  protected:
    bool supports(QelDataType type) const override { return type == QelDataType::UChar; }
};

TEST(QelNeighbourOpTest, RefusesAnElementTypeInItsReport) {
    NarrowOp op(new Qel2DImage(new GradientOp({.width = 9, .height = 9, .type = 3})));
    QelImageInfo info;
    EXPECT_FALSE(op.outputInfo(info));
    expectQelError(info.status(), QelErrorCode::unsupportedDataType,
                   "The data type float is not a supported data type in " +
                       std::string(QelCoreMisc::classNameOf(op)));
}

TEST(QelNeighbourOpTest, RefusesBuffersOfOtherElements) {
    QelBlurOp op(gradientImage(30, 30));
    expectRefusesOtherElements(op);
    expectRefusesOtherOrganisations(op);
}

TEST(QelNeighbourOpTest, EdgesOfTheImageAreRepeatedAndNotThoseOfTheRegion) {
    MoxSmartPtr<Qel2DImage> const input = gradientImage(400, 300);
    Qel2DImage image(new QelSharpenOp(input));
    MoxSmartPtr<QelRectBuffer> const whole = allOf(image);
    for (QelRect const & region : {QelRect(0, 0, 10, 10), QelRect(130, 120, 9, 20),
                                   QelRect(390, 290, 10, 10), QelRect(127, 127, 2, 2)}) {
        MoxSmartPtr<QelRectBuffer> const part =
            new QelRectBuffer(region, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        Qel2DImage fresh(new QelSharpenOp(input));
        ASSERT_TRUE(fresh.fillRWBuffer(part, true));
        EXPECT_TRUE(showsPixels(*part, region, pixelsOf(*whole))) << region;
    }
}

TEST(QelNeighbourOpTest, ImageOfOnePixel) {
    MoxSmartPtr<QelRectBuffer> const picture =
        new QelRectBuffer(1, 1, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    fillPixels(*picture, picture->rect(), gradientAt);
    Qel2DImage image(new QelBlurOp(new Qel2DImage(picture.get())));
    MoxSmartPtr<QelRectBuffer> const result = allOf(image);
    EXPECT_TRUE(showsPixels(*result, result->rect(), gradientAt));
}

TEST(QelNeighbourOpTest, EachTileIsComputedOnceWhenPulledByRows) {
    MoxSmartPtr<Qel2DImage> const source = gradientImage(128 * 9, 128 * 7);
    MoxSmartPtr<Qel2DImage> const blurred = new Qel2DImage(new QelBlurOp(source));
    Qel2DImage image(new QelSharpenOp(blurred));
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 9; ++x)
            image.getTile(x, y);
    }
    EXPECT_EQ(63, computed(image));
    EXPECT_EQ(63, computed(*blurred));
    EXPECT_EQ(63, computed(*source));
    EXPECT_EQ(0, blurred->statistics().pixelsCopied);
}

TEST(QelNeighbourOpTest, EachTileIsComputedOnceWhenPulledByColumns) {
    MoxSmartPtr<Qel2DImage> const source = gradientImage(128 * 6, 128 * 6);
    Qel2DImage image(new QelSharpenOp(source));
    for (int x = 0; x < 6; ++x) {
        for (int y = 0; y < 6; ++y)
            image.getTile(x, y);
    }
    EXPECT_EQ(36, computed(*source));
}

// With a reach of several tiles, and of one that is no multiple of them.
TEST(QelNeighbourOpTest, EachTileIsComputedOnceWhenPulledByRowsAlsoWithAReachBeyondTheNextTile) {
    struct Row {
        std::int32_t tileWidth, tileHeight, reach;
    };
    for (Row const & row : {Row{16, 16, 40}, Row{16, 16, 64}, Row{32, 16, 17}, Row{7, 5, 40},
                            Row{2, 40, 64}, Row{40, 2, 64}, Row{4, 4, 64}}) {
        SCOPED_TRACE(std::to_string(row.tileWidth) + " by " + std::to_string(row.tileHeight) +
                     ", reach " + std::to_string(row.reach));
        TileSize const tiles(row.tileWidth, row.tileHeight);
        auto const source =
            MoxSmartPtr<CountingOp>(new CountingOp(new GradientOp({.width = 300,
                                                                   .height = 300,
                                                                   .tileWidth = row.tileWidth,
                                                                   .tileHeight = row.tileHeight})));
        MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(source.get());
        Qel2DImage image(new QelBlurOp(input, row.reach));
        int const grid = input->tilesAcross() * input->tilesDown();
        EXPECT_EQ(((300 + row.tileWidth - 1) / row.tileWidth) *
                      ((300 + row.tileHeight - 1) / row.tileHeight),
                  grid);
        for (int y = 0; y < image.tilesDown(); ++y) {
            for (int x = 0; x < image.tilesAcross(); ++x)
                image.getTile(x, y);
        }
        EXPECT_EQ(grid, source->computes());
        EXPECT_EQ(300 * 300, source->pixels());
    }
}

TEST(QelNeighbourOpTest, RefusesAReachBelow0) {
    class BackwardOp : public QelNeighbourOp {
      public:
        BackwardOp() : QelNeighbourOp(nullptr, -1) {}

      protected:
        void changeElements(int, QelPixelNeighbours const &) const override {}
    };
    expectRaises(QelErrorCode::invalidValue, "An operation cannot reach over -1 pixels",
                 [] { BackwardOp(); });
}

TEST(QelNeighbourOpTest, ChainsComputeOneRingOfTilesMoreForEachOperation) {
    MoxSmartPtr<Qel2DImage> image = gradientImage(10000, 10000);
    std::vector<MoxSmartPtr<Qel2DImage>> chain{image};
    for (int i = 0; i < 6; ++i) {
        image = new Qel2DImage(new QelBlurOp(image));
        chain.push_back(image);
    }
    QelRectBuffer region(QelRect(128 * 30, 128 * 30, 512, 512), 3, PIXEL_INTERLEAVED,
                         QelDataType::UChar);
    region.allocate();
    ASSERT_TRUE(image->fillRWBuffer(&region, true));
    for (int rings = 0; rings <= 6; ++rings) {
        std::int64_t const side = 4 + 2 * rings;
        EXPECT_EQ(side * side, computed(*chain[static_cast<std::size_t>(6 - rings)])) << rings;
    }
}

TEST(QelNeighbourOpTest, HoldsNoMoreThanAFewRowsOfTiles) {
    constexpr int across = 10;
    constexpr int down = 40;
    FaultySystem const memory;
    Qel2DImage image(new QelBlurOp(gradientImage(128 * across, 128 * down)));
    std::size_t const before = memory.liveBytes();
    for (int y = 0; y < down; ++y) {
        for (int x = 0; x < across; ++x)
            image.getTile(x, y);
    }
    constexpr std::size_t tile = 128 * 128 * 3;
    EXPECT_LE(memory.liveBytes() - before, (3 * across + 16 + 2) * tile);
}

TEST(QelNeighbourOpTest, GivesAllMemoryBack) {
    FaultySystem const memory;
    {
        Qel2DImage image(new QelSharpenOp(new Qel2DImage(new QelBlurOp(gradientImage(500, 500)))));
        allOf(image);
        EXPECT_GT(memory.liveAllocations(), 0U);
    }
    EXPECT_EQ(0U, memory.liveAllocations());
}

TEST(QelNeighbourOpTest, ReadsAWrappedBufferWhereItIs) {
    MoxSmartPtr<QelRectBuffer> const picture =
        new QelRectBuffer(300, 200, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    fillPixels(*picture, picture->rect(), gradientAt);
    FaultySystem const memory;
    QelBlurOp op(new Qel2DImage(picture.get()));
    QelRectBuffer result(300, 200, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    op.compute(&result, 0);
    EXPECT_EQ(1U, memory.allocations()) << "more than the result was allocated";
    EXPECT_TRUE(showsPixels(result, result.rect(), [](std::int32_t x, std::int32_t y, int band) {
        return weighedElement(blurKernel, QelDataType::UChar, gradientAt, QelRect(0, 0, 300, 200),
                              x, y, band);
    }));
}

// The image of a buffer that starts at (20,10) has pixels without memory left of it and above it.
TEST(QelNeighbourOpTest, AWrappedBufferIsZeroWhereItHasNoPixels) {
    QelRect const there(20, 10, 30, 25);
    MoxSmartPtr<QelRectBuffer> const picture =
        new QelRectBuffer(there, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    fillPixels(*picture, there,
               [](auto x, auto y, int band) { return 100 + gradientAt(x, y, band); });
    auto const framed = [&](std::int32_t x, std::int32_t y, int band) {
        return there.contains(x, y) ? 100 + gradientAt(x, y, band) : 0;
    };
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(picture.get());
    ASSERT_EQ(QelRect(0, 0, 50, 35), input->imageRect());
    auto const expected = [&](std::int32_t x, std::int32_t y, int band) {
        return weighedElement(blurKernel, QelDataType::UChar, framed, QelRect(0, 0, 50, 35), x, y,
                              band);
    };
    QelBlurOp op(input);
    // The memory of the first result is used for the others, too.
    for (QelRect const & rect : {there, QelRect(0, 0, 50, 35), QelRect(15, 5, 20, 20),
                                 QelRect(0, 0, 10, 5), QelRect(19, 9, 1, 1)}) {
        SCOPED_TRACE(rect);
        QelRectBuffer result(rect, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        op.compute(&result, 0);
        EXPECT_TRUE(showsPixels(result, rect, expected));
    }
}

TEST(QelNeighbourOpTest, FaultsOfTheInputPassThrough) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new ThrowingOp(
        {.width = 300, .height = 300}, [] { qelRaise(204, "cancelled"); }, 3));
    Qel2DImage image(new QelBlurOp(input));
    expectRaises(QelErrorCode::cancelled, "cancelled", [&] { allOf(image); });
}

}  // namespace
