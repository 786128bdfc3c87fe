#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FaultySystem.h"
#include "QelVirtualMemoryManager.h"
#include "ThreadTesting.h"

// Random requests, compared at every step with a plain model of what the manager does.

// For the texts of failures.
static std::ostream & operator<<(std::ostream & out, QelVirtualMemoryManager::Counters const & c) {
    return out << "total " << c.totalBytes << " free " << c.freeBytes << " used " << c.usedBytes
               << " limit " << c.limit << " blocks " << c.freeBlocks << '+' << c.usedBlocks
               << " made " << c.blocksMade << " reused " << c.blocksReused << " outstanding "
               << c.outstanding;
}

namespace {

using Counters = QelVirtualMemoryManager::Counters;

struct Block {
    void * address;
    std::size_t requested;
    std::size_t actual;
};

class Model {
  public:
    explicit Model(std::size_t limit) { counters_.limit = limit; }

    Counters const & counters() const { return counters_; }
    void setLimit(std::size_t bytes) { counters_.limit = bytes; }

    // The manager answered a request for `size` bytes with `address`.
    testing::AssertionResult allocated(std::size_t size, void * address) {
        auto const fit = free_.lower_bound(size);
        if (fit == free_.end()) {
            if (address == nullptr) return testing::AssertionSuccess();
            return made({address, size, pagesOf(size)});
        }
        if (address != fit->second.address) return testing::AssertionFailure() << "no best fit";
        counters_.freeBytes -= fit->second.actual;
        --counters_.freeBlocks;
        ++counters_.blocksReused;
        handOut(fit->second);
        free_.erase(fit);
        return testing::AssertionSuccess();
    }

    // The manager took `address` back.
    void freed(void * address) {
        Block const block = used_.at(address);
        used_.erase(address);
        counters_.usedBytes -= block.actual;
        --counters_.usedBlocks;
        --counters_.outstanding;
        if (counters_.totalBytes > counters_.limit) {
            counters_.totalBytes -= block.actual;
            return;
        }
        // Ahead of those of the same size.
        free_.emplace_hint(free_.lower_bound(block.requested), block.requested, block);
        counters_.freeBytes += block.actual;
        ++counters_.freeBlocks;
    }

    // An address that is handed out; null when there is none.
    void * anyUsed(std::uint32_t choice) const {
        if (used_.empty()) return nullptr;
        auto at = used_.begin();
        std::advance(at, choice % used_.size());
        return at->first;
    }

  private:
    static std::size_t pagesOf(std::size_t size) {
        std::size_t const page = ZanSystem().pageSize();
        return size < page ? 0 : (size + page - 1) / page * page;
    }

    testing::AssertionResult made(Block const & block) {
        if (used_.count(block.address) != 0) return testing::AssertionFailure() << "twice";
        for (auto const & each : free_) {
            if (each.second.address == block.address) {
                return testing::AssertionFailure() << "a kept block is no new one";
            }
        }
        counters_.totalBytes += block.actual;
        ++counters_.blocksMade;
        handOut(block);
        return testing::AssertionSuccess();
    }

    void handOut(Block const & block) {
        used_.emplace(block.address, block);
        counters_.usedBytes += block.actual;
        ++counters_.usedBlocks;
        ++counters_.outstanding;
    }

    std::multimap<std::size_t, Block> free_;
    std::map<void *, Block> used_;
    Counters counters_;
};

constexpr std::size_t firstLimit = 400000;

// Sizes that often fit exactly, fit another block, or lie beside a whole number of pages.
std::size_t randomSize(std::mt19937 & random) {
    constexpr std::array<std::size_t, 6> usual{49152, 49152, 12288, 16384, 4096, 100};
    switch (random() % 4) {
        case 0: return random() % 100000;
        case 1: return (random() % 12 + 1) * 4096 + random() % 3 - 1;
        default: return usual[random() % usual.size()];
    }
}

class QelVirtualMemoryManagerModelTest : public testing::Test {
  protected:
    ~QelVirtualMemoryManagerModelTest() override {
        if (HasFatalFailure()) {
            // Nobody knows any longer what is handed out: the manager lives on, and raises nothing.
            manager_->addRef();
            return;
        }
        while (void * const memory = model_.anyUsed(0)) {
            EXPECT_TRUE(manager_->free(memory));
            model_.freed(memory);
        }
        EXPECT_EQ(model_.counters(), manager_->counters());
        EXPECT_EQ(0, manager_->outstanding());
        manager_.release();
        EXPECT_EQ(0U, system_.liveMappings());
        EXPECT_EQ(0U, system_.liveAllocations());
    }

    // One step of manager and model, and what they then disagree in.
    void step(std::mt19937 & random) {
        auto const kind = static_cast<std::uint32_t>(random() % 100);
        if (kind < 1) {
            std::size_t const limit = random() % (2 * firstLimit) + 1;
            manager_->setLimit(limit);
            model_.setLimit(limit);
        } else if (kind < 3) {
            requestInVain(random);
        } else if (random() % 24 >= model_.counters().usedBlocks) {
            std::size_t const size = randomSize(random);
            void * const memory = manager_->allocate(size);
            ASSERT_NE(nullptr, memory);
            ASSERT_TRUE(model_.allocated(size, memory)) << size;
        } else if (void * const memory = model_.anyUsed(static_cast<std::uint32_t>(random()))) {
            ASSERT_TRUE(manager_->free(memory));
            model_.freed(memory);
        }
        ASSERT_EQ(model_.counters(), manager_->counters());
    }

