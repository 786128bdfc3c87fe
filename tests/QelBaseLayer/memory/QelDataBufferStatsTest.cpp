#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "FaultySystem.h"
#include "HeapManager.h"
#include "QelDataBuffer.h"
#include "QelSystemConfig.h"
#include "ZanError.h"

// The counters of QelSystemConfig.
namespace {

struct Counters {
    std::int64_t current = 0;
    std::int64_t peak = 0;
    std::int64_t allocations = 0;
    std::int64_t blocks = 0;

    friend bool operator==(Counters const &, Counters const &) = default;
    friend void PrintTo(Counters const & counters, std::ostream * out) {
        *out << "current " << counters.current << " peak " << counters.peak << " allocations "
             << counters.allocations << " blocks " << counters.blocks;
    }

    void take(std::int64_t bytes, bool isAllocation) {
        current += bytes;
        peak = std::max(peak, current);
        ++blocks;
        if (isAllocation) ++allocations;
    }
    void giveBack(std::int64_t bytes) {
        current -= bytes;
        --blocks;
    }
};

// What the counters changed by since the fixture was built; the peak starts at the bytes in use.
class QelDataBufferStatsTest : public testing::Test {
  protected:
    QelDataBufferStatsTest() {
        ZanLock const guard(QelSystemConfig::statsLock);
        QelSystemConfig::peakBytes = QelSystemConfig::currentBytes;
        start_ = absolute();
    }

    static Counters absolute() {
        return {QelSystemConfig::currentBytes, QelSystemConfig::peakBytes,
                QelSystemConfig::allocationCount, QelSystemConfig::liveBlocks};
    }

    Counters counters() const {
        ZanLock const guard(QelSystemConfig::statsLock);
        Counters now = absolute();
        now.current -= start_.current;
        now.peak -= start_.current;
        now.allocations -= start_.allocations;
        now.blocks -= start_.blocks;
        return now;
    }

    FaultySystem system_;

  private:
    Counters start_;
};

TEST_F(QelDataBufferStatsTest, AllocatedMemoryIsCountedUntilItIsFreed) {
    QelDataBuffer buffer(100);
    EXPECT_EQ((Counters{0, 0, 0, 0}), counters());
    buffer.allocate();
    EXPECT_EQ((Counters{100, 100, 1, 1}), counters());
    buffer.allocate();
    EXPECT_EQ((Counters{100, 100, 1, 1}), counters());
    buffer.deallocate();
    EXPECT_EQ((Counters{0, 100, 1, 0}), counters());
    buffer.deallocate();
    EXPECT_EQ((Counters{0, 100, 1, 0}), counters());
}

TEST_F(QelDataBufferStatsTest, MemoryOfItsOwnIsCountedWhateverOwnsDataSays) {
    {
        QelDataBuffer buffer(100, false);
        buffer.allocate();
        EXPECT_EQ((Counters{100, 100, 1, 1}), counters());
    }
    EXPECT_EQ((Counters{0, 100, 1, 0}), counters());
}

TEST_F(QelDataBufferStatsTest, WrappedOwnedMemoryIsNoAllocation) {
    {
        QelDataBuffer const buffer(100, true, system_.allocate(100));
        EXPECT_EQ((Counters{100, 100, 0, 1}), counters());
    }
    EXPECT_EQ((Counters{0, 100, 0, 0}), counters());
}

TEST_F(QelDataBufferStatsTest, ForeignMemoryIsNotCounted) {
    std::uint8_t memory[100];
    {
        QelDataBuffer const buffer(100, false, memory);
        EXPECT_EQ((Counters{0, 0, 0, 0}), counters());
    }
    EXPECT_EQ((Counters{0, 0, 0, 0}), counters());
}

TEST_F(QelDataBufferStatsTest, ASizeOfZeroIsCountedAndUncountedAlike) {
    QelDataBuffer buffer(0);
    buffer.allocate();
    EXPECT_EQ((Counters{0, 0, 1, 1}), counters());
    buffer.deallocate();
    EXPECT_EQ((Counters{0, 0, 1, 0}), counters());
    EXPECT_EQ(0U, system_.liveAllocations());
    { QelDataBuffer const wrapped(0, true, system_.allocate(0)); }
    EXPECT_EQ((Counters{0, 0, 1, 0}), counters());
    EXPECT_EQ(0U, system_.liveAllocations());
}

TEST_F(QelDataBufferStatsTest, AFailedAllocationIsNotCounted) {
    QelDataBuffer buffer(100);
    system_.failAllocation(1);
    EXPECT_THROW(buffer.allocate(), ZanError);
    EXPECT_EQ((Counters{0, 0, 0, 0}), counters());
}

TEST_F(QelDataBufferStatsTest, WhatAManagerWouldNotTakeBackIsUncounted) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelDataBuffer buffer(100, manager);
    buffer.allocate();
    manager->onFree = [] { throw 42; };
    EXPECT_THROW(buffer.deallocate(), ZanError);
    EXPECT_EQ((Counters{0, 100, 1, 0}), counters());
    buffer.deallocate();
    EXPECT_EQ((Counters{0, 100, 1, 0}), counters());
    manager->pretendOutstanding(-1);
}

// Threads are told apart by the lock, so one that asks another for it would wait for ever if the
// buffer held it meanwhile.
TEST_F(QelDataBufferStatsTest, ManagersAreCalledWithoutTheLockAsOtherThreadsSee) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    int free = 0;
    auto const countIfFree = [&free] {
        std::thread([&free] {
            if (!QelSystemConfig::statsLock.try_lock()) return;
            QelSystemConfig::statsLock.unlock();
            ++free;
        }).join();
    };
    manager->onAllocate = countIfFree;
    manager->onFree = countIfFree;
    QelDataBuffer buffer(100, manager);
    buffer.allocate();
    buffer.deallocate();
    EXPECT_EQ(2, free);
}

