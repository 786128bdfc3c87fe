#include "QelRectBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "DiagonalOrg.h"
#include "QelError.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "TestOps.h"

namespace {

template <class Action>
void expectError(int code, std::string const & text, Action const & action) {
    try {
        action();
        ADD_FAILURE() << "nothing raised, but expected: " << text;
    } catch (ZanError const & error) {
        EXPECT_EQ(code, error.getErrcode());
        EXPECT_EQ("QEL error " + std::to_string(code) + "\n" + text, error.getMsg());
    }
}

template <class Printable>
std::string printed(Printable const & object) {
    std::ostringstream text;
    object.print(text);
    return text.str();
}

class QelRectBufferTest : public testing::Test {
  protected:
    // What every constructor with memory to come leaves.
    static void expectUnallocated(QelRectBuffer const & buffer, std::int64_t bytes,
                                  std::int64_t offset) {
        ASSERT_NE(nullptr, buffer.dataBuffer());
        EXPECT_EQ(1, buffer.dataBuffer()->refCount());
        EXPECT_FALSE(buffer.isAllocated());
        EXPECT_EQ(bytes, buffer.dataBuffer()->size());
        EXPECT_TRUE(buffer.dataBuffer()->ownsData());
        EXPECT_EQ(offset, buffer.dataOffset());
        EXPECT_EQ(0, buffer.fullWidth());
        EXPECT_EQ(0, buffer.fullHeight());
        EXPECT_EQ(nullptr, buffer.container());
        EXPECT_FALSE(buffer.isState(0xff));
    }

