// The operations as images show them, over random sizes, layouts, tile sizes and ways of asking,
// against the reference.

#include <functional>

#include "ClientTesting.h"
#include "OpReference.h"

namespace {

// An operation, and what it should make of the elements of a picture.
struct OpCase {
    std::string name;
    std::function<MoxSmartPtr<QelImageOp>(MoxSmartPtr<Qel2DImage>)> make;
    std::function<double(PixelFunction const &, QelDataType, QelRect const &, std::int32_t,
                         std::int32_t, int)>
        expected;
};

template <class Op>
OpCase neighbourCase(char const * name, Kernel const & kernel) {
    return {name, [](MoxSmartPtr<Qel2DImage> input) { return new Op(std::move(input)); },
            [kernel](PixelFunction const & pixels, QelDataType type, QelRect const & image,
                     std::int32_t x, std::int32_t y,
                     int band) { return weighedElement(kernel, type, pixels, image, x, y, band); }};
}

OpCase linearCase(double gain, double offset) {
    return {"linear",
            [=](MoxSmartPtr<Qel2DImage> input) { return new QelLinearOp(input, gain, offset); },
            [=](PixelFunction const & pixels, QelDataType type, QelRect const &, std::int32_t x,
                std::int32_t y,
                int band) { return linearElement(type, pixels(x, y, band), gain, offset); }};
}

std::vector<OpCase> opCases() {
    return {{"invert", [](MoxSmartPtr<Qel2DImage> input) { return new QelInvertOp(input); },
             [](PixelFunction const & pixels, QelDataType type, QelRect const &, std::int32_t x,
                std::int32_t y, int band) { return invertedElement(type, pixels(x, y, band)); }},
            linearCase(1.5, -20),
            linearCase(-300, 1e6),
            neighbourCase<QelBlurOp>("blur", blurKernel),
            neighbourCase<QelSharpenOp>("sharpen", sharpenKernel)};
}

// The pixels of `rect`, asked for in one of the ways that there are.
MoxSmartPtr<QelRectBuffer> pull(Random & random, Qel2DImage & image, QelRect const & rect) {
    int const way = random.between(0, 3);
    QelDataType const type = image.dataOrg()->precision();
    int const bands = image.dataOrg()->numBands();
    if (way == 0) return image.getData(rect, true);
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(random.org(rect.width, rect.height, type, bands), rect);
    if (way == 1) buffer->allocate();  // in place
    if (way == 2) {
        image.shareBuffer(buffer, rect, true);
    } else {
        EXPECT_TRUE(image.fillRWBuffer(buffer, true));
    }
    return buffer;
}

TEST(QelOpsRandomTest, RandomRegionsAgreeWithTheReference) {
    Random random(20240103);
    for (int round = 0; round < 600; ++round) {
        OpCase const op = random.oneOf(opCases());
        QelDataType const type = random.oneOf(numberTypes());
        int const bands = random.between(1, 4);
        QelRect const whole(0, 0, random.between(1, 150), random.between(1, 60));
        TileSize const tiles(random.between(1, 70), random.between(1, 40));
        SCOPED_TRACE("round " + std::to_string(round) + ": " + op.name + " of " + type.name());

        MoxSmartPtr<QelRectBuffer> const picture =
            new QelRectBuffer(random.org(whole.width, whole.height, type, bands), whole);
        random.fill(*picture);
        MoxSmartPtr<Qel2DImage> const input =
            random.coin() ? new Qel2DImage(picture.get()) : new Qel2DImage(new PictureOp(picture));
        Qel2DImage image(op.make(input));
        for (int request = 0; request < 4; ++request) {
            QelRect const rect = random.rectIn(whole);
            MoxSmartPtr<QelRectBuffer> const result = pull(random, image, rect);
            ASSERT_TRUE(result);
            ASSERT_TRUE(isNearly(*result, rect, [&](std::int32_t x, std::int32_t y, int band) {
                return op.expected(pixelsOf(*picture), type, whole, x, y, band);
            }));
        }
    }
}

// A chain of all operations, pulled as a whole with some tile size.
MoxSmartPtr<QelRectBuffer> chained(MoxSmartPtr<QelRectBuffer> const & picture, TileSize const &) {
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(new PictureOp(picture));
    for (OpCase const & op : opCases())
        image = new Qel2DImage(op.make(image));
    return allOf(*image);
}

TEST(QelOpsRandomTest, ChainsShowTheSamePixelsForEveryTileSize) {
    Random random(20240104);
    for (QelDataType const & type : numberTypes()) {
        SCOPED_TRACE(type.name());
        MoxSmartPtr<QelRectBuffer> const picture = randomPicture(random, 93, 71, 3, type);
        MoxSmartPtr<QelRectBuffer> const expected = chained(picture, TileSize(128, 128));
        for (int round = 0; round < 12; ++round) {
            int const width = random.between(1, 100);
            int const height = random.between(1, 80);
            SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
            MoxSmartPtr<QelRectBuffer> const found = chained(picture, TileSize(width, height));
            ASSERT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*expected)));
        }
    }
}

TEST(QelOpsRandomTest, InvertingTwiceGivesIntegerImagesBack) {
    Random random(20240105);
    for (QelDataType const & type : numberTypes()) {
        if (isReal(type)) continue;
        SCOPED_TRACE(type.name());
        MoxSmartPtr<QelRectBuffer> const picture = randomPicture(random, 300, 40, 3, type);
        MoxSmartPtr<Qel2DImage> image = new Qel2DImage(picture.get());
        for (int i = 0; i < 2; ++i)
            image = new Qel2DImage(new QelInvertOp(image));
        MoxSmartPtr<QelRectBuffer> const found = allOf(*image);
        EXPECT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*picture)));
    }
}

}  // namespace
