#include "AllocationCounter.h"

#include <new>

#include <gtest/gtest.h>

TEST(AllocationCounterTest, CountsWhatItsThreadAllocates) {
    AllocationCounter const counter;
    ::operator delete(::operator new(10));
    ::operator delete(::operator new(20, std::nothrow));
    ::operator delete (::operator new (64, std::align_val_t{64}), std::align_val_t{64});
    EXPECT_EQ(3, counter.allocations());
    EXPECT_EQ(94, counter.bytes());

    AllocationCounter const later;
    EXPECT_EQ(0, later.allocations());
}
