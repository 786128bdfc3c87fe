#include <algorithm>
#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelError.h"
#include "QelImageOp.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "RigidDataOrg.h"
#include "TestOps.h"

// QelImageOp::genResult(): the whole image in one buffer.

namespace {

void expectWholeImage(QelRectBuffer const & buffer, TestImage const & image) {
    EXPECT_EQ(image.rect(), buffer.rect());
    EXPECT_EQ(image.width, buffer.fullWidth());
    EXPECT_EQ(image.height, buffer.fullHeight());
    EXPECT_EQ(QelRect(0, 0, std::max(image.width, image.tileWidth),
                      std::max(image.height, image.tileHeight)),
              buffer.dataOrg()->tileRect(0, 0));
    EXPECT_TRUE(showsPixels(buffer, image.rect(), gradientAt));
}

}  // namespace

TEST(QelImageOpResultTest, EnlargesTheOrganisationOnlyWhereTheImageIsLarger) {
    struct Row {
        std::int32_t width, height, tileWidth, tileHeight;
    };
    for (Row const & row : {Row{10, 10, 128, 128}, Row{10, 40, 16, 16}, Row{40, 10, 16, 16},
                            Row{40, 30, 16, 16}, Row{16, 16, 16, 16}, Row{1, 1, 0, 0}}) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height) + " in tiles " +
                     std::to_string(row.tileWidth) + "x" + std::to_string(row.tileHeight));
        TestImage const image{.width = row.width,
                              .height = row.height,
                              .tileWidth = row.tileWidth,
                              .tileHeight = row.tileHeight,
                              .originX = 5,
                              .originY = -6};
        GradientOp op(image);
        expectWholeImage(*op.genResult(), image);
    }
}

TEST(QelImageOpResultTest, ShowsTheImageInEveryTypeAndLayout) {
    unsigned const seed = 20261;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int type = QelDataType::UChar; type <= QelDataType::ULong; ++type) {
        for (int layout = PIXEL_INTERLEAVED; layout <= BAND_INTERLEAVED; ++layout) {
            SCOPED_TRACE("type " + std::to_string(type) + ", layout " + std::to_string(layout));
            TestImage const image{.width = pick(1, 50),
                                  .height = pick(1, 50),
                                  .bands = pick(1, 4),
                                  .type = QelDataType(type),
                                  .layout = static_cast<QelLayout>(layout),
                                  .tileWidth = pick(1, 60),
                                  .tileHeight = pick(1, 60),
                                  .originX = pick(-9, 9),
                                  .originY = pick(-9, 9)};
            GradientOp op(image);
            expectWholeImage(*op.genResult(), image);
        }
    }
}

TEST(QelImageOpResultTest, KeepsStridesThatRunBackwards) {
    MoxSmartPtr<QelDataOrg> const backwards(
        new QelSimpleDataOrg(20, 10, QelDataType::UChar, 2, {1, 0}, -2, -40));
    TestImage const image{
        .width = 20, .height = 10, .tileWidth = 20, .tileHeight = 10, .org = backwards};
    GradientOp op(image);
    MoxSmartPtr<QelRectBuffer> const result = op.genResult();
    expectWholeImage(*result, image);
    EXPECT_EQ(-40, result->lineStride());
}

TEST(QelImageOpResultTest, PassesItsContextToCompute) {
    CountingOp op(new GradientOp({.width = 4, .height = 4}));
    op.genResult(31);
    EXPECT_EQ(31U, op.lastContext());
    EXPECT_EQ(1, op.computes());
    EXPECT_EQ(1, op.reports());
}

TEST(QelImageOpResultTest, AnImageWithoutPixelsGivesAnEmptyBuffer) {
    GradientOp op({.width = 0, .height = 0});
    MoxSmartPtr<QelRectBuffer> const result = op.genResult();
    EXPECT_TRUE(result->rect().isEmpty());
    EXPECT_EQ(0, result->fullWidth());
}

