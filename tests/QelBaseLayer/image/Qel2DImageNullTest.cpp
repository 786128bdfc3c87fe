#include <functional>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "ImageTesting.h"

// Null pointers where an image needs an object.

namespace {

void expectNullRefused(std::function<void()> const & action) {
    expectRaises(QelErrorCode::nullPointer, "Argument is a NULL pointer", action);
}

class Qel2DImageNullTest : public testing::Test {
  protected:
    MoxSmartPtr<CountingOp> op = countingOp({.width = 300, .height = 200});
    MoxSmartPtr<Qel2DImage> image = imageOf(op);
};

}  // namespace

TEST_F(Qel2DImageNullTest, AnOrganisationIsNeeded) {
    expectNullRefused([] { Qel2DImage(QelTileId(0, 0, 9, 9), nullptr, 9, 9, nullptr); });
}

TEST_F(Qel2DImageNullTest, ABufferToWrapIsNeeded) {
    expectNullRefused([] { Qel2DImage none(static_cast<QelRectBuffer *>(nullptr)); });
}

TEST_F(Qel2DImageNullTest, AnOpIsNotNeeded) {
    EXPECT_FALSE(Qel2DImage(static_cast<QelImageOp *>(nullptr)).sizeKnown());
    EXPECT_FALSE(Qel2DImage(QelTileId(0, 0, 9, 9), nullptr, nullptr).sizeKnown());
}

TEST_F(Qel2DImageNullTest, ABufferToFillIsNeeded) {
    for (bool const allowCopy : {false, true}) {
        expectNullRefused([&] { image->fillRWBuffer(nullptr, allowCopy); });
        expectNullRefused([&] { image->shareBuffer(nullptr, QelRect(0, 0, 9, 9), allowCopy); });
        expectNullRefused([&] { image->shareBuffer(nullptr, QelRect(-9, 0, 9, 9), allowCopy); });
    }
    EXPECT_EQ(0, op->computes());
}

TEST_F(Qel2DImageNullTest, ATileToInsertIsNeeded) {
    expectNullRefused([&] { image->insertTile(nullptr); });
}

TEST_F(Qel2DImageNullTest, AnImageToWalkIsNeeded) {
    expectNullRefused([] { Qel2DImage::TileIterator(nullptr, QelRect(0, 0, 9, 9)); });
}
