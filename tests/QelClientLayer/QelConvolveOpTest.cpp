// Convolutions as images show them.

#include "QelConvolveOp.h"

#include "ClientTesting.h"
#include "ClientThreadTesting.h"
#include "ConvolveReference.h"

namespace {

MoxSmartPtr<Qel2DImage> convolved(MoxSmartPtr<Qel2DImage> const & input,
                                  QelConvolutionKernel const & kernel) {
    return new Qel2DImage(new QelConvolveOp(input, kernel));
}

// As a wrapped buffer or as a source of many tiles.
MoxSmartPtr<Qel2DImage> imageOf(MoxSmartPtr<QelRectBuffer> const & picture, bool wrapped) {
    return wrapped ? new Qel2DImage(picture.get()) : new Qel2DImage(new PictureOp(picture));
}

testing::AssertionResult isConvolved(QelRectBuffer const & buffer,
                                     ConvolveReference const & reference) {
    QelRect const rect = buffer.rect();
    for (std::int32_t y = rect.y; y <= rect.bottom(); ++y) {
        for (std::int32_t x = rect.x; x <= rect.right(); ++x) {
            for (int band = 0; band < buffer.numBands(); ++band) {
                testing::AssertionResult const result =
                    reference.agrees(x, y, band, elementAt(buffer, x, y, band));
                if (!result) return result;
            }
        }
    }
    return testing::AssertionSuccess();
}

TEST(QelConvolveOpTest, RandomPicturesAgreeWithTheReference) {
    Random random(20240311);
    for (int round = 0; round < 250; ++round) {
        QelConvolutionKernel const kernel = randomKernel(random, 64);
        QelDataType const type = random.oneOf(numberTypes());
        int const bands = random.between(1, 5);
        // Smaller than the reach, mostly; also single pixels, rows and columns.
        QelRect const whole(0, 0, random.oneOf(std::vector<int>{1, random.between(2, 60)}),
                            random.oneOf(std::vector<int>{1, random.between(2, 30)}));
        TileSize const tiles(random.between(1, 40), random.between(1, 40));
        SCOPED_TRACE("round " + std::to_string(round) + ": " + type.name() + ", reach " +
                     std::to_string(kernel.reach()));
        MoxSmartPtr<QelRectBuffer> const picture =
            new QelRectBuffer(random.org(whole.width, whole.height, type, bands), whole);
        random.fill(*picture);
        ConvolveReference const reference(type, elementsOf(*picture), kernel);
        MoxSmartPtr<Qel2DImage> const image = convolved(imageOf(picture, random.coin()), kernel);
        for (int request = 0; request < 3; ++request) {
            QelRect const rect = random.rectIn(whole);
            MoxSmartPtr<QelRectBuffer> const result =
                new QelRectBuffer(random.org(rect.width, rect.height, type, bands), rect);
            if (random.coin()) result->allocate();
            ASSERT_TRUE(image->fillRWBuffer(result, true));
            ASSERT_TRUE(isConvolved(*result, reference));
        }
    }
}

// Tiles much smaller than the reach, so that each needs many of the input.
TEST(QelConvolveOpTest, TilesSmallerThanTheReach) {
    Random random(20240312);
    TileSize const tiles(16, 16);
    for (QelDataType const & type : numberTypes()) {
        SCOPED_TRACE(type.name());
        MoxSmartPtr<QelRectBuffer> const picture = randomPicture(random, 100, 90, 2, type);
        for (QelConvolutionKernel const & kernel :
             {QelConvolutionKernel::blur(40), QelConvolutionKernel::unsharp(64)}) {
            ConvolveReference const reference(type, elementsOf(*picture), kernel);
            EXPECT_TRUE(
                isConvolved(*allOf(*convolved(imageOf(picture, false), kernel)), reference));
        }
    }
}

TEST(QelConvolveOpTest, TheTileSizeChangesNoByte) {
    Random random(20240313);
    for (QelDataType const & type : numberTypes()) {
        SCOPED_TRACE(type.name());
        MoxSmartPtr<QelRectBuffer> const picture = randomPicture(random, 75, 66, 3, type);
        for (QelConvolutionKernel const & kernel :
             {QelConvolutionKernel::blur(9), QelConvolutionKernel::unsharp(40),
              QelConvolutionKernel({1, 2, 3, 4, 5, 6, 7, 8, 9.5})}) {
            MoxSmartPtr<QelRectBuffer> const expected =
                allOf(*convolved(imageOf(picture, true), kernel));
            for (int round = 0; round < 6; ++round) {
                int const width = random.between(1, 80);
                int const height = random.between(1, 70);
                SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
                TileSize const tiles(width, height);
                MoxSmartPtr<QelRectBuffer> const found =
                    allOf(*convolved(imageOf(picture, false), kernel));
                ASSERT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*expected)));
            }
        }
    }
}

