#include "QelVirtualMemoryManager.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "FaultySystem.h"

namespace {

using Counters = QelVirtualMemoryManager::Counters;

constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();

class QelVirtualMemoryManagerTest : public testing::Test {
  protected:
    ~QelVirtualMemoryManagerTest() override {
        for (void * const memory : taken_)
            manager_->free(memory);
        manager_.release();
        EXPECT_EQ(0U, system_.liveMappings());
        EXPECT_EQ(0U, system_.liveAllocations());
        EXPECT_EQ(0U, system_.foreignPages());
    }

    void limitTo(std::size_t bytes) { manager_->setLimit(bytes); }

    void * take(std::size_t size) {
        void * const memory = manager_->allocate(size);
        EXPECT_NE(nullptr, memory) << size;
        taken_.push_back(memory);
        return memory;
    }
    void giveBack(void * memory) {
        taken_.erase(std::find(taken_.begin(), taken_.end(), memory));
        EXPECT_TRUE(manager_->free(memory));
    }
    // total, free and used
    std::vector<std::size_t> bytes() const {
        return {manager_->totalBytes(), manager_->freeBytes(), manager_->usedBytes()};
    }
    using Bytes = std::vector<std::size_t>;

    FaultySystem system_;
    std::size_t const page_ = QelVMem::pageSize();
    MoxSmartPtr<QelVirtualMemoryManager> manager_{new QelVirtualMemoryManager(100 * page_)};
    std::vector<void *> taken_;
};

TEST_F(QelVirtualMemoryManagerTest, TheLimitIsAMillionBytesUnlessToldOtherwise) {
    EXPECT_EQ(1000000U, QelVirtualMemoryManager().getLimit());
    EXPECT_EQ(5U, QelVirtualMemoryManager(5).getLimit());
    limitTo(largest);
    EXPECT_EQ(largest, manager_->getLimit());
    EXPECT_FALSE(QelVMem::virtualMemoryDisabled());
}

TEST_F(QelVirtualMemoryManagerTest, CountsWholePages) {
    EXPECT_EQ((Bytes{0, 0, 0}), bytes());
    void * const first = take(page_ + 1);
    EXPECT_EQ((Bytes{2 * page_, 0, 2 * page_}), bytes());
    void * const second = take(page_);
    EXPECT_EQ((Bytes{3 * page_, 0, 3 * page_}), bytes());
    giveBack(first);
    EXPECT_EQ((Bytes{3 * page_, 2 * page_, page_}), bytes());
    giveBack(second);
    EXPECT_EQ((Bytes{3 * page_, 3 * page_, 0}), bytes());
}

TEST_F(QelVirtualMemoryManagerTest, CountersShowAllAtOneMoment) {
    take(page_);
    giveBack(take(3 * page_));
    giveBack(take(2 * page_));
    take(10);
    Counters const expected{.totalBytes = 4 * page_,
                            .freeBytes = 0,
                            .usedBytes = 4 * page_,
                            .limit = 100 * page_,
                            .freeBlocks = 0,
                            .usedBlocks = 2,
                            .blocksMade = 2,
                            .blocksReused = 2,
                            .outstanding = 2};
    EXPECT_EQ(expected, manager_->counters());
    EXPECT_EQ(2, manager_->outstanding());
}

TEST_F(QelVirtualMemoryManagerTest, ARequestBelowThePageSizeGivesATrackedBlockOfTheHeap) {
    void * const memory = take(page_ - 1);
    std::memset(memory, 1, page_ - 1);
    EXPECT_EQ(1U, system_.allocations());
    EXPECT_EQ(0U, system_.memoryCalls(FaultySystem::MAP));
    EXPECT_EQ(1U, manager_->counters().usedBlocks);
    EXPECT_EQ(1, manager_->outstanding());
    giveBack(memory);
    EXPECT_EQ(0U, manager_->counters().usedBlocks);
    EXPECT_EQ(1U, manager_->counters().freeBlocks);
    EXPECT_EQ(memory, take(page_ - 1));
}

TEST_F(QelVirtualMemoryManagerTest, ABlockOfTheHeapMovesNoByteCounter) {
    void * const memory = take(100);
    EXPECT_EQ((Bytes{0, 0, 0}), bytes());
    giveBack(memory);
    EXPECT_EQ((Bytes{0, 0, 0}), bytes());
}

// The choice between keeping and letting go looks at the total alone.
TEST_F(QelVirtualMemoryManagerTest, ABlockOfTheHeapIsLetGoOnceTheLimitIsPassed) {
    void * const small = take(100);
    take(101 * page_);
    giveBack(small);
    EXPECT_EQ(0U, manager_->counters().freeBlocks);
    EXPECT_EQ(0U, system_.liveAllocations());
    EXPECT_EQ((Bytes{101 * page_, 0, 101 * page_}), bytes());
}

TEST_F(QelVirtualMemoryManagerTest, AfterTheLimitIsPassedAFreedBlockIsReleasedAndTheTotalFalls) {
    limitTo(3 * page_);
    void * const first = take(2 * page_);
    void * const second = take(2 * page_);
    EXPECT_EQ((Bytes{4 * page_, 0, 4 * page_}), bytes()) << "the limit refuses no request";
    giveBack(first);
    EXPECT_EQ((Bytes{2 * page_, 0, 2 * page_}), bytes());
    EXPECT_EQ(2 * page_, system_.mappedBytes());
    giveBack(second);
    EXPECT_EQ((Bytes{2 * page_, 2 * page_, 0}), bytes()) << "below it blocks are kept again";
    EXPECT_EQ(2 * page_, system_.mappedBytes());
}

TEST_F(QelVirtualMemoryManagerTest, AtTheLimitABlockIsKeptAndAPageAboveItNot) {
    limitTo(2 * page_);
    giveBack(take(2 * page_));
    EXPECT_EQ((Bytes{2 * page_, 2 * page_, 0}), bytes());
    limitTo(2 * page_ - 1);
    EXPECT_EQ((Bytes{2 * page_, 2 * page_, 0}), bytes()) << "what is kept stays";
    giveBack(take(2 * page_));
    EXPECT_EQ((Bytes{0, 0, 0}), bytes());
}

TEST_F(QelVirtualMemoryManagerTest, ABlockOf5000BytesCounts8192AndOneOf4096Counts4096) {
    if (page_ != 4096) GTEST_SKIP() << "a page has " << page_ << " bytes";
    take(5000);
    EXPECT_EQ(8192U, manager_->usedBytes());
    take(4096);
    EXPECT_EQ(8192U + 4096U, manager_->usedBytes());
}

TEST_F(QelVirtualMemoryManagerTest, ARequestOf100BytesGetsTheOnlyFreeBlockOfAMegabyte) {
    limitTo(2 << 20);
    void * const large = take(1 << 20);
    giveBack(large);
    EXPECT_EQ(large, take(100));
    EXPECT_EQ((Bytes{1 << 20, 0, 1 << 20}), bytes());
    EXPECT_EQ(0U, system_.allocations());
    EXPECT_EQ(1U, manager_->counters().blocksReused);
}

TEST_F(QelVirtualMemoryManagerTest, TheBestFitIsBySizeAskedForAndNotByPages) {
    void * const large = take(3 * page_);
    void * const small = take(2 * page_ + 1);  // of three pages as well
    void * const tiny = take(page_);
    for (void * const memory : {tiny, small, large})
        giveBack(memory);
    EXPECT_EQ(large, take(2 * page_ + 2));
    EXPECT_EQ(small, take(page_ + 1));
    EXPECT_EQ(tiny, take(0));
    EXPECT_EQ(3U, system_.memoryCalls(FaultySystem::MAP));
}

TEST_F(QelVirtualMemoryManagerTest, AKeptBlockThatIsTooSmallIsLeftWhereItIs) {
    giveBack(take(page_));
    take(page_ + 1);
    EXPECT_EQ((Bytes{3 * page_, page_, 2 * page_}), bytes());
}

TEST_F(QelVirtualMemoryManagerTest, OfBlocksAlikeTheOneThatCameBackLastIsTheFirst) {
    void * const first = take(page_);
    void * const second = take(page_);
    void * const third = take(page_);
    for (void * const memory : {second, third, first})
        giveBack(memory);
    EXPECT_EQ(first, take(page_));
    EXPECT_EQ(third, take(page_));
    EXPECT_EQ(second, take(page_));
}

TEST_F(QelVirtualMemoryManagerTest, NoBytesGiveAnAddressOfTheirOwn) {
    EXPECT_NE(take(0), take(0));
    EXPECT_EQ(2, manager_->outstanding());
}

TEST_F(QelVirtualMemoryManagerTest, FreeRefusesWhatIsNotHandedOut) {
    int foreign = 0;
    std::uint8_t * const memory = static_cast<std::uint8_t *>(take(page_));
    void * const returned = take(page_);
    giveBack(returned);
    Counters const before = manager_->counters();
    for (void * const pointer : {static_cast<void *>(nullptr), static_cast<void *>(&foreign),
                                 static_cast<void *>(memory + 1), returned})
        EXPECT_FALSE(manager_->free(pointer));
    EXPECT_EQ(before, manager_->counters());
}

TEST_F(QelVirtualMemoryManagerTest, ManagersShareNoBlocks) {
    QelVirtualMemoryManager other(100 * page_);
    void * const memory = take(page_);
    EXPECT_FALSE(other.free(memory));
    giveBack(memory);
    void * const others = other.allocate(page_);
    EXPECT_NE(memory, others);
    EXPECT_EQ((Bytes{page_, page_, 0}), bytes());
    EXPECT_FALSE(manager_->free(others));
    EXPECT_TRUE(other.free(others));
}

TEST_F(QelVirtualMemoryManagerTest, AWarmCycleAsksTheSystemForNothing) {
    std::vector<void *> live;
    for (int cycle = 0; cycle < 1000; ++cycle) {
        for (int i = 0; i < 4; ++i)
            live.push_back(take(49152));
        for (void * const memory : live)
            giveBack(memory);
        live.clear();
    }
    EXPECT_EQ(4U, system_.memoryCalls(FaultySystem::MAP));
    EXPECT_EQ(4U, system_.memoryCalls(FaultySystem::LOCK));
    EXPECT_EQ(0U, system_.memoryCalls(FaultySystem::UNLOCK));
    EXPECT_EQ(0U, system_.memoryCalls(FaultySystem::UNMAP));
    EXPECT_EQ(4U, manager_->counters().blocksMade);
    EXPECT_EQ(3996U, manager_->counters().blocksReused);
}

TEST_F(QelVirtualMemoryManagerTest, NoMemoryGivesNullAndChangesNoCounter) {
    take(page_);
    giveBack(take(10));
    Counters const before = manager_->counters();
    system_.failMemory(FaultySystem::MAP, 1, ENOMEM);
    EXPECT_EQ(nullptr, manager_->allocate(2 * page_));
    EXPECT_EQ(before, manager_->counters());
    system_.failAllocation(1);
    EXPECT_EQ(nullptr, manager_->allocate(11));
    EXPECT_EQ(before, manager_->counters());
    EXPECT_EQ(nullptr, manager_->allocate(largest)) << "that many pages cannot be counted";
    EXPECT_EQ(before, manager_->counters());
    EXPECT_EQ(2U, system_.failures());
    take(2 * page_);
}

TEST_F(QelVirtualMemoryManagerTest, ARefusedLockChangesNothing) {
    system_.failMemoryFrom(FaultySystem::LOCK, 1, ENOMEM);
    std::memset(take(2 * page_), 1, 2 * page_);
    EXPECT_EQ((Bytes{2 * page_, 0, 2 * page_}), bytes());
    EXPECT_EQ(1U, system_.failures());
}

class QelVirtualMemoryManagerEndTest : public testing::Test {
  protected:
    // What the manager says when it ends with that many blocks left.
    static std::string endWith(int blocks) {
        FaultySystem const system;
        MoxSmartPtr<QelVirtualMemoryManager> manager(new QelVirtualMemoryManager);
        for (int i = 0; i < blocks; ++i)
            manager->allocate(i % 2 == 0 ? QelVMem::pageSize() : 10);
        manager->free(manager->allocate(20));
        std::optional<ZanError> const error = errorOf([&] { manager.release(); });
        EXPECT_FALSE(manager);
        EXPECT_EQ(0U, system.liveMappings()) << "also blocks handed out are given back";
        EXPECT_EQ(0U, system.liveAllocations());
        if (!error) return "";
        EXPECT_EQ(QelErrorCode::memoryLeak, error->getErrcode());
        EXPECT_STREQ("QEL", error->getComponent());
        return error->getMsg();
    }
};

// One character, whose code is the low byte of the number.
TEST_F(QelVirtualMemoryManagerEndTest, BlocksLeftRaise11WithOneCharacter) {
    struct {
        int blocks;
        char character;
    } const cases[] = {{1, '\x01'}, {3, '\x03'}, {65, 'A'}, {258, '\x02'}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.blocks);
        std::string text = "QEL error 11\n";
        text += c.character;
        text += " buffers still remaining that were allocated with this manager";
        EXPECT_EQ(text, endWith(c.blocks));
    }
}

