#include "QelImageOp.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelError.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "RigidDataOrg.h"
#include "ScopedSetting.h"
#include "TestOps.h"

namespace {

// An op that reports what a test says and lets the test see its inside.
class ProbeOp : public QelImageOp {
  public:
    std::function<bool(QelImageInfo &)> report = [](QelImageInfo & info) {
        info.setSize(10, 20);
        return true;
    };
    int reports = 0;
    std::vector<QelOpContext> contexts;

    bool genOutputInfo(QelImageInfo & info, QelOpContext opContext) override {
        ++reports;
        contexts.push_back(opContext);
        return report(info);
    }
    void compute(QelRectBuffer *, QelOpContext) override {}

    using QelImageOp::discardReport;
    using QelImageOp::info;
    using QelImageOp::storedStatus;
};

QelError badIndex() {
    return QelError(7, "Bad index", "somewhere.cpp", 3);
}

MoxSmartPtr<QelRectBuffer> bufferOf(int bands, QelDataType type,
                                    QelLayout layout = PIXEL_INTERLEAVED) {
    return MoxSmartPtr<QelRectBuffer>(new QelRectBuffer(4, 4, bands, layout, type));
}

void expectNotOk(QelImageOp & op, QelRectBuffer * buffer, int code, std::string const & text) {
    EXPECT_FALSE(op.isOutputOK(buffer));
    expectQelError(op.status(0), code, text);
}

}  // namespace

TEST(QelImageOpTest, StartsGoodInItsReportAndBadInItsStatus) {
    ProbeOp const op;
    EXPECT_FALSE(op.info().computed());
    EXPECT_EQ(0, op.info().status().getErrcode());
    EXPECT_EQ(-1, op.storedStatus().getErrcode());
    EXPECT_EQ(0, op.reports);
}

// Calling outputInfo twice runs genOutputInfo once.
TEST(QelImageOpTest, OutputInfoTwiceRunsGenOutputInfoOnce) {
    ProbeOp op;
    for (int call = 0; call < 2; ++call) {
        QelImageInfo info;
        EXPECT_TRUE(op.outputInfo(info));
        EXPECT_EQ(10, info.width());
        EXPECT_EQ(20, info.height());
        EXPECT_TRUE(info.computed());
    }
    EXPECT_EQ(1, op.reports);
}

TEST(QelImageOpTest, EveryQuestionSharesOneReport) {
    ProbeOp op;
    EXPECT_TRUE(op.isGood(3));
    EXPECT_EQ(0, op.status(4).getErrcode());
    EXPECT_TRUE(op.isOutputOK(nullptr, 5));
    op.canFill(bufferOf(1, QelDataType::UChar), 6);
    QelImageInfo info;
    op.outputInfo(info, 7);

    EXPECT_EQ(std::vector<QelOpContext>{3}, op.contexts);
}

TEST(QelImageOpTest, StatusTakesTheReportBeforeItReturns) {
    ProbeOp op;
    EXPECT_EQ(0, op.status(0).getErrcode());
    EXPECT_STREQ("", op.status(0).getComponent());
    EXPECT_EQ(1, op.reports);
}

TEST(QelImageOpTest, TheCallersReportIsItsOwn) {
    ProbeOp op;
    QelImageInfo info;
    op.outputInfo(info);
    EXPECT_NE(op.info().dataOrg().get(), info.dataOrg().get());
}

TEST(QelImageOpTest, ABadReportIsKeptWithItsStatus) {
    ProbeOp op;
    op.report = [](QelImageInfo & info) {
        info.setStatus(badIndex());
        return false;
    };
    QelImageInfo info;
    EXPECT_FALSE(op.outputInfo(info));
    EXPECT_FALSE(op.outputInfo(info));
    expectQelError(info.status(), QelErrorCode::outOfRange, "Bad index");
    EXPECT_FALSE(op.isGood(0));
    expectQelError(op.status(0), QelErrorCode::outOfRange, "Bad index");
    EXPECT_EQ(1, op.reports);
}

TEST(QelImageOpTest, AReportThatRaisesIsNotKept) {
    ProbeOp op;
    auto const good = op.report;
    op.report = [](QelImageInfo & info) -> bool {
        info.setSize(1, 1);
        throw badIndex();
    };
    QelImageInfo info;
    expectRaises(QelErrorCode::outOfRange, "Bad index", [&] { op.outputInfo(info); });
    EXPECT_FALSE(op.info().computed());
    EXPECT_EQ(0, op.info().width());
    EXPECT_EQ(-1, op.storedStatus().getErrcode());

    op.report = good;
    EXPECT_TRUE(op.outputInfo(info));
    EXPECT_EQ(10, info.width());
    EXPECT_EQ(2, op.reports);
}