// ---- Even areas

class QelConvolveOpEvenAreasTest : public testing::TestWithParam<int> {
  protected:
    // Every value of the type in a picture of its own pixels would take long; a band for each.
    void expectKept(QelConvolutionKernel const & kernel) const {
        QelDataType const type = GetParam();
        MoxSmartPtr<QelRectBuffer> const picture =
            new QelRectBuffer(3, 2, 256, PIXEL_INTERLEAVED, type);
        picture->allocate();
        int const least = type == QelDataType::Char ? -128 : 0;
        fillPixels(*picture, picture->rect(),
                   [=](std::int32_t, std::int32_t, int band) { return least + band; });
        MoxSmartPtr<QelRectBuffer> const result =
            allOf(*convolved(new Qel2DImage(picture.get()), kernel));
        ASSERT_TRUE(showsPixels(*result, result->rect(), pixelsOf(*picture)));
    }
};

TEST_P(QelConvolveOpEvenAreasTest, KeepEveryValueUnderBlursAndUnsharpMasksOfEveryRadius) {
    for (std::int32_t radius = 1; radius <= QelConvolutionKernel::maxReach; ++radius) {
        SCOPED_TRACE(radius);
        expectKept(QelConvolutionKernel::blur(radius));
        expectKept(QelConvolutionKernel::unsharp(radius));
    }
}

TEST_P(QelConvolveOpEvenAreasTest, KeepEveryValueUnderMeansOfEverySize) {
    for (std::size_t side = 1; side <= 129; side += 2) {
        SCOPED_TRACE(side);
        expectKept(QelConvolutionKernel(std::vector<double>(side * side, 1)));
    }
}

INSTANTIATE_TEST_SUITE_P(QelConvolveOp, QelConvolveOpEvenAreasTest,
                         testing::Values(QelDataType::UChar, QelDataType::Char));

// ---- The slight operations and their kernels

MoxSmartPtr<QelRectBuffer> pictureOf(Random & random, QelDataType type) {
    return randomPicture(random, 150, 70, 3, type);
}

std::vector<QelDataType> smallTypes() {
    return {QelDataType::UChar, QelDataType::Char};
}

void expectSamePixels(QelImageOp * first, QelImageOp * second) {
    Qel2DImage one(first);
    Qel2DImage other(second);
    MoxSmartPtr<QelRectBuffer> const expected = allOf(one);
    MoxSmartPtr<QelRectBuffer> const found = allOf(other);
    EXPECT_TRUE(showsPixels(*found, found->rect(), pixelsOf(*expected)));
}

TEST(QelConvolveOpTest, TheSlightBlurIsItsKernelAndItsRadius) {
    Random random(20240314);
    QelConvolutionKernel const kernel({1, 2, 1, 2, 4, 2, 1, 2, 1});
    for (QelDataType const & type : smallTypes()) {
        SCOPED_TRACE(type.name());
        MoxSmartPtr<Qel2DImage> const input = imageOf(pictureOf(random, type), false);
        expectSamePixels(new QelBlurOp(input), new QelBlurOp(input, 1));
        expectSamePixels(new QelBlurOp(input), new QelBlurOp(input, kernel));
        expectSamePixels(new QelBlurOp(input), new QelConvolveOp(input, kernel));
        expectSamePixels(new QelBlurOp(input),
                         new QelConvolveOp(input, QelConvolutionKernel::blur(1)));
    }
}

