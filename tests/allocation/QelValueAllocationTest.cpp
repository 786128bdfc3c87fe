#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "QelValueRange.h"

// Values and ranges are plain: nothing done with them costs the heap anything.

namespace {

TEST(QelValueAllocationTest, ConversionsAndComparisonsAllocateNothing) {
    QelValue const length(2.5, QEL_UNIT_INCH);  // the registry is there from now on
    AllocationCounter const counter;
    QelValue sum = length + QelValue(1.0, QEL_UNIT_CENTIMETER);
    sum.convertTo(QEL_UNIT_METER);
    sum.round();
    EXPECT_TRUE(sum < length);
    EXPECT_TRUE(sum != length);
    EXPECT_FALSE(sum >= length);
    EXPECT_TRUE(QelValue::isCompatible(QEL_UNIT_MIL, QEL_UNIT_PICA));
    EXPECT_EQ(QEL_UNIT_MIL, QelValue::getUnitInfo(QEL_UNIT_MIL).id);
    EXPECT_EQ(0, counter.allocations());
}

TEST(QelValueAllocationTest, RangesAllocateNothing) {
    QelValue const one(1.0, QEL_UNIT_INCH);
    AllocationCounter const counter;
    QelValueRange range(one, one * 4.0, 0, true, false);
    range.setMax(QelValue(1.0, QEL_UNIT_METER));
    range.setUnit(QEL_UNIT_CENTIMETER);
    range = range.intersect(QelValueRange(one, one, 1, true, true));
    EXPECT_FALSE(range.contains(one * 9.0));
    EXPECT_EQ(0, counter.allocations());
}

}  // namespace