TEST(QelImageOpTest, ADiscardedReportIsTakenAgainAndForgetsTheOldStatus) {
    ProbeOp op;
    auto const good = op.report;
    op.report = [](QelImageInfo & info) {
        info.setStatus(badIndex());
        return false;
    };
    EXPECT_FALSE(op.isGood(0));

    op.report = good;
    op.discardReport();
    EXPECT_TRUE(op.isGood(0));
    EXPECT_EQ(0, op.status(0).getErrcode());
    EXPECT_EQ(2, op.reports);
}

// isOutputOK with a null buffer returns true for a good op.
TEST(QelImageOpTest, IsOutputOkWithANullBufferForAGoodOp) {
    GradientOp op({.width = 4, .height = 4});
    EXPECT_TRUE(op.isOutputOK(nullptr));
}

TEST(QelImageOpTest, IsOutputOkForABufferOfTheSameTypeAndBandsInAnyLayout) {
    GradientOp op({.width = 4, .height = 4, .bands = 3, .type = QelDataType::Short});
    for (QelLayout const layout : {PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED}) {
        EXPECT_TRUE(op.isOutputOK(bufferOf(3, QelDataType::Short, layout)));
        EXPECT_EQ(0, op.status(0).getErrcode());
    }
}

TEST(QelImageOpTest, IsOutputOkRefusesTheWrongPrecision) {
    GradientOp op({.width = 4, .height = 4, .bands = 3, .type = QelDataType::Short});
    std::string const text = "Output buffer has invalid precision for Op";
    expectNotOk(op, bufferOf(3, QelDataType::UShort), QelErrorCode::wrongPixelFormat, text);
    // The precision is looked at before the bands.
    expectNotOk(op, bufferOf(1, QelDataType::UChar), QelErrorCode::wrongPixelFormat, text);
    expectNotOk(op, bufferOf(0, QelDataType::Short), QelErrorCode::wrongPixelFormat, text);
}

TEST(QelImageOpTest, IsOutputOkRefusesABufferWithoutOrganisation) {
    GradientOp op({.width = 4, .height = 4});
    MoxSmartPtr<QelRectBuffer> const bare(new QelRectBuffer(nullptr, QelRect(0, 0, 4, 4)));
    expectNotOk(op, bare, QelErrorCode::wrongPixelFormat,
                "Output buffer has invalid precision for Op");
    EXPECT_FALSE(op.canFill(bare));
}

TEST(QelImageOpTest, IsOutputOkRefusesBandsOfDifferentTypes) {
    MoxSmartPtr<QelDataOrg> const mixed(
        new RigidDataOrg(4, 4, {QelDataType::UChar, QelDataType::Short}));
    GradientOp op({.width = 4, .height = 4, .org = mixed});
    expectNotOk(op, bufferOf(2, QelDataType::UChar), QelErrorCode::wrongPixelFormat,
                "Output buffer has invalid precision for Op");
}

TEST(QelImageOpTest, IsOutputOkRefusesTheWrongNumberOfBands) {
    GradientOp op({.width = 4, .height = 4, .bands = 3});
    std::string const text = "Output buffer has wrong number of bands for Op";
    expectNotOk(op, bufferOf(2, QelDataType::UChar), QelErrorCode::wrongPixelFormat, text);
    expectNotOk(op, bufferOf(4, QelDataType::UChar), QelErrorCode::wrongPixelFormat, text);
}

TEST(QelImageOpTest, AnOrganisationWithoutBandsCountsAsTypeError) {
    GradientOp op({.width = 4, .height = 4, .bands = 0});
    EXPECT_TRUE(op.isOutputOK(bufferOf(0, QelDataType::UChar)));
    expectNotOk(op, bufferOf(1, QelDataType::UChar), QelErrorCode::wrongPixelFormat,
                "Output buffer has invalid precision for Op");
}

// An op whose genOutputInfo returns false with status code 0 gives isOutputOK false with status
// invalidInput (123).
TEST(QelImageOpTest, IsOutputOkOfABadReportWithoutACodeIs123) {
    BadOp silent;
    expectNotOk(silent, nullptr, QelErrorCode::invalidInput,
                "Input is invalid for an unknown reason");

    BadOp unset(ZanError("Zan", -1, "", 0));
    expectNotOk(unset, nullptr, QelErrorCode::invalidInput,
                "Input is invalid for an unknown reason");
}

TEST(QelImageOpTest, IsOutputOkOfABadReportKeepsItsReason) {
    BadOp op(badIndex());
    expectNotOk(op, nullptr, 7, "Bad index");
    expectNotOk(op, bufferOf(3, QelDataType::UChar), 7, "Bad index");
}

