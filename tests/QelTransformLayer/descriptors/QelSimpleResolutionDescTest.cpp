#include "QelSimpleResolutionDesc.h"

#include <gtest/gtest.h>

namespace {

TEST(QelSimpleResolutionDescTest, IsTwoZerosAtFirst) {
    QelSimpleResolutionDesc const none;
    EXPECT_EQ(0U, none.horizontal());
    EXPECT_EQ(0U, none.vertical());
}

TEST(QelSimpleResolutionDescTest, ACloneHasTheSameNumbers) {
    QelSimpleResolutionDesc const resolution(4294967295U, 2147483648U);
    MoxSmartPtr<QelDataDesc> const copy = resolution.clone();
    EXPECT_EQ(1, copy->refCount());
    auto const * const clone = dynamic_cast<QelSimpleResolutionDesc const *>(copy.get());
    ASSERT_NE(nullptr, clone);
    EXPECT_EQ(4294967295U, clone->horizontal());
    EXPECT_EQ(2147483648U, clone->vertical());
}

}  // namespace