TEST(QelConvolveOpTest, TheSlightSharpeningIsItsKernel) {
    Random random(20240315);
    QelConvolutionKernel const kernel({0, -1, 0, -1, 8, -1, 0, -1, 0});
    for (QelDataType const & type : smallTypes()) {
        SCOPED_TRACE(type.name());
        MoxSmartPtr<Qel2DImage> const input = imageOf(pictureOf(random, type), false);
        expectSamePixels(new QelSharpenOp(input), new QelSharpenOp(input, kernel));
        expectSamePixels(new QelSharpenOp(input), new QelConvolveOp(input, kernel));
    }
}

// Both take any kernel, also one that the other one is named after.
TEST(QelConvolveOpTest, BlurAndSharpenComputeTheKernelThatTheyAreGiven) {
    Random random(20240316);
    for (QelDataType const & type : numberTypes()) {
        SCOPED_TRACE(type.name());
        MoxSmartPtr<Qel2DImage> const input = imageOf(pictureOf(random, type), false);
        for (QelConvolutionKernel const & kernel :
             {QelConvolutionKernel::unsharp(1), QelConvolutionKernel::blur(2),
              QelConvolutionKernel::unsharp(2), QelConvolutionKernel({5}),
              QelConvolutionKernel({0, 1, 0, 1, 1, 1, 0, 1, 0})}) {
            expectSamePixels(new QelConvolveOp(input, kernel), new QelBlurOp(input, kernel));
            expectSamePixels(new QelConvolveOp(input, kernel), new QelSharpenOp(input, kernel));
        }
        expectSamePixels(new QelConvolveOp(input, QelConvolutionKernel::unsharp(3)),
                         new QelSharpenOp(input, 3));
        expectSamePixels(new QelConvolveOp(input, QelConvolutionKernel::blur(3)),
                         new QelBlurOp(input, 3));
    }
}

TEST(QelConvolveOpTest, KernelIsTheOneGiven) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new QelTestCardOp(20, 10));
    EXPECT_EQ(QelConvolutionKernel::blur(7),
              QelConvolveOp(input, QelConvolutionKernel::blur(7)).kernel());
    EXPECT_EQ(QelConvolutionKernel::blur(1), QelBlurOp(input).kernel());
    EXPECT_EQ(QelConvolutionKernel::blur(64), QelBlurOp(input, 64).kernel());
    EXPECT_EQ(QelConvolutionKernel::unsharp(2), QelSharpenOp(input, 2).kernel());
    EXPECT_EQ(QelConvolutionKernel({0, -1, 0, -1, 8, -1, 0, -1, 0}), QelSharpenOp(input).kernel());
}

TEST(QelConvolveOpTest, RefusesRadiiAsTheKernelDoes) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new QelTestCardOp(20, 10));
    expectRaises(QelErrorCode::invalidValue,
                 "The radius of a kernel is 0, it must lie between 1 and 64",
                 [&] { QelBlurOp(input, 0); });
    expectRaises(QelErrorCode::invalidValue,
                 "The radius of a kernel is 65, it must lie between 1 and 64",
                 [&] { QelSharpenOp(input, 65); });
}

// ---- Threads

TEST(QelConvolveOpThreadTest, ThreadsSeeThePixelsThatOneSees) {
    Random random(20240317);
    TileSize const tiles(32, 32);
    for (QelDataType const type : {QelDataType::UChar, QelDataType::Float}) {
        SCOPED_TRACE(QelDataType(type).name());
        MoxSmartPtr<QelRectBuffer> const picture = randomPicture(random, 200, 130, 3, type);
        for (QelConvolutionKernel const & kernel :
             {QelConvolutionKernel::blur(40), QelConvolutionKernel::unsharp(2),
              QelConvolutionKernel(std::vector<double>(25, 1))}) {
            MoxSmartPtr<QelRectBuffer> const expected =
                allOf(*convolved(imageOf(picture, true), kernel));
            pullOnThreads(4, *convolved(imageOf(picture, false), kernel), *expected);
        }
    }
}

}  // namespace