TEST(QelImageOpTest, AcceptsOrganisationsAsItsReportDoes) {
    GradientOp op({.width = 4, .height = 4, .bands = 3});
    MoxSmartPtr<QelDataOrg> const rigid(
        new RigidDataOrg(4, 4, std::vector<QelDataType>(3, QelDataType::UChar)));

    EXPECT_TRUE(op.acceptsDataOrg(bufferOf(3, QelDataType::UChar, BAND_INTERLEAVED)->dataOrg()));
    EXPECT_FALSE(op.acceptsDataOrg(bufferOf(2, QelDataType::UChar)->dataOrg()));
    EXPECT_FALSE(op.acceptsDataOrg(bufferOf(3, QelDataType::Char)->dataOrg()));
    EXPECT_FALSE(op.acceptsDataOrg(rigid));
    EXPECT_FALSE(op.acceptsDataOrg(nullptr));
}

TEST(QelImageOpTest, ABadOpAcceptsNothing) {
    BadOp op;
    EXPECT_FALSE(op.acceptsDataOrg(bufferOf(1, QelDataType::UChar)->dataOrg()));
    EXPECT_FALSE(op.canFill(bufferOf(1, QelDataType::UChar)));
}

TEST(QelImageOpTest, CanFillAsksForTheBuffersOrganisationWithItsContext) {
    class AskedOp : public ProbeOp {
      public:
        QelDataOrg * org = nullptr;
        QelOpContext context = 0;

        bool acceptsDataOrg(QelDataOrg * asked, QelOpContext opContext) override {
            org = asked;
            context = opContext;
            return true;
        }
    };
    AskedOp op;
    MoxSmartPtr<QelRectBuffer> const buffer = bufferOf(9, QelDataType::Double);
    EXPECT_TRUE(op.canFill(buffer, 11));
    EXPECT_EQ(buffer->dataOrg().get(), op.org);
    EXPECT_EQ(11U, op.context);
}

TEST(QelImageOpTest, AboutToRenderDoesNothing) {
    ProbeOp op;
    op.aboutToRender(1, 2);
    EXPECT_EQ(0, op.reports);
}

TEST(QelImageOpTest, GetTileComputesAndCompletesATile) {
    MoxSmartPtr<CountingOp> const op(
        new CountingOp(new GradientOp({.width = 40, .height = 30, .tileWidth = 16})));
    MoxSmartPtr<QelTile> const tile(
        new QelTile(TestImage{.tileWidth = 16}.dataOrg(), QelTileId(1, 0)));

    op->getTile(tile, 21);
    EXPECT_TRUE(tile->isState(QelRenderedItem::complete));
    EXPECT_TRUE(showsPixels(*tile, QelRect(16, 0, 16, 128), gradientAt));
    EXPECT_EQ(21U, op->lastContext());

    op->getTile(tile, 22);
    EXPECT_EQ(1, op->computes());
}

TEST(QelImageOpTest, GetTileAndCanFillRefuseNull) {
    CountingOp op(new GradientOp({.width = 4, .height = 4}));
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { op.getTile(nullptr); });
    EXPECT_EQ(0, op.computes());
    GradientOp plain({.width = 4, .height = 4});
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer",
                 [&] { plain.canFill(nullptr); });
    EXPECT_FALSE(plain.acceptsDataOrg(nullptr));
}

TEST(QelImageOpTest, GetTileLeavesATileIncompleteWhenComputeRaises) {
    ThrowingOp op({.width = 4, .height = 4}, [] { throw badIndex(); });
    MoxSmartPtr<QelTile> const tile(new QelTile(TestImage().dataOrg(), QelTileId(0, 0)));

    expectRaises(QelErrorCode::outOfRange, "Bad index", [&] { op.getTile(tile); });
    EXPECT_FALSE(tile->isState(QelRenderedItem::complete));
}

TEST(QelImageOpTest, AGoodReportHasItsOrganisationFromTheStart) {
    // Not from the first question about it, which may come from any thread.
    ProbeOp op;
    ASSERT_TRUE(op.isGood(0));
    ScopedSetting const width(QelSystemConfig::defaultTileWidth, 40);
    EXPECT_EQ(QelRect(0, 0, 128, 128), op.info().tileRect());
}

TEST(QelImageOpTest, ThreadsMayAskOnceTheReportIsTaken) {
    // This report has no organisation of its own, so that one has to be made for the answers.
    ProbeOp op;
    ASSERT_TRUE(op.isGood(0));
    std::vector<std::thread> threads;
    std::atomic<int> yes{0};
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            QelImageInfo info;
            for (int round = 0; round < 200; ++round) {
                yes += op.canFill(bufferOf(1, QelDataType::UChar)) && op.outputInfo(info) ? 1 : 0;
            }
        });
    }
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_EQ(1600, yes);
    EXPECT_EQ(1, op.reports);
}
