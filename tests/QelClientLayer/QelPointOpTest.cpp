#include "QelPointOp.h"

#include <atomic>

#include "ClientTesting.h"

namespace {

// Adds one to each element of UChar, and tells what it was given.
class AddOneOp : public QelPointOp {
  public:
    explicit AddOneOp(MoxSmartPtr<Qel2DImage> input) : QelPointOp(std::move(input)) {}

    int calls() const { return calls_; }
    int inPlace() const { return inPlace_; }

  protected:
    bool supports(QelDataType type) const override { return type == QelDataType::UChar; }

    void changeElements(int, QelPixelRows const & rows) const override {
        ++calls_;
        if (rows.from == rows.to) ++inPlace_;
        for (std::int64_t y = 0; y < rows.rows; ++y) {
            for (std::int64_t i = 0; i < rows.count; ++i) {
                std::uint8_t const value = rows.from[y * rows.fromLine + i * rows.fromStep];
                rows.to[y * rows.toLine + i * rows.toStep] = static_cast<std::uint8_t>(value + 1);
            }
        }
    }

  private:
    mutable std::atomic<int> calls_{0};
    mutable std::atomic<int> inPlace_{0};
};

double onePlusGradient(std::int32_t x, std::int32_t y, int band) {
    return 1 + gradientAt(x, y, band);
}

TestImage const small{.width = 300, .height = 200};

MoxSmartPtr<QelRectBuffer> gradientBuffer(QelLayout layout = PIXEL_INTERLEAVED) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(300, 200, 3, layout, QelDataType::UChar);
    fillPixels(*buffer, buffer->rect(), gradientAt);
    return buffer;
}

TEST(QelPointOpTest, ReportsItsInput) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new GradientOp(
        {.width = 300, .height = 200, .bands = 4, .type = QelDataType::UShort, .tileWidth = 130}));
    QelInvertOp op(input);
    QelImageInfo info;
    ASSERT_TRUE(op.outputInfo(info));
    EXPECT_EQ(300, info.width());
    EXPECT_EQ(200, info.height());
    EXPECT_EQ(4, info.numBands());
    EXPECT_TRUE(info.precision() == QelDataType::UShort);
    EXPECT_EQ(QelRect(0, 0, 130, 128), info.tileRect());
    EXPECT_EQ(input.get(), op.input().get());
}

TEST(QelPointOpTest, ReportsThatItHasNoInput) {
    QelInvertOp op(nullptr);
    expectReportsNoInput(op);
}

TEST(QelPointOpTest, RefusesAnElementTypeInItsReport) {
    AddOneOp op(new Qel2DImage(new GradientOp({.width = 9, .height = 9, .type = 3})));
    QelImageInfo info;
    EXPECT_FALSE(op.outputInfo(info));
    expectQelError(info.status(), QelErrorCode::unsupportedDataType,
                   "The data type float is not a supported data type in " +
                       std::string(QelCoreMisc::classNameOf(op)));
}

TEST(QelPointOpTest, RefusesBuffersOfOtherElements) {
    QelInvertOp op(new Qel2DImage(new GradientOp(small)));
    expectRefusesOtherElements(op);
}

TEST(QelPointOpTest, RefusesOrganisationsThatAreNotSimple) {
    QelInvertOp op(new Qel2DImage(new GradientOp(small)));
    expectRefusesOtherOrganisations(op);
}

TEST(QelPointOpTest, RaisesWhenItsInputHasNothingToComputeWith) {
    MoxSmartPtr<QelDataOrg> const org =
        new QelSimpleDataOrg(64, 64, QelDataType::UChar, 3, PIXEL_INTERLEAVED);
    QelInvertOp op(new Qel2DImage(QelTileId(-1, -1, 90, 90), org, 90, 90, nullptr));
    expectRaises(QelErrorCode::noPixelSource,
                 "The input image of QelInvertOp has nothing to compute its pixels with", [&] {
                     QelRectBuffer buffer(90, 90, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
                     op.compute(&buffer, 0);
                 });
}

TEST(QelPointOpTest, ReadsAWrappedBufferWhereItIs) {
    MoxSmartPtr<QelRectBuffer> const picture = gradientBuffer();
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(picture.get());
    MoxSmartPtr<AddOneOp> const op = new AddOneOp(input);
    Qel2DImage image(op);
    MoxSmartPtr<QelRectBuffer> const result = allOf(image);
    EXPECT_TRUE(showsPixels(*result, result->rect(), onePlusGradient));
    EXPECT_EQ(0, op->inPlace());
    EXPECT_EQ(0, input->statistics().pixelsCopied);
    EXPECT_TRUE(showsPixels(*picture, picture->rect(), gradientAt)) << "the input was changed";
}

TEST(QelPointOpTest, WorksInTheResultsOwnMemory) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new GradientOp(small));
    MoxSmartPtr<AddOneOp> const op = new AddOneOp(input);
    Qel2DImage image(op);
    MoxSmartPtr<QelRectBuffer> const result = allOf(image);
    EXPECT_TRUE(showsPixels(*result, result->rect(), onePlusGradient));
    EXPECT_EQ(op->calls(), op->inPlace());
    EXPECT_EQ(0, input->statistics().pixelsCopied);
}

TEST(QelPointOpTest, TakesAllBandsInOneCallWhereTheyLieSideBySide) {
    struct Row {
        QelLayout layout;
        int calls;
    };
    for (Row const & row :
         {Row{PIXEL_INTERLEAVED, 1}, Row{LINE_INTERLEAVED, 3}, Row{BAND_INTERLEAVED, 3}}) {
        MoxSmartPtr<QelRectBuffer> const picture = gradientBuffer(row.layout);
        AddOneOp op(new Qel2DImage(picture.get()));
        QelRectBuffer result(300, 200, 3, row.layout, QelDataType::UChar);
        op.compute(&result, 0);
        EXPECT_EQ(row.calls, op.calls()) << row.layout;
        EXPECT_TRUE(showsPixels(result, result.rect(), onePlusGradient)) << row.layout;
    }
}

TEST(QelPointOpTest, LeavesWhatLiesOutsideTheImage) {
    MoxSmartPtr<QelRectBuffer> const picture = gradientBuffer();
    AddOneOp op(new Qel2DImage(picture.get()));
    QelRectBuffer buffer(QelRect(290, 190, 20, 20), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    fillPixels(buffer, buffer.rect(), [](std::int32_t, std::int32_t, int) { return 77; });
    op.compute(&buffer, 0);
    EXPECT_TRUE(showsPixels(buffer, buffer.rect(), [](std::int32_t x, std::int32_t y, int band) {
        return x < 300 && y < 200 ? onePlusGradient(x, y, band) : 77;
    }));
}

TEST(QelPointOpTest, InputThatStartsAwayFromTheCornerStaysQuiet) {
    // Tile positions left of and above the buffer are none of the image's.
    MoxSmartPtr<QelRectBuffer> const picture =
        new QelRectBuffer(QelRect(100, 50, 60, 40), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    fillPixels(*picture, picture->rect(), gradientAt);
    AddOneOp op(new Qel2DImage(picture.get()));
    QelRectBuffer buffer(QelRect(100, 50, 60, 40), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    op.compute(&buffer, 0);
    EXPECT_TRUE(showsPixels(buffer, buffer.rect(), onePlusGradient));
}

}  // namespace