    std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(1000);
};

TEST_F(QelRectBufferTest, DefaultIsEmptyWithOneByteToCome) {
    QelRectBuffer const buffer;
    expectUnallocated(buffer, 1, 0);
    EXPECT_TRUE(buffer.rect().isEmpty());
    EXPECT_EQ("SimpleDataOrg[0,0,1,1,1,1,l=PIXEL_INTERLEAVED,0]", printed(*buffer.dataOrg()));
    EXPECT_EQ(QelDataType::UChar, buffer.precision(0).code());
}

TEST_F(QelRectBufferTest, SizeBuildsTheStandardOrganisationAtTheOrigin) {
    QelRectBuffer const buffer(7, 5, 3, LINE_INTERLEAVED, QelDataType::Short);
    expectUnallocated(buffer, 7 * 5 * 3 * 2, 0);
    EXPECT_EQ(QelRect(0, 0, 7, 5), buffer.rect());
    EXPECT_EQ("SimpleDataOrg[0,0,7,5,2,42,l=LINE_INTERLEAVED,0,14,28]", printed(*buffer.dataOrg()));
}

TEST_F(QelRectBufferTest, ARectanglePutsTheOriginAtItsCorner) {
    QelRectBuffer const buffer(QelRect(-3, 9, 7, 5), 1, BAND_INTERLEAVED, QelDataType::Float);
    expectUnallocated(buffer, 7 * 5 * 4, 0);
    EXPECT_EQ(-3, buffer.rect().x);
    EXPECT_EQ("SimpleDataOrg[-3,9,7,5,4,28,l=BAND_INTERLEAVED,0]", printed(*buffer.dataOrg()));
    EXPECT_EQ(1, buffer.dataOrg()->refCount());
}

TEST_F(QelRectBufferTest, AnEmptyRectangleNeedsNoBytes) {
    QelRectBuffer const buffer(QelRect(3, 4, 0, 0), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    expectUnallocated(buffer, 0, 0);
    EXPECT_NE(nullptr, buffer.getData());
}

TEST_F(QelRectBufferTest, MinimumBytesAndOffset) {
    struct Row {
        std::int64_t minBytes, offset, bytes;
    };
    QelRect const rect(1, 2, 10, 10);
    for (Row const row :
         {Row{0, 0, 300}, Row{299, 0, 300}, Row{301, 0, 301}, Row{300, 5, 305}, Row{1000, 5, 1000},
          Row{-1, 7, 307}, Row{0, 5'000'000'000, 5'000'000'300}}) {
        SCOPED_TRACE(std::to_string(row.minBytes) + " " + std::to_string(row.offset));
        QelRectBuffer const buffer(row.minBytes, row.offset, rect, 3, PIXEL_INTERLEAVED,
                                   QelDataType::UChar);
        expectUnallocated(buffer, row.bytes, row.offset);
        EXPECT_EQ(rect, buffer.rect());
        EXPECT_EQ(1, buffer.dataOrg()->originX());
        EXPECT_EQ(2, buffer.dataOrg()->originY());
    }
}

TEST_F(QelRectBufferTest, RefusesANegativeOffset) {
    expectError(QelErrorCode::invalidValue, "QelRectBuffer cannot have a data offset of -1", [] {
        QelRectBuffer const buffer(100, -1, QelRect(0, 0, 2, 2), 1, PIXEL_INTERLEAVED,
                                   QelDataType::UChar);
    });
}

TEST_F(QelRectBufferTest, RefusesAnOffsetThatPasses64Bits) {
    expectError(QelErrorCode::invalidValue,
                "QelRectBuffer cannot have 9223372036854775807 + 4 bytes", [] {
                    QelRectBuffer const buffer(0, std::numeric_limits<std::int64_t>::max(),
                                               QelRect(0, 0, 2, 2), 1, PIXEL_INTERLEAVED,
                                               QelDataType::UChar);
                });
}

TEST_F(QelRectBufferTest, RaisesWhatTheOrganisationRaises) {
    expectError(
        QelErrorCode::unsupported,
        "This QelSimpleDataOrg constructor is called with an unknown QelLayout option",
        [] { QelRectBuffer const buffer(2, 2, 1, static_cast<QelLayout>(4), QelDataType::UChar); });
}

TEST_F(QelRectBufferTest, AnOrganisationIsClonedOrShared) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(8, 4, QelDataType::UShort, 2, PIXEL_INTERLEAVED));
    QelRectBuffer const cloned(org, 10, 20, 8, 4);
    expectUnallocated(cloned, 8 * 4 * 2 * 2, 0);
    EXPECT_NE(org, cloned.dataOrg());
    EXPECT_TRUE(org->isCompatible(*cloned.dataOrg(), false));
    EXPECT_EQ(QelRect(10, 20, 8, 4), cloned.rect());
    EXPECT_EQ(10, cloned.rect().x);
    QelRectBuffer const shared(org, 10, 20, 8, 4, nullptr, true, false);
    EXPECT_EQ(org, shared.dataOrg());
    expectUnallocated(shared, 8 * 4 * 2 * 2, 0);
}

TEST_F(QelRectBufferTest, AWidthOrHeightOfMinusOneIsTheTileSize) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(8, 4, QelDataType::UChar, 1, PIXEL_INTERLEAVED));
    EXPECT_EQ(QelRect(1, 2, 8, 4), QelRectBuffer(org, 1, 2, -1, -1).rect());
    EXPECT_EQ(QelRect(1, 2, 3, 4), QelRectBuffer(org, 1, 2, 3, -1).rect());
    EXPECT_EQ(QelRect(1, 2, 8, 3), QelRectBuffer(org, 1, 2, -1, 3).rect());
    EXPECT_TRUE(QelRectBuffer(org, 1, 2, -2, 3).rect().isEmpty());
}

TEST_F(QelRectBufferTest, ANullOrganisationWithoutARectangleIsRefused) {
    for (std::int32_t const size : {-1, 4}) {
        expectError(QelErrorCode::nullPointer, "Argument is a NULL pointer", [&] {
            QelRectBuffer const buffer(nullptr, 1, 2, size, size, memory_.data(), false);
        });
    }
}

