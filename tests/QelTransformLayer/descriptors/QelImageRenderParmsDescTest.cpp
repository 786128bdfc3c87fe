#include "QelImageRenderParmsDesc.h"

#include <gtest/gtest.h>

#include "QelXySimpleRegion.h"

namespace {

class QelImageRenderParmsDescTest : public testing::Test {
  protected:
    MoxSmartPtr<QelXyCoordSpace> space_{new QelXyCoordSpace(300U, 200U)};
    MoxSmartPtr<QelXyRegion> region_{new QelXySimpleRegion(space_, 10, 20, 30, 40)};
};

TEST_F(QelImageRenderParmsDescTest, SharesTheRegion) {
    {
        QelImageRenderParmsDesc const parameters(region_);
        EXPECT_EQ(region_, parameters.region());
        EXPECT_EQ(2, region_->refCount());
    }
    EXPECT_EQ(1, region_->refCount());
}

TEST_F(QelImageRenderParmsDescTest, ACloneHasACloneOfTheRegion) {
    QelImageRenderParmsDesc const parameters(region_);
    MoxSmartPtr<QelDataDesc> const copy = parameters.clone();
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(1, copy->refCount());
    auto const * const clone = dynamic_cast<QelImageRenderParmsDesc const *>(copy.get());
    ASSERT_NE(nullptr, clone);
    EXPECT_NE(region_, clone->region());
    EXPECT_TRUE(clone->region()->equal(*region_));
    clone->region()->setPixelBounds(QelRect(0, 0, 5, 5));
    EXPECT_EQ(QelRect(10, 20, 30, 40), region_->pixelBounds());
    EXPECT_EQ(2, region_->refCount());
}

TEST_F(QelImageRenderParmsDescTest, ACloneWithoutRegionHasNone) {
    MoxSmartPtr<QelDataDesc> const copy = QelImageRenderParmsDesc(nullptr).clone();
    EXPECT_EQ(nullptr, dynamic_cast<QelImageRenderParmsDesc const &>(*copy).region());
}

}  // namespace