TEST_F(QelDataBufferStatsTest, ThreadsCountTogether) {
    constexpr int threads = 4;
    constexpr int rounds = 2000;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([] {
            for (int i = 0; i < rounds; ++i) {
                QelDataBuffer buffer(16);
                buffer.allocate();
            }
        });
    }
    for (std::thread & worker : workers)
        worker.join();
    Counters const now = counters();
    EXPECT_EQ(0, now.current);
    EXPECT_EQ(0, now.blocks);
    EXPECT_EQ(threads * rounds, now.allocations);
    EXPECT_GE(now.peak, 16);
    EXPECT_LE(now.peak, 16 * threads);
}

// A buffer and what is known about it.
struct Slot {
    std::unique_ptr<QelDataBuffer> buffer;
    bool hasMemory = false;
    bool isCounted = false;
    bool isForeign = false;
};

// Buffers that come, go, allocate and free at random, against a plain account of them.
class QelDataBufferStatsModelTest : public QelDataBufferStatsTest {
  protected:
    int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }

    void end(Slot & slot) {
        if (slot.isCounted) model_.giveBack(slot.buffer->size());
        slot = Slot();
    }

    void begin(Slot & slot) {
        end(slot);
        std::int64_t const size = pick(0, 4) == 0 ? 0 : pick(1, 500);
        switch (pick(0, 4)) {
            case 0: slot.buffer = std::make_unique<QelDataBuffer>(size); break;
            case 1: slot.buffer = std::make_unique<QelDataBuffer>(size, false); break;
            case 2: slot.buffer = std::make_unique<QelDataBuffer>(size, manager_.get()); break;
            case 3: wrapOwned(slot, size); break;
            case 4: wrapForeign(slot, size); break;
        }
    }

    void wrapOwned(Slot & slot, std::int64_t size) {
        void * const memory = system_.allocate(static_cast<std::size_t>(size));
        slot.buffer = std::make_unique<QelDataBuffer>(size, true, memory);
        slot.hasMemory = true;
        slot.isCounted = size != 0;
        if (slot.isCounted) model_.take(size, false);
    }

    void wrapForeign(Slot & slot, std::int64_t size) {
        slot.buffer = std::make_unique<QelDataBuffer>(size, false, foreign_.data());
        slot.hasMemory = slot.isForeign = true;
    }

    void allocate(Slot & slot) {
        bool const fails = !slot.hasMemory && !slot.buffer->manager() && pick(0, 3) == 0;
        if (fails) {
            system_.failAllocation(1);
            EXPECT_THROW(slot.buffer->allocate(), ZanError);
            return;
        }
        slot.buffer->allocate();
        noteAllocated(slot);
    }

    void noteAllocated(Slot & slot) {
        if (slot.hasMemory) return;
        slot.hasMemory = slot.isCounted = true;
        model_.take(slot.buffer->size(), true);
    }

    void deallocate(Slot & slot) {
        slot.buffer->deallocate();
        if (slot.isCounted) model_.giveBack(slot.buffer->size());
        slot.hasMemory = slot.isCounted = slot.isForeign = false;
    }

    void copy(Slot & to, Slot & from) {
        if (!from.buffer || (to.isForeign && from.isForeign)) return;
        if (to.buffer->size() > from.buffer->size()) {
            EXPECT_THROW(to.buffer->copyFrom(*from.buffer), ZanError);
            return;
        }
        to.buffer->copyFrom(*from.buffer);
        noteAllocated(to);
    }

    void step() {
        Slot & slot = slots_.at(static_cast<std::size_t>(pick(0, 7)));
        int const action = slot.buffer ? pick(0, 6) : 0;
        if (action == 0) begin(slot);
        if (action == 1) end(slot);
        if (action == 2 || action == 3) allocate(slot);
        if (action == 4) deallocate(slot);
        if (action == 5) copy(slot, slots_.at(static_cast<std::size_t>(pick(0, 7))));
    }

    void expectModel() {
        ASSERT_EQ(model_, counters());
        for (Slot const & slot : slots_) {
            bool const hasMemory = slot.buffer && slot.buffer->data() != nullptr;
            ASSERT_EQ(slot.hasMemory, hasMemory);
        }
    }

    static constexpr unsigned seed_ = 20103;
    std::mt19937 random_{seed_};
    std::array<std::uint8_t, 500> foreign_{};
    MoxSmartPtr<HeapManager> manager_{new HeapManager};
    Counters model_;
    std::array<Slot, 8> slots_;
};

TEST_F(QelDataBufferStatsModelTest, CountersAgreeWithAPlainAccount) {
    SCOPED_TRACE("seed " + std::to_string(seed_));
    for (int run = 0; run < 20000; ++run) {
        SCOPED_TRACE("step " + std::to_string(run));
        step();
        ASSERT_NO_FATAL_FAILURE(expectModel());
    }
    for (Slot & slot : slots_)
        end(slot);
    expectModel();
    EXPECT_EQ(0, counters().current);
    EXPECT_EQ(0, counters().blocks);
    EXPECT_GT(counters().allocations, 1000);
    EXPECT_EQ(0U, system_.liveAllocations());
    EXPECT_EQ(0U, system_.foreignReleases());
    EXPECT_EQ(0, manager_->outstanding());
}

}  // namespace