TEST(QelImageOpResultTest, RaisesTheReasonOfABadReport) {
    BadOp op(QelError(7, "Bad index", "somewhere.cpp", 3));
    expectRaises(QelErrorCode::outOfRange, "Bad index", [&] { op.genResult(); });
}

// An op whose genOutputInfo returns false with status code 0 makes genResult throw with " with no
// reason given" in the text.
TEST(QelImageOpResultTest, RaisesABadReportWithNoReasonGiven) {
    BadOp op;
    std::string const text = "Bad status reported by BadOp with no reason given";
    expectRaises(QelErrorCode::renderFailed, text, [&] { op.genResult(); });
    expectQelError(op.status(0), QelErrorCode::renderFailed, text);
    // Nothing is forgotten by asking again.
    expectRaises(QelErrorCode::renderFailed, text, [&] { op.genResult(); });
}

TEST(QelImageOpResultTest, RaisesAPlainZanErrorForABadReport) {
    BadOp op;
    try {
        op.genResult();
        FAIL() << "no error was raised";
    } catch (QelError const &) {
        FAIL() << "a status is thrown as the ZanError it is";
    } catch (ZanError const & error) {
        EXPECT_EQ(QelErrorCode::renderFailed, error.getErrcode());
    }
}

TEST(QelImageOpResultTest, RefusesANegativeSizeAheadOfAnyAllocation) {
    struct Row {
        std::int32_t width, height;
        char const * text;
    };
    for (Row const & row :
         {Row{-1, 10, "An op reports an image of illegal size: width -1, height 10"},
          Row{10, -1, "An op reports an image of illegal size: width 10, height -1"},
          Row{std::numeric_limits<std::int32_t>::min(), -2,
              "An op reports an image of illegal size: width -2147483648, height -2"}}) {
        CountingOp op(new GradientOp({.width = row.width, .height = row.height}));
        std::int64_t const before = QelSystemConfig::allocationCount;
        expectRaises(QelErrorCode::invalidValue, row.text, [&] { op.genResult(); });
        EXPECT_EQ(0, op.computes());
        EXPECT_EQ(before, QelSystemConfig::allocationCount);
    }
}

TEST(QelImageOpResultTest, RefusesASizeWhoseBytesPassTheRange) {
    CountingOp op(new GradientOp({.width = 2147483647, .height = 1, .bands = 3}));
    std::int64_t const before = QelSystemConfig::allocationCount;
    EXPECT_EQ(QelErrorCode::invalidValue, errorOf([&] { op.genResult(); })->getErrcode());
    EXPECT_EQ(0, op.computes());
    EXPECT_EQ(before, QelSystemConfig::allocationCount);
}

TEST(QelImageOpResultTest, RefusesAnOrganisationThatCannotBeEnlarged) {
    MoxSmartPtr<QelDataOrg> const rigid(new RigidDataOrg(16, 16, {QelDataType::UChar}));
    GradientOp tooLarge({.width = 17, .height = 16, .org = rigid});
    expectRaises(QelErrorCode::unsupported,
                 "The data organization RigidDataOrg cannot take another tile size",
                 [&] { tooLarge.genResult(); });

    GradientOp fits({.width = 16, .height = 16, .org = rigid});
    EXPECT_TRUE(showsPixels(*fits.genResult(), QelRect(0, 0, 16, 16), gradientAt));
}

TEST(QelImageOpResultTest, PassesOnWhatComputeRaises) {
    ThrowingOp ours({.width = 4, .height = 4},
                    [] { throw QelError(204, "Render cancelled in progress", "", 0); });
    expectRaises(QelErrorCode::cancelled, "Render cancelled in progress",
                 [&] { ours.genResult(); });

    ThrowingOp foreign({.width = 4, .height = 4}, [] { throw std::runtime_error("foreign"); });
    EXPECT_THROW(foreign.genResult(), std::runtime_error);
}
