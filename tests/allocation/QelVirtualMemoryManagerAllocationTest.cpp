#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "QelVirtualMemoryManager.h"

// What the manager costs the heap, and what happens when the heap has nothing for it.

namespace {

using Counters = QelVirtualMemoryManager::Counters;

class QelVirtualMemoryManagerAllocationTest : public testing::Test {
  protected:
    // Takes a few blocks of a few sizes and gives them back, not in the order of their coming.
    void cycle() {
        std::size_t taken = 0;
        for (std::size_t const size : {page_, 12 * page_, std::size_t{100}, 12 * page_})
            memory_[taken++] = manager_->allocate(size);
        for (std::size_t const i : {2U, 0U, 3U, 1U})
            EXPECT_TRUE(manager_->free(memory_[i]));
    }

    std::size_t const page_ = QelVMem::pageSize();
    MoxSmartPtr<QelVirtualMemoryManager> manager_{new QelVirtualMemoryManager(100 * page_)};
    std::vector<void *> memory_ = std::vector<void *>(4);
};

TEST_F(QelVirtualMemoryManagerAllocationTest, AWarmCycleAllocatesNothing) {
    cycle();
    AllocationCounter const counter;
    for (int i = 0; i < 1000; ++i)
        cycle();
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(0, counter.live());
}

TEST_F(QelVirtualMemoryManagerAllocationTest, ABlockThatIsLetGoTakesItsPlacesAlong) {
    manager_->setLimit(1);
    cycle();
    AllocationCounter const counter;
    for (int i = 0; i < 1000; ++i)
        manager_->free(manager_->allocate(page_));
    EXPECT_EQ(0, counter.live());
    EXPECT_EQ(3 * 1000, counter.allocations()) << "the block and its place in either map";
}

TEST_F(QelVirtualMemoryManagerAllocationTest, EachFailsOnceGivesNullAndLeavesNothingBehind) {
    for (std::size_t const size : {page_, std::size_t{100}}) {
        for (std::int64_t n = 1;; ++n) {
            SCOPED_TRACE(std::to_string(size) + " bytes, allocation " + std::to_string(n));
            MoxSmartPtr<QelVirtualMemoryManager> manager(new QelVirtualMemoryManager(page_));
            Counters const before = manager->counters();
            AllocationCounter const counter;
            void * memory = nullptr;
            bool failed = false;
            {
                AllocationFault const fault(n);
                memory = manager->allocate(size);
                failed = fault.happened();
            }
            if (!failed) {
                EXPECT_LE(5, n) << "the block, two places, and the room for them";
                EXPECT_TRUE(manager->free(memory));
                break;
            }
            EXPECT_EQ(nullptr, memory);
            EXPECT_EQ(before, manager->counters());
            void * const next = manager->allocate(size);
            EXPECT_NE(nullptr, next);
            EXPECT_TRUE(manager->free(next));
            manager.release();
            // The manager was there ahead of the counter, and the note that `new` made it.
            EXPECT_EQ(-2, counter.live());
        }
    }
}

TEST_F(QelVirtualMemoryManagerAllocationTest, ComingBackNeedsNoMemory) {
    void * const memory = manager_->allocate(page_);
    AllocationFault const fault(1);
    EXPECT_TRUE(manager_->free(memory));
    EXPECT_EQ(memory, manager_->allocate(page_));
    EXPECT_TRUE(manager_->free(memory));
    EXPECT_FALSE(fault.happened());
}

}  // namespace