TEST_F(QelRectBufferTest, ARectangleBeyondTheTileGetsTheMemoryThatItReaches) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(8, 4, QelDataType::UChar, 1, PIXEL_INTERLEAVED));
    EXPECT_EQ(8 * 4, QelRectBuffer(org, 0, 0, 3, 3).dataBuffer()->size());
    EXPECT_EQ(8 * 9 + 8, QelRectBuffer(org, 0, 0, 8, 10).dataBuffer()->size());
    EXPECT_EQ(8 * 3 + 20, QelRectBuffer(org, 0, 0, 20, 4).dataBuffer()->size());
}

TEST_F(QelRectBufferTest, AnOrganisationSmallerThanTheRectangleIsEnlarged) {
    struct Row {
        std::int32_t width, height;
        bool enlarged;
    };
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(8, 4, QelDataType::UChar, 3, BAND_INTERLEAVED));
    for (Row const row : {Row{8, 4, false}, Row{7, 3, false}, Row{9, 4, true}, Row{8, 5, true},
                          Row{9, 3, true}, Row{0, 0, false}, Row{-5, 2, false}}) {
        SCOPED_TRACE(std::to_string(row.width) + " by " + std::to_string(row.height));
        QelRectBuffer const buffer(org, QelRect(5, 6, row.width, row.height));
        EXPECT_NE(org, buffer.dataOrg());
        EXPECT_EQ(row.enlarged ? row.width : 8, buffer.dataOrg()->tileWidth());
        EXPECT_EQ(row.enlarged ? row.height : 4, buffer.dataOrg()->tileHeight());
        EXPECT_EQ(buffer.dataOrg()->size(), buffer.dataBuffer()->size());
        EXPECT_EQ(5, buffer.rect().x);
    }
}

TEST_F(QelRectBufferTest, AnOrganisationThatCannotGrowIsRefused) {
    MoxSmartPtr<QelDataOrg> const org(new DiagonalOrg(4, 4));
    EXPECT_EQ(19, QelRectBuffer(org, QelRect(0, 0, 4, 4)).dataBuffer()->size());
    try {
        QelRectBuffer const buffer(org, QelRect(0, 0, 5, 4));
        FAIL() << "nothing raised";
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::unsupported, error.getErrcode());
        EXPECT_THAT(error.getMsg(),
                    testing::MatchesRegex("QEL error 9\nThe data organization .*DiagonalOrg cannot "
                                          "take another size"));
    }
}

TEST_F(QelRectBufferTest, WithoutAnOrganisationThereIsNoMemory) {
    QelRectBuffer buffer(nullptr, QelRect(1, 2, 3, 4), memory_.data(), false);
    EXPECT_EQ(nullptr, buffer.dataOrg());
    EXPECT_EQ(nullptr, buffer.dataBuffer());
    EXPECT_FALSE(buffer.isAllocated());
    EXPECT_EQ(QelRect(1, 2, 3, 4), buffer.rect());
    EXPECT_EQ("RectBuffer[(1,2,3,4),NULL,0]", printed(buffer));
}

TEST_F(QelRectBufferTest, WithoutAnOrganisationEverythingThatNeedsOneRaises) {
    QelRectBuffer buffer(nullptr, QelRect(1, 2, 3, 4));
    std::string const text = "QelRectBuffer has no data organization";
    std::int32_t a = 0, b = 0, c = 0;
    QelDataType type;
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.offsetOf(1, 2); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.addressOf(1, 2); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.pixelStride(); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.lineStride(); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.numBands(); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.precision(0); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.getStrides(a, b, c); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.getGeometry(a, b, c, type); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.adopt(memory_.data(), false); });
    expectError(QelErrorCode::nullPointer, text, [&] { buffer.subBuffer(QelRect(1, 2, 1, 1)); });
    EXPECT_FALSE(buffer.isAllocated());
    EXPECT_EQ(nullptr, buffer.translated(1, 1)->dataOrg());
    EXPECT_TRUE(buffer.subBuffer(QelRect(9, 9, 1, 1))->rect().isEmpty());
}

