#include "QelBufferInfo.h"

#include <gtest/gtest.h>

#include "QelSimpleDataOrg.h"

namespace {

class Space : public QelColorSpace {
  public:
    Space() : QelColorSpace(3, 0.0, 255.0) {}
    MoxSmartPtr<QelColorSpace> clone() const override { return new Space(*this); }
    char const * bandName(int) const override { return ""; }
    char const * name() const override { return "Space"; }
    MoxSmartPtr<QelColorSpace> newWithBands(int) const override { return new Space; }
    MoxSmartPtr<QelColorSpace> newWithRange(double, double) const override { return new Space; }
};

class QelBufferInfoTest : public testing::Test {
  protected:
    MoxSmartPtr<QelColorSpace> space_{new Space};
    MoxSmartPtr<QelDataOrg> org_{
        new QelSimpleDataOrg(4, 4, QelDataType::UChar, 3, PIXEL_INTERLEAVED)};
};

TEST_F(QelBufferInfoTest, KnowsNothingAtFirst) {
    QelBufferInfo const info;
    EXPECT_EQ(nullptr, info.colorSpace());
    EXPECT_EQ(nullptr, info.dataOrg());
}

TEST_F(QelBufferInfoTest, SharesItsArguments) {
    {
        QelBufferInfo const info(space_, org_);
        EXPECT_EQ(space_, info.colorSpace());
        EXPECT_EQ(org_, info.dataOrg());
        EXPECT_EQ(2, space_->refCount());
        EXPECT_EQ(2, org_->refCount());
    }
    EXPECT_EQ(1, space_->refCount());
    EXPECT_EQ(1, org_->refCount());
}

TEST_F(QelBufferInfoTest, SetReplacesBoth) {
    QelBufferInfo info(space_, org_);
    MoxSmartPtr<QelColorSpace> const space(new Space);
    info.set(space, nullptr);
    EXPECT_EQ(space, info.colorSpace());
    EXPECT_EQ(nullptr, info.dataOrg());
    EXPECT_EQ(1, space_->refCount());
    EXPECT_EQ(1, org_->refCount());
    info.set(info.colorSpace(), org_);
    EXPECT_EQ(space, info.colorSpace());
    EXPECT_EQ(org_, info.dataOrg());
}

TEST_F(QelBufferInfoTest, ACloneHasClonesOfBoth) {
    MoxSmartPtr<QelBufferInfo> const copy = QelBufferInfo(space_, org_).clone();
    EXPECT_EQ(1, copy->refCount());
    ASSERT_NE(nullptr, copy->colorSpace());
    ASSERT_NE(nullptr, copy->dataOrg());
    EXPECT_NE(space_, copy->colorSpace());
    EXPECT_NE(org_, copy->dataOrg());
    EXPECT_TRUE(space_->isEqual(*copy->colorSpace()));
    EXPECT_TRUE(org_->isCompatible(*copy->dataOrg(), false));
}

TEST_F(QelBufferInfoTest, WhatIsUnknownStaysUnknownInAClone) {
    MoxSmartPtr<QelBufferInfo> const onlySpace = QelBufferInfo(space_, nullptr).clone();
    EXPECT_NE(nullptr, onlySpace->colorSpace());
    EXPECT_EQ(nullptr, onlySpace->dataOrg());
    MoxSmartPtr<QelBufferInfo> const onlyOrg = QelBufferInfo(nullptr, org_).clone();
    EXPECT_EQ(nullptr, onlyOrg->colorSpace());
    EXPECT_NE(nullptr, onlyOrg->dataOrg());
}

}  // namespace
