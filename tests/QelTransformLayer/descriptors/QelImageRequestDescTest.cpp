#include "QelImageRequestDesc.h"

#include <gtest/gtest.h>

#include "QelImageOutputCP.h"
#include "QelXySimpleRegion.h"

namespace {

class QelImageRequestDescTest : public testing::Test {
  protected:
    MoxSmartPtr<QelXyCoordSpace> space_{new QelXyCoordSpace(300U, 200U)};
    MoxSmartPtr<QelXyRegion> region_{new QelXySimpleRegion(space_, 10, 20, 30, 40)};
    MoxSmartPtr<QelImageOutputCP> output_{new QelImageOutputCP("out")};
};

TEST_F(QelImageRequestDescTest, SharesTheRegionAndDoesNotCountTheOutput) {
    {
        QelImageRequestDesc const request(region_, output_.get());
        EXPECT_EQ(region_, request.region());
        EXPECT_EQ(2, region_->refCount());
        EXPECT_EQ(output_.get(), request.output());
        EXPECT_EQ(1, output_->refCount());
    }
    EXPECT_EQ(1, region_->refCount());
    EXPECT_EQ(1, output_->refCount());
}

TEST_F(QelImageRequestDescTest, NamesNoOutputUnlessGivenOne) {
    QelImageRequestDesc request(region_);
    EXPECT_EQ(nullptr, request.output());
    request.setOutput(output_.get());
    EXPECT_EQ(output_.get(), request.output());
    EXPECT_EQ(1, output_->refCount());
    request.setOutput(nullptr);
    EXPECT_EQ(nullptr, request.output());
}

TEST_F(QelImageRequestDescTest, ACloneHasACloneOfTheRegionAndTheSameOutput) {
    QelImageRequestDesc const request(region_, output_.get());
    MoxSmartPtr<QelDataDesc> const copy = request.clone();
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(1, copy->refCount());
    auto const * const clone = dynamic_cast<QelImageRequestDesc const *>(copy.get());
    ASSERT_NE(nullptr, clone);
    EXPECT_EQ(output_.get(), clone->output());
    ASSERT_NE(nullptr, clone->region());
    EXPECT_NE(region_, clone->region());
    EXPECT_NE(nullptr, dynamic_cast<QelXySimpleRegion const *>(clone->region().get()));
    EXPECT_TRUE(clone->region()->equal(*region_));
    // The clone's own, and the one just handed out.
    EXPECT_EQ(2, clone->region()->refCount());
    EXPECT_EQ(2, region_->refCount());
}

TEST_F(QelImageRequestDescTest, AChangeOfTheCloneLeavesTheOriginal) {
    QelImageRequestDesc const request(region_);
    MoxSmartPtr<QelDataDesc> const copy = request.clone();
    auto const & clone = dynamic_cast<QelImageRequestDesc const &>(*copy);
    clone.region()->setPixelBounds(QelRect(0, 0, 5, 5));
    EXPECT_EQ(QelRect(10, 20, 30, 40), request.region()->pixelBounds());
    region_->setPixelBounds(QelRect(7, 7, 7, 7));
    EXPECT_EQ(QelRect(0, 0, 5, 5), clone.region()->pixelBounds());
}

TEST_F(QelImageRequestDescTest, ACloneWithoutRegionHasNone) {
    QelImageRequestDesc const request(nullptr, output_.get());
    MoxSmartPtr<QelDataDesc> const copy = request.clone();
    auto const & clone = dynamic_cast<QelImageRequestDesc const &>(*copy);
    EXPECT_EQ(nullptr, clone.region());
    EXPECT_EQ(output_.get(), clone.output());
}

TEST_F(QelImageRequestDescTest, TheCloneOutlivesTheOriginal) {
    MoxSmartPtr<QelDataDesc> copy;
    {
        MoxSmartPtr<QelImageRequestDesc> const request(new QelImageRequestDesc(region_));
        copy = request->clone();
    }
    region_.release();
    EXPECT_EQ(QelRect(10, 20, 30, 40),
              dynamic_cast<QelImageRequestDesc const &>(*copy).region()->pixelBounds());
}

}  // namespace