TEST_F(QelRectBufferTest, EveryConstructorWrapsMemoryOfTheCaller) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(8, 4, QelDataType::UChar, 1, PIXEL_INTERLEAVED));
    std::int64_t const bytesBefore = QelSystemConfig::currentBytes;
    QelRectBuffer const buffers[] = {
        QelRectBuffer(8, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar, memory_.data(), false),
        QelRectBuffer(QelRect(0, 0, 8, 4), 1, PIXEL_INTERLEAVED, QelDataType::UChar, memory_.data(),
                      false),
        QelRectBuffer(org, 0, 0, -1, -1, memory_.data(), false),
        QelRectBuffer(org, QelRect(0, 0, 8, 4), memory_.data(), false)};
    for (QelRectBuffer const & buffer : buffers) {
        EXPECT_TRUE(buffer.isAllocated());
        EXPECT_EQ(memory_.data(), buffer.getData());
        EXPECT_EQ(32, buffer.dataBuffer()->size());
        EXPECT_FALSE(buffer.dataBuffer()->ownsData());
        EXPECT_EQ(0, buffer.dataOffset());
    }
    EXPECT_EQ(bytesBefore, QelSystemConfig::currentBytes);
}

TEST_F(QelRectBufferTest, OwnedMemoryOfTheCallerIsCountedAndFreed) {
    std::int64_t const bytesBefore = QelSystemConfig::currentBytes;
    {
        QelRectBuffer const buffer(8, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar,
                                   ::operator new(32), true);
        EXPECT_EQ(bytesBefore + 32, QelSystemConfig::currentBytes);
    }
    EXPECT_EQ(bytesBefore, QelSystemConfig::currentBytes);
}

TEST_F(QelRectBufferTest, AnOpGivesItsWholeResult) {
    MoxSmartPtr<QelImageOp> const op(new GradientOp({.width = 20, .height = 10, .bands = 2}));
    QelRectBuffer const buffer(op.get());
    EXPECT_EQ(QelRect(0, 0, 20, 10), buffer.rect());
    EXPECT_EQ(2, buffer.numBands());
    EXPECT_TRUE(showsPixels(buffer, QelRect(0, 0, 20, 10), gradientAt));
    EXPECT_EQ(1, buffer.dataBuffer()->refCount());
}

// An op whose genResult() is the test's own.
class ResultOp : public BadOp {
  public:
    explicit ResultOp(MoxSmartPtr<QelRectBuffer> result) : result_(result) {}
    MoxSmartPtr<QelRectBuffer> genResult(QelOpContext) override { return result_; }

  private:
    MoxSmartPtr<QelRectBuffer> result_;
};

TEST_F(QelRectBufferTest, AllFieldsOfAnOpsResultAreTakenOver) {
    MoxSmartPtr<QelRectBuffer> const result(
        new QelRectBuffer(500, 20, QelRect(3, 4, 5, 6), 1, PIXEL_INTERLEAVED, QelDataType::UChar));
    result->setFullSize(100, 200);
    MoxSmartPtr<ResultOp> const op(new ResultOp(result));
    QelRectBuffer const buffer(op.get());
    EXPECT_EQ(result->dataBuffer(), buffer.dataBuffer());
    EXPECT_EQ(result->dataOrg(), buffer.dataOrg());
    EXPECT_EQ(3, buffer.rect().x);
    EXPECT_EQ(result->rect(), buffer.rect());
    EXPECT_EQ(20, buffer.dataOffset());
    EXPECT_EQ(100, buffer.fullWidth());
    EXPECT_EQ(200, buffer.fullHeight());
}

TEST_F(QelRectBufferTest, AnOpThatCannotBeAskedIsRefused) {
    expectError(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                [] { QelRectBuffer const buffer(static_cast<QelImageOp *>(nullptr)); });
    MoxSmartPtr<ResultOp> const nothing(new ResultOp(nullptr));
    expectError(QelErrorCode::misuse, "QelImageOp::genResult returned no buffer",
                [&] { QelRectBuffer const buffer(nothing.get()); });
    MoxSmartPtr<QelImageOp> const bad(new BadOp(QelError(55, "bad op", "", 0)));
    expectError(55, "bad op", [&] { QelRectBuffer const buffer(bad.get()); });
}