    // The system has nothing to give; what is kept serves all the same.
    void requestInVain(std::mt19937 & random) {
        system_.failMemory(FaultySystem::MAP, 1, ENOMEM);
        system_.failAllocation(1);
        std::size_t const size = randomSize(random);
        void * const memory = manager_->allocate(size);
        system_.failMemory(FaultySystem::MAP, 0, 0);
        system_.failAllocation(0);
        ASSERT_TRUE(model_.allocated(size, memory)) << size;
    }

    FaultySystem system_;
    MoxSmartPtr<QelVirtualMemoryManager> manager_{new QelVirtualMemoryManager(firstLimit)};
    Model model_{firstLimit};
};

TEST_F(QelVirtualMemoryManagerModelTest, CountersEqualTheModelAtEveryStep) {
    constexpr std::uint32_t seed = 20240512;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int i = 0; i < 20000; ++i) {
        step(random);
        if (HasFatalFailure()) FAIL() << "at step " << i << " of seed " << seed;
    }
    EXPECT_LT(1000U, model_.counters().blocksReused);
    EXPECT_LT(1000U, model_.counters().blocksMade);
    EXPECT_LT(10U, system_.failures());
}

TEST_F(QelVirtualMemoryManagerModelTest, CountersEqualTheModelAtEveryStepOfEightThreads) {
    constexpr std::uint32_t seed = 20240513;
    std::cout << "seeds " << seed << " to " << seed + threadCount - 1 << '\n';
    std::mutex steps;
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        std::mt19937 random(seed + thread);
        start.await();
        for (int i = 0; i < 2500 && !HasFatalFailure(); ++i) {
            std::lock_guard const guard(steps);
            step(random);
        }
    });
    EXPECT_LT(1000U, model_.counters().blocksReused);
}

// One thread of those that nothing serialises but the manager itself: whatever block it has it
// fills with its own pattern, which nobody else may touch. Now and then it sets another limit.
class Tenant {
  public:
    Tenant(QelVirtualMemoryManager & manager, std::uint32_t seed)
        : manager_(manager), random_(seed) {}

    void work(int steps) {
        for (int i = 0; i < steps; ++i) {
            if (mine_.size() < 6 && random_() % 2 == 0) {
                moveIn();
            } else if (!mine_.empty()) {
                moveOut();
            }
            if (random_() % 50 == 0) manager_.setLimit(random_() % (2 * firstLimit) + 1);
            Counters const counters = manager_.counters();
            sound_ = sound_ && counters.totalBytes == counters.freeBytes + counters.usedBytes;
        }
        while (!mine_.empty())
            moveOut();
    }

    // No block was touched by others, no counter off, nothing refused.
    bool sound() const { return sound_; }
    std::uint64_t requests() const { return requests_; }

  private:
    struct Room {
        std::uint8_t * memory;
        std::size_t size;
        std::uint8_t pattern;
    };

    void moveIn() {
        Room room{};
        room.size = randomSize(random_);
        room.pattern = static_cast<std::uint8_t>(random_());
        room.memory = static_cast<std::uint8_t *>(manager_.allocate(room.size));
        ++requests_;
        sound_ = sound_ && room.memory != nullptr;
        if (room.memory == nullptr) return;
        std::fill_n(room.memory, room.size, room.pattern);
        mine_.push_back(room);
    }

    void moveOut() {
        std::swap(mine_[random_() % mine_.size()], mine_.back());
        Room const & room = mine_.back();
        auto const isMine = [&room](std::uint8_t byte) { return byte == room.pattern; };
        sound_ = std::all_of(room.memory, room.memory + room.size, isMine) && sound_;
        sound_ = manager_.free(room.memory) && sound_;
        mine_.pop_back();
    }

    QelVirtualMemoryManager & manager_;
    std::mt19937 random_;
    std::vector<Room> mine_;
    bool sound_ = true;
    std::uint64_t requests_ = 0;
};

TEST(QelVirtualMemoryManagerModelThreadTest, BlocksOfEightThreadsNeverOverlap) {
    constexpr std::uint32_t seed = 20240514;
    std::cout << "seeds " << seed << " to " << seed + threadCount - 1 << '\n';
    FaultySystem const system;
    MoxSmartPtr<QelVirtualMemoryManager> manager(new QelVirtualMemoryManager(firstLimit));
    std::atomic<std::uint64_t> requests{0};
    StartLine start;
    runThreads([&](std::uint32_t thread) {
        Tenant tenant(*manager, seed + thread);
        start.await();
        tenant.work(1500);
        EXPECT_TRUE(tenant.sound()) << "seed " << seed + thread;
        requests += tenant.requests();
    });
    Counters const end = manager->counters();
    EXPECT_EQ(requests, end.blocksMade + end.blocksReused);
    EXPECT_EQ(0, end.outstanding);
    EXPECT_EQ(0U, end.usedBytes);
    EXPECT_EQ(0U, end.usedBlocks);
    EXPECT_EQ(end.totalBytes, end.freeBytes);
    EXPECT_EQ(end.totalBytes, system.mappedBytes());
    EXPECT_LT(0U, end.blocksReused);
    EXPECT_NO_THROW(manager.release());
    EXPECT_EQ(0U, system.liveMappings());
    EXPECT_EQ(0U, system.liveAllocations());
}

}  // namespace
