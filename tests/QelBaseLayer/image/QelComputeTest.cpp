#include "QelCompute.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelError.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "RigidDataOrg.h"
#include "TestOps.h"

namespace {

MoxSmartPtr<QelRectBuffer> bufferAt(QelRect const & rect, int bands = 3) {
    return MoxSmartPtr<QelRectBuffer>(
        new QelRectBuffer(rect, bands, BAND_INTERLEAVED, QelDataType::UChar));
}

// The first form, which is expected to give no result.
ZanError statusOfFailure(QelImageOp & op, QelRectBuffer * buffer) {
    MoxSmartPtr<QelRectBuffer> result = bufferAt(QelRect(0, 0, 1, 1));
    ZanError status;
    qelCompute(result, status, &op, buffer);
    EXPECT_EQ(nullptr, result.get());
    return status;
}

// What the status starts as and success leaves: notComputed (1), with nothing to say.
void expectUnsetStatus(ZanError const & status) {
    EXPECT_EQ(QelErrorCode::notComputed, status.getErrcode());
    EXPECT_STREQ("QEL error 1\n", status.getMsg());
}

// Both forms fail alike.
void expectFailure(QelImageOp & op, QelRectBuffer * buffer, int code, std::string const & text) {
    expectQelError(statusOfFailure(op, buffer), code, text);
    expectRaises(code, text, [&] { qelCompute(&op, buffer); });
}

class ContextOp : public GradientOp {
  public:
    using GradientOp::GradientOp;
    std::vector<std::pair<std::string, QelOpContext>> calls;

    bool outputInfo(QelImageInfo & info, QelOpContext opContext) override {
        calls.emplace_back("outputInfo", opContext);
        return GradientOp::outputInfo(info, opContext);
    }
    bool canFill(QelRectBuffer *, QelOpContext opContext) override {
        calls.emplace_back("canFill", opContext);
        return true;
    }
    void compute(QelRectBuffer * buffer, QelOpContext opContext) override {
        calls.emplace_back("compute", opContext);
        GradientOp::compute(buffer, opContext);
    }
};

}  // namespace

// qelCompute with a null buffer on a 10x10 op whose tile size is 128 by 128 gives a buffer of the
// rectangle (0, 0, 10, 10) with a 128-by-128 organisation.
TEST(QelComputeTest, MakesABufferForASmallImageInTheOrganisationOfALargerTile) {
    GradientOp op({.width = 10, .height = 10, .originX = 3, .originY = 4});
    MoxSmartPtr<QelRectBuffer> const result = qelCompute(&op);
    EXPECT_EQ(QelRect(0, 0, 10, 10), result->rect());
    EXPECT_EQ(QelRect(0, 0, 128, 128), result->dataOrg()->tileRect(0, 0));
    EXPECT_EQ(10, result->fullWidth());
    EXPECT_EQ(10, result->fullHeight());
    EXPECT_TRUE(showsPixels(*result, result->rect(), gradientAt));
}

TEST(QelComputeTest, EnlargesTheOrganisationForALargeImage) {
    GradientOp op({.width = 40, .height = 10, .tileWidth = 16, .tileHeight = 16});
    MoxSmartPtr<QelRectBuffer> const result = qelCompute(&op);
    EXPECT_EQ(QelRect(0, 0, 40, 16), result->dataOrg()->tileRect(0, 0));
    EXPECT_TRUE(showsPixels(*result, QelRect(0, 0, 40, 10), gradientAt));
}

TEST(QelComputeTest, FillsTheCallersBufferAndReturnsIt) {
    GradientOp op({.width = 100, .height = 100});
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(20, 30, 7, 5));
    EXPECT_EQ(buffer.get(), qelCompute(&op, buffer).get());
    EXPECT_TRUE(showsPixels(*buffer, QelRect(20, 30, 7, 5), gradientAt));
}

TEST(QelComputeTest, KeepsCode1InTheStatusOnSuccess) {
    GradientOp op({.width = 10, .height = 10});
    MoxSmartPtr<QelRectBuffer> result;
    ZanError status;
    qelCompute(result, status, &op);
    EXPECT_NE(nullptr, result.get());
    expectUnsetStatus(status);
}

TEST(QelComputeTest, MayFillTheBufferThatItsResultAlreadyHolds) {
    GradientOp op({.width = 10, .height = 10});
    MoxSmartPtr<QelRectBuffer> result = bufferAt(QelRect(0, 0, 4, 4));
    QelRectBuffer const * const before = result;
    ZanError status;
    qelCompute(result, status, &op, result);
    EXPECT_EQ(before, result.get());
    EXPECT_EQ(1, result->refCount());
    EXPECT_TRUE(showsPixels(*result, QelRect(0, 0, 4, 4), gradientAt));
}