TEST_F(QelRectBufferTest, ACopySharesTheMemory) {
    QelRectBuffer buffer(500, 20, QelRect(3, 4, 5, 6), 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.setFullSize(100, 200);
    buffer.setComplete(true);
    QelRectBuffer const copy(buffer);
    EXPECT_EQ(buffer.dataBuffer(), copy.dataBuffer());
    EXPECT_EQ(buffer.dataOrg(), copy.dataOrg());
    EXPECT_EQ(3, copy.rect().x);
    EXPECT_EQ(buffer.rect(), copy.rect());
    EXPECT_EQ(20, copy.dataOffset());
    EXPECT_EQ(100, copy.fullWidth());
    EXPECT_EQ(200, copy.fullHeight());
    EXPECT_TRUE(copy.isState(QelRenderedItem::complete));
    EXPECT_EQ(0, copy.refCount());
    // Whichever allocates, both have it.
    EXPECT_EQ(copy.getData(), buffer.getData());
    buffer.releaseData();
    EXPECT_TRUE(copy.isAllocated());
}

TEST_F(QelRectBufferTest, ComputeRaises) {
    QelRectBuffer buffer;
    expectError(QelErrorCode::misuse, "May not call compute() on QelRectBuffer",
                [&] { buffer.compute(); });
}

TEST_F(QelRectBufferTest, SetCompleteKeepsTheMemory) {
    QelRectBuffer buffer(4, 4, 1, PIXEL_INTERLEAVED, QelDataType::UChar);
    buffer.allocate();
    buffer.setComplete(true);
    EXPECT_TRUE(buffer.isState(QelRenderedItem::complete));
    buffer.setComplete(false);
    EXPECT_FALSE(buffer.isState(QelRenderedItem::complete));
    EXPECT_TRUE(buffer.isAllocated());
}

TEST_F(QelRectBufferTest, PrintsItsThreeParts) {
    QelRectBuffer const buffer(500, 20, QelRect(3, 4, 5, 6), 1, PIXEL_INTERLEAVED,
                               QelDataType::UChar);
    EXPECT_EQ("RectBuffer[(3,4,5,6),SimpleDataOrg[3,4,5,6,1,5,l=PIXEL_INTERLEAVED,0],20]",
              printed(buffer));
}

TEST_F(QelRectBufferTest, PrintsItsDependencies) {
    QelRectBuffer buffer(nullptr, QelRect(3, 4, 5, 6));
    buffer.addDependency(
        MoxSmartPtr<QelRectBuffer>(new QelRectBuffer(nullptr, QelRect(1, 1, 1, 1))));
    std::ostringstream text;
    buffer.printDependencies(text);
    EXPECT_EQ("RectBuffer[(3,4,5,6),NULL,0] --> RectBuffer[(1,1,1,1),NULL,0]", text.str());
}

TEST_F(QelRectBufferTest, StridesInBytesAndInElements) {
    struct Row {
        QelLayout layout;
        std::int32_t pixel, line, band;  // in elements
    };
    for (Row const row : {Row{PIXEL_INTERLEAVED, 3, 21, 1}, Row{LINE_INTERLEAVED, 1, 21, 7},
                          Row{BAND_INTERLEAVED, 1, 7, 35}}) {
        SCOPED_TRACE(row.layout);
        QelRectBuffer const buffer(7, 5, 3, row.layout, QelDataType::Double);
        EXPECT_EQ(8 * row.pixel, buffer.pixelStride());
        EXPECT_EQ(8 * row.line, buffer.lineStride());
        std::int32_t pixel = -1, line = -1, band = -1;
        buffer.getStrides(pixel, line, band);
        EXPECT_EQ(row.pixel, pixel);
        EXPECT_EQ(row.line, line);
        EXPECT_EQ(row.band, band);
    }
}

TEST_F(QelRectBufferTest, NegativeStridesInElements) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(4, 4, QelDataType::Float, 2, {16, 0}, -4, -32));
    std::int32_t pixel = 0, line = 0, band = 0;
    QelRectBuffer(org, 0, 0, -1, -1).getStrides(pixel, line, band);
    EXPECT_EQ(-1, pixel);
    EXPECT_EQ(-8, line);
    EXPECT_EQ(-4, band);
}

