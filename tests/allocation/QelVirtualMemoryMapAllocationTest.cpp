#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "QelVirtualMemoryMap.h"

// What happens when the heap has nothing for the map of blocks.

// The room for places and the place itself.
TEST(QelVirtualMemoryMapAllocationTest, APlaceThatCannotBeHadChangesNothing) {
    for (std::int64_t n = 1; n <= 2; ++n) {
        SCOPED_TRACE(n);
        QelVirtualMemoryMap<std::size_t> map;
        {
            AllocationFault const fault(n);
            EXPECT_FALSE(map.reserve());
        }
        EXPECT_EQ(0U, map.spares());
        EXPECT_TRUE(map.reserve());
        EXPECT_EQ(1U, map.spares());
    }
}

TEST(QelVirtualMemoryMapAllocationTest, AnInsertionWithoutAPlaceRaisesBadAllocAndEndsItsBlockOnly) {
    QelVirtualMemoryMap<std::size_t> map;
    map.insert(10, std::make_unique<QelVMem>(10));
    map.insert(20, std::make_unique<QelVMem>(20));
    auto block = std::make_unique<QelVMem>(30);
    AllocationCounter const counter;
    {
        AllocationFault const fault(1);
        EXPECT_THROW(map.insert(30, std::move(block)), std::bad_alloc);
    }
    EXPECT_EQ(-2, counter.live()) << "the block and its bytes";
    EXPECT_EQ(2U, map.size());
    EXPECT_EQ(nullptr, map.takeNotLess(21));
    EXPECT_EQ(20U, map.takeNotLess(11)->requestedSize());
    EXPECT_EQ(10U, map.takeNotLess(0)->requestedSize());
}
