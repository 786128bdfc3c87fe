#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "ExpectError.h"
#include "ImageTesting.h"

// Images, ops and tiles that have no owner and live on a stack: references come and go, and leave
// them alone.

namespace {

TestImage const picture{.width = 300, .height = 200};

double inverted(std::int32_t x, std::int32_t y, int band) {
    return 255 - gradientAt(x, y, band);
}

void expectPixels(Qel2DImage & image, PixelFunction const & pixels) {
    QelRect const whole = image.imageRect();
    MoxSmartPtr<QelRectBuffer> const data = image.getData(whole, true);
    EXPECT_TRUE(showsPixels(*data, whole, pixels));
}

}  // namespace

TEST(Qel2DImageStackTest, AnImageIsTheInputOfOps) {
    Qel2DImage input(new GradientOp(picture));
    {
        InvertOp op(&input);
        EXPECT_EQ(1, input.refCount());
        EXPECT_TRUE(showsPixels(*op.genResult(), picture.rect(), inverted));
    }
    MoxSmartPtr<Qel2DImage> owned = imageOf(new InvertOp(&input));
    expectPixels(*owned, inverted);
    owned = nullptr;
    EXPECT_EQ(0, input.refCount());
    expectPixels(input, gradientAt);
}

TEST(Qel2DImageStackTest, AnImageIsPartOfAnotherObject) {
    struct Whole {
        Qel2DImage part{new GradientOp(picture)};
        std::optional<Qel2DImage> perhaps{std::in_place, new GradientOp(picture)};
    };
    auto const whole = std::make_unique<Whole>();
    { InvertOp const op(&whole->part), other(&*whole->perhaps); }
    expectPixels(whole->part, gradientAt);
    expectPixels(*whole->perhaps, gradientAt);
}

TEST(Qel2DImageStackTest, AnImageThatNewMadeGoesWithItsOp) {
    MoxSmartPtr<CountingOp> const source = countingOp(picture);
    MoxSmartPtr<InvertOp> reader(new InvertOp(new Qel2DImage(source)));
    EXPECT_EQ(2, source->refCount());
    reader = nullptr;
    EXPECT_EQ(1, source->refCount());
}

TEST(Qel2DImageStackTest, AnOpIsTheOpOfImages) {
    GradientOp op(picture);
    {
        Qel2DImage image(&op);
        expectPixels(image, gradientAt);
    }
    MoxSmartPtr<Qel2DImage> owned = imageOf(&op);
    expectPixels(*owned, gradientAt);
    owned = nullptr;
    EXPECT_EQ(0, op.refCount());
    QelImageInfo info;
    EXPECT_TRUE(op.outputInfo(info));
}

TEST(Qel2DImageStackTest, AnOpThatIsRefusedIsLeftAlone) {
    BadOp bad;
    Qel2DImage image(new GradientOp(picture));
    EXPECT_EQ(QelErrorCode::misuse, errorOf([&] { image.setOp(&bad); })->getErrcode());
    EXPECT_EQ(0, bad.refCount());
    EXPECT_EQ(0, bad.status(0).getErrcode());
    expectPixels(image, gradientAt);
}

TEST(Qel2DImageStackTest, ATileComputesItself) {
    MoxSmartPtr<Qel2DImage> const image = imageOf(new GradientOp(picture));
    QelTile tile(image->dataOrg(), QelTileId(1, 0));
    image->insertTile(&tile);
    tile.compute();
    EXPECT_TRUE(tile.isState(QelRenderedItem::complete));
    EXPECT_EQ(0, tile.refCount());
    EXPECT_TRUE(showsPixels(tile, tile.rect(), gradientAt));
}