TEST_F(QelVirtualMemoryManagerEndTest, IsQuietWhenAllCameBack) {
    FaultySystem const system;
    MoxSmartPtr<QelVirtualMemoryManager> manager(new QelVirtualMemoryManager);
    manager->free(manager->allocate(QelVMem::pageSize()));
    EXPECT_NO_THROW(manager.release());
    EXPECT_EQ(0U, system.liveMappings());
}

TEST_F(QelVirtualMemoryManagerEndTest, IsQuietWhileAnotherExceptionIsInFlight) {
    FaultySystem const system;
    try {
        MoxSmartPtr<QelVirtualMemoryManager> const manager(new QelVirtualMemoryManager);
        manager->allocate(QelVMem::pageSize());
        throw std::runtime_error("first");
    } catch (std::runtime_error const & error) {
        EXPECT_STREQ("first", error.what());
    }
    EXPECT_EQ(0U, system.liveMappings());
}

// In a process of its own: there is no way back.
[[noreturn]] void setALimitOf0() {
    FaultySystem system;
    bool good = true;
    {
        std::size_t const page = QelVMem::pageSize();
        QelVirtualMemoryManager first;
        QelVirtualMemoryManager other;
        void * const before = other.allocate(page);
        good = good && other.usedBytes() == page;
        first.setLimit(0);
        good = good && first.getLimit() == 0 && QelVMem::virtualMemoryDisabled();
        void * const memory = other.allocate(page);
        good = good && other.usedBytes() == page && system.liveAllocations() == 1;
        first.setLimit(1000000);
        good = good && QelVMem::virtualMemoryDisabled();
        void * const late = first.allocate(page);
        good = good && first.totalBytes() == 0 && system.liveAllocations() == 2;
        good = good && other.free(memory) && other.free(before) && first.free(late);
    }
    std::exit(good && system.liveMappings() == 0 && system.liveAllocations() == 0 ? 0 : 1);
}

TEST(QelVirtualMemoryManagerDeathTest, ALimitOf0DisablesPagesForEveryManagerForGood) {
    EXPECT_FALSE(QelVMem::virtualMemoryDisabled());
    EXPECT_EXIT(setALimitOf0(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(QelVMem::virtualMemoryDisabled());
}

// With a limit of 0 the total never passes it, since no block counts: all that comes back is kept.
[[noreturn]] void recycleBlocksOfTheHeap() {
    FaultySystem const system;
    bool good = true;
    {
        QelVirtualMemoryManager manager(0);
        for (int round = 0; round < 3; ++round) {
            void * const first = manager.allocate(100000);
            void * const second = manager.allocate(100000);
            good = good && manager.free(first) && manager.free(second);
        }
        good = good && manager.totalBytes() == 0 && manager.counters().freeBlocks == 2 &&
               system.allocations() == 2;
    }
    std::exit(good && system.liveAllocations() == 0 ? 0 : 1);
}

TEST(QelVirtualMemoryManagerDeathTest, ALimitOf0KeepsWhateverComesBack) {
    EXPECT_EXIT(recycleBlocksOfTheHeap(), testing::ExitedWithCode(0), "");
}

}  // namespace
