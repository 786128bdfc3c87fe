#include "TestOps.h"

#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "Qel2DImage.h"

// The tools that other tests rely on.

namespace {

MoxSmartPtr<Qel2DImage> imageOf(QelImageOp * op) {
    return MoxSmartPtr<Qel2DImage>(new Qel2DImage(op));
}

TestImage const shape{.width = 150, .height = 140};

void expectImage(Qel2DImage & image, PixelFunction const & pixels) {
    MoxSmartPtr<QelRectBuffer> const all = image.getData(shape.rect(), true);
    ASSERT_NE(nullptr, all.get());
    EXPECT_TRUE(showsPixels(*all, shape.rect(), pixels));
}

}  // namespace

TEST(TestOpsTest, TheGradientFitsEveryTypeAndDiffersUnderEverySmallShift) {
    auto const sameUnderShift = [](int dx, int dy, int dBand) {
        int same = 0;
        for (int i = 0; i < 64; ++i) {
            int const x = i % 8;
            int const y = i / 8;
            if (gradientAt(x, y, 0) == gradientAt(x + dx, y + dy, dBand)) ++same;
        }
        return same;
    };
    EXPECT_EQ(64, sameUnderShift(0, 0, 0));
    for (int shift = 1; shift < 20; ++shift) {
        EXPECT_GT(16, sameUnderShift(shift, 0, 0)) << shift;
        EXPECT_GT(16, sameUnderShift(0, shift, 0)) << shift;
        EXPECT_GT(16, sameUnderShift(shift, shift, 0)) << shift;
        EXPECT_GT(16, sameUnderShift(0, 0, shift)) << shift;
    }
    for (int x = -500; x < 500; ++x) {
        EXPECT_LE(0, gradientAt(x, -x, 1));
        EXPECT_GE(126, gradientAt(x, -x, 1));
    }
}

TEST(TestOpsTest, ElementsOfEveryTypeAreStoredAndFound) {
    for (int code = QelDataType::UChar; code <= QelDataType::ULong; ++code) {
        QelRectBuffer buffer(QelRect(-3, 5, 4, 3), 2, LINE_INTERLEAVED, QelDataType(code));
        fillPixels(buffer, buffer.rect(), gradientAt);
        EXPECT_TRUE(showsPixels(buffer, buffer.rect(), gradientAt)) << QelDataType(code).name();
        setElement(buffer, -3, 7, 1, 101);
        EXPECT_EQ(101, elementAt(buffer, -3, 7, 1));
        EXPECT_FALSE(showsPixels(buffer, buffer.rect(), gradientAt));
        EXPECT_TRUE(showsPixels(buffer, QelRect(-3, 5, 4, 2), gradientAt));
    }
}

TEST(TestOpsTest, ElementsKeepTheLowBytes) {
    EXPECT_EQ(44, storedAs(QelDataType::UChar, 300));
    EXPECT_EQ(255, storedAs(QelDataType::UChar, -1));
    EXPECT_EQ(-2, storedAs(QelDataType::Char, 254));
    EXPECT_EQ(4294967295.0, storedAs(QelDataType::ULong, -1));
    EXPECT_EQ(0.5, storedAs(QelDataType::Float, 0.5));
    expectRaises(QelErrorCode::invalidValue, "No element type of a test: QelDataType::ErrorClass",
                 [] { storedAs(QelDataType(), 0); });
}

TEST(TestOpsTest, ShowsPixelsNamesTheFirstWrongElement) {
    QelRectBuffer buffer(QelRect(0, 0, 4, 3), 2, PIXEL_INTERLEAVED, QelDataType::UChar);
    PixelFunction const five = [](std::int32_t, std::int32_t, int) { return 5.0; };
    EXPECT_STREQ("the buffer has no memory",
                 showsPixels(buffer, buffer.rect(), five).failure_message());
    fillPixels(buffer, buffer.rect(), five);
    setElement(buffer, 2, 1, 1, 7);
    setElement(buffer, 3, 2, 0, 8);
    EXPECT_STREQ("band 1 of pixel (2,1) is 7, not 5; wrong elements: 2",
                 showsPixels(buffer, buffer.rect(), five).failure_message());
    EXPECT_STREQ("the buffer has (0,0,4,3) and not all of (0,0,5,3)",
                 showsPixels(buffer, QelRect(0, 0, 5, 3), five).failure_message());
}

TEST(TestOpsTest, CountingOpCountsAndPassesOn) {
    CountingOp op(new GradientOp(shape));
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer(shape.dataOrg(), 3, 4, 5, 6));
    EXPECT_TRUE(op.canFill(buffer, 0));
    EXPECT_TRUE(op.acceptsDataOrg(buffer->dataOrg(), 0));
    op.compute(buffer, 51);
    EXPECT_TRUE(showsPixels(*buffer, QelRect(3, 4, 5, 6), gradientAt));
    EXPECT_EQ(1, op.fillQuestions());
    EXPECT_EQ(1, op.orgQuestions());
    EXPECT_EQ(1, op.computes());
    EXPECT_EQ(30, op.pixels());
    EXPECT_EQ(std::vector<QelRect>{QelRect(3, 4, 5, 6)}, op.rects());
    EXPECT_EQ(51U, op.lastContext());
}

TEST(TestOpsTest, PointOpsReadTheImageBelow) {
    MoxSmartPtr<Qel2DImage> const source = imageOf(new GradientOp(shape));
    MoxSmartPtr<Qel2DImage> const sum = imageOf(new AddOp(source, 3));
    MoxSmartPtr<Qel2DImage> const inverse = imageOf(new InvertOp(sum));
    expectImage(*sum, [](auto x, auto y, int band) { return gradientAt(x, y, band) + 3; });
    expectImage(*inverse, [](auto x, auto y, int band) { return 252 - gradientAt(x, y, band); });
}

TEST(TestOpsTest, ARefusingOpTakesOnlyWhatItIsToldTo) {
    MoxSmartPtr<QelRectBuffer> const buffer(new QelRectBuffer(shape.dataOrg(), 0, 0, 4, 4));
    for (bool const buffers : {false, true}) {
        for (bool const orgs : {false, true}) {
            RefusingOp op(shape, buffers, orgs);
            EXPECT_EQ(buffers, op.canFill(buffer, 0));
            EXPECT_EQ(orgs, op.acceptsDataOrg(buffer->dataOrg(), 0));
        }
    }
}

TEST(TestOpsTest, AThrowingOpThrowsWhenItsGoodComputesAreDone) {
    ThrowingOp op(
        shape, [] { throw 7; }, 2);
    QelRectBuffer buffer(QelRect(0, 0, 2, 2), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    op.compute(&buffer, 0);
    op.compute(&buffer, 0);
    EXPECT_THROW(op.compute(&buffer, 0), int);
    EXPECT_THROW(op.compute(&buffer, 0), int);
}

TEST(TestOpsTest, ABadOpCannotCompute) {
    BadOp op;
    QelRectBuffer buffer;
    expectRaises(QelErrorCode::misuse, "BadOp::compute", [&] { op.compute(&buffer, 0); });
}