TEST(QelComputeTest, ReportsABadOpWithItsStatus) {
    BadOp op(QelError(7, "Bad index", "somewhere.cpp", 3));
    expectFailure(op, nullptr, 7, "Bad index");
}

TEST(QelComputeTest, ABadOpWithoutAReasonDoesNotLookGood) {
    BadOp op;
    expectFailure(op, nullptr, QelErrorCode::renderFailed,
                  "Bad status reported by BadOp with no reason given");
}

TEST(QelComputeTest, ReportsABufferThatTheOpRefuses) {
    std::string const text = "qelCompute: provided output rect buffer is not acceptable";
    GradientOp wrongBands({.width = 10, .height = 10, .bands = 3});
    expectFailure(wrongBands, bufferAt(QelRect(0, 0, 4, 4), 2), QelErrorCode::misuse, text);

    RefusingOp refusing({.width = 10, .height = 10});
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(0, 0, 4, 4));
    expectFailure(refusing, buffer, QelErrorCode::misuse, text);
    EXPECT_FALSE(buffer->isAllocated());

    BadOp bad;
    expectFailure(bad, buffer, QelErrorCode::misuse, text);
}

TEST(QelComputeTest, ThrowsTheStatusAsAPlainZanError) {
    BadOp op;
    try {
        qelCompute(&op);
        FAIL() << "no error was raised";
    } catch (QelError const &) {
        FAIL() << "a status is thrown as the ZanError it is";
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::renderFailed, error.getErrcode());
    }
}

TEST(QelComputeTest, RefusesANegativeSizeAheadOfAnyAllocation) {
    GradientOp op({.width = 10, .height = -3});
    std::int64_t const before = QelSystemConfig::allocationCount;
    expectRaises(QelErrorCode::invalidValue,
                 "An op reports an image of illegal size: width 10, height -3",
                 [&] { qelCompute(&op); });
    EXPECT_EQ(before, QelSystemConfig::allocationCount);
}

TEST(QelComputeTest, RefusesAnOrganisationThatCannotBeEnlarged) {
    MoxSmartPtr<QelDataOrg> const rigid(new RigidDataOrg(16, 16, {QelDataType::UChar}));
    GradientOp op({.width = 16, .height = 17, .org = rigid});
    expectRaises(QelErrorCode::unsupported,
                 "The data organization RigidDataOrg cannot take another tile size",
                 [&] { qelCompute(&op); });
}

TEST(QelComputeTest, PassesOnWhatComputeRaisesWithANullResult) {
    ThrowingOp op({.width = 4, .height = 4}, [] { throw std::runtime_error("foreign"); });
    MoxSmartPtr<QelRectBuffer> result = bufferAt(QelRect(0, 0, 1, 1));
    ZanError status;
    EXPECT_THROW(qelCompute(result, status, &op), std::runtime_error);
    EXPECT_EQ(nullptr, result.get());
    expectUnsetStatus(status);
}

TEST(QelComputeTest, TakesTheReportWithoutAContextAndPassesItOnElsewhere) {
    using Calls = std::vector<std::pair<std::string, QelOpContext>>;
    ContextOp making({.width = 4, .height = 4});
    qelCompute(&making, nullptr, 41);
    EXPECT_EQ((Calls{{"outputInfo", 0}, {"compute", 41}}), making.calls);

    ContextOp filling({.width = 4, .height = 4});
    qelCompute(&filling, bufferAt(QelRect(0, 0, 4, 4)), 42);
    EXPECT_EQ((Calls{{"canFill", 42}, {"compute", 42}}), filling.calls);
}

TEST(QelComputeTest, ANullOpIsRefusedAheadOfAllChanges) {
    MoxSmartPtr<QelRectBuffer> const buffer = bufferAt(QelRect(0, 0, 2, 2));
    MoxSmartPtr<QelRectBuffer> result = buffer;
    ZanError status = QelError(7, "of before", __FILE__, __LINE__);
    for (QelRectBuffer * const given : {static_cast<QelRectBuffer *>(nullptr), buffer.get()}) {
        expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                     [&] { qelCompute(result, status, nullptr, given); });
        EXPECT_EQ(buffer.get(), result.get());
        expectQelError(status, 7, "of before");
        expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                     [&] { qelCompute(nullptr, given); });
    }
}