TEST_F(QelRectBufferTest, OneBandHasNoBandStride) {
    std::int32_t pixel = -1, line = -1, band = -1;
    QelRectBuffer(7, 5, 1, PIXEL_INTERLEAVED, QelDataType::UChar).getStrides(pixel, line, band);
    EXPECT_EQ(0, band);
}

TEST_F(QelRectBufferTest, GetStridesDoesNothingForOtherOrganisations) {
    MoxSmartPtr<QelDataOrg> const diagonal(new DiagonalOrg(4, 4));
    MoxSmartPtr<QelDataOrg> const mixed(
        new QelSimpleDataOrg(4, 4, QelDataType::Mixed, 1, PIXEL_INTERLEAVED));
    MoxSmartPtr<QelDataOrg> const bandless(
        new QelSimpleDataOrg(4, 4, QelDataType::UChar, 0, PIXEL_INTERLEAVED));
    for (QelDataOrg * const org : {diagonal.get(), mixed.get(), bandless.get()}) {
        std::int32_t pixel = 77, line = 78, band = 79;
        QelRectBuffer(org, 0, 0, -1, -1).getStrides(pixel, line, band);
        EXPECT_EQ(77, pixel);
        EXPECT_EQ(78, line);
        EXPECT_EQ(79, band);
    }
}

TEST_F(QelRectBufferTest, ABandStrideBeyond32BitsIsRefused) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(1, 1, QelDataType::UChar, 2, {-2'000'000'000, 2'000'000'000}, 1, 1));
    QelRectBuffer const buffer(org, 0, 0, -1, -1);
    std::int32_t pixel = 77, line = 78, band = 79;
    expectError(QelErrorCode::invalidValue, "A band stride of 4000000000 elements is too large",
                [&] { buffer.getStrides(pixel, line, band); });
    EXPECT_EQ(77, pixel);
}

TEST_F(QelRectBufferTest, GeometryIsThatOfTheRectangle) {
    MoxSmartPtr<QelDataOrg> const org(
        new QelSimpleDataOrg(64, 64, QelDataType::UShort, 3, PIXEL_INTERLEAVED));
    std::int32_t width = 0, height = 0, bands = 0;
    QelDataType type;
    QelRectBuffer(org, 1, 2, 10, 20).getGeometry(width, height, bands, type);
    EXPECT_EQ(10, width);
    EXPECT_EQ(20, height);
    EXPECT_EQ(3, bands);
    EXPECT_EQ(QelDataType::UShort, type.code());
}

TEST_F(QelRectBufferTest, GeometryOfOtherOrganisationsLeavesTheType) {
    MoxSmartPtr<QelDataOrg> const org(new DiagonalOrg(4, 4));
    std::int32_t width = 0, height = 0, bands = 0;
    QelDataType type(QelDataType::Double);
    QelRectBuffer(org, 1, 2, -1, -1).getGeometry(width, height, bands, type);
    EXPECT_EQ(4, width);
    EXPECT_EQ(1, bands);
    EXPECT_EQ(QelDataType::Double, type.code());
}

TEST_F(QelRectBufferTest, PrecisionOfABand) {
    QelRectBuffer const buffer(2, 2, 2, PIXEL_INTERLEAVED, QelDataType::Long);
    EXPECT_EQ(2, buffer.numBands());
    EXPECT_EQ(QelDataType::Long, buffer.precision(1).code());
    EXPECT_THROW(buffer.precision(2), std::out_of_range);
}

}  // namespace
