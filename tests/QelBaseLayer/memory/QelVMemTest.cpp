#include "QelVMem.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FaultySystem.h"

namespace {

constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();

class QelVMemTest : public testing::Test {
  protected:
    ~QelVMemTest() override {
        EXPECT_EQ(0U, system_.liveMappings());
        EXPECT_EQ(0U, system_.liveAllocations());
        EXPECT_EQ(0U, system_.foreignPages());
        EXPECT_EQ(0U, system_.foreignReleases());
    }

    std::uint64_t calls(FaultySystem::MemoryOp op) const { return system_.memoryCalls(op); }

    FaultySystem system_;
    std::size_t const page_ = QelVMem::pageSize();
};

// Writes all bytes that a block must have, and reads them again.
bool holdsItsBytes(QelVMem const & block) {
    std::size_t const bytes = std::max(block.requestedSize(), block.actualSize());
    auto * const memory = static_cast<std::uint8_t *>(block.address());
    for (std::size_t i = 0; i < bytes; ++i)
        memory[i] = static_cast<std::uint8_t>(i * 7);
    for (std::size_t i = 0; i < bytes; ++i) {
        if (memory[i] != static_cast<std::uint8_t>(i * 7)) return false;
    }
    return true;
}

TEST_F(QelVMemTest, ThePageSizeIsTheSystems) {
    EXPECT_EQ(ZanSystem().pageSize(), QelVMem::pageSize());
}

TEST_F(QelVMemTest, SizesAreRoundedUpToPages) {
    struct {
        std::size_t size;
        std::size_t actual;
    } const cases[] = {{0, 0},
                       {1, 0},
                       {page_ - 1, 0},
                       {page_, page_},
                       {page_ + 1, 2 * page_},
                       {2 * page_ - 1, 2 * page_},
                       {2 * page_, 2 * page_},
                       {10 * page_ + 7, 11 * page_}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.size);
        QelVMem const block(c.size);
        EXPECT_EQ(c.size, block.requestedSize());
        EXPECT_EQ(c.actual, block.actualSize());
        EXPECT_EQ(c.actual != 0, block.isVirtual());
        ASSERT_NE(nullptr, block.address());
        EXPECT_TRUE(holdsItsBytes(block));
        EXPECT_EQ(c.actual, system_.mappedBytes());
    }
}

TEST_F(QelVMemTest, ABlockOf5000BytesHasTwoPagesOf4096AndOneOf4096BytesHasOne) {
    if (page_ != 4096) GTEST_SKIP() << "a page has " << page_ << " bytes";
    EXPECT_EQ(8192U, QelVMem(5000).actualSize());
    EXPECT_EQ(4096U, QelVMem(4096).actualSize());
}

TEST_F(QelVMemTest, PagesBeginAtAPageAndAreLockedOnce) {
    QelVMem const block(5 * page_);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block.address()) % page_);
    EXPECT_EQ(1U, calls(FaultySystem::MAP));
    EXPECT_EQ(1U, calls(FaultySystem::LOCK));
    EXPECT_EQ(0U, system_.allocations());
}

TEST_F(QelVMemTest, ABlockBelowAPageComesFromTheHeap) {
    {
        QelVMem const block(page_ - 1);
        EXPECT_EQ(page_ - 1, system_.liveBytes());
        EXPECT_EQ(0U, calls(FaultySystem::MAP));
    }
    EXPECT_EQ(1U, system_.releases());
}

TEST_F(QelVMemTest, ARefusedMappingLeavesAVirtualBlockWithoutAnAddress) {
    system_.failMemory(FaultySystem::MAP, 1, ENOMEM);
    {
        QelVMem const block(page_ + 1);
        EXPECT_EQ(nullptr, block.address());
        EXPECT_TRUE(block.isVirtual());
        EXPECT_EQ(page_ + 1, block.requestedSize());
        EXPECT_EQ(2 * page_, block.actualSize());
    }
    for (auto const op : {FaultySystem::LOCK, FaultySystem::UNLOCK, FaultySystem::UNMAP})
        EXPECT_EQ(0U, calls(op)) << op;
}

TEST_F(QelVMemTest, ARefusedLockIsIgnored) {
    system_.failMemory(FaultySystem::LOCK, 1, EPERM);
    errno = 0;
    QelVMem const block(page_);
    EXPECT_EQ(0, errno);
    EXPECT_EQ(1U, system_.failures());
    ASSERT_NE(nullptr, block.address());
    EXPECT_EQ(page_, block.actualSize());
    EXPECT_TRUE(holdsItsBytes(block));
}

TEST_F(QelVMemTest, ARefusedUnlockStillUnmaps) {
    system_.failMemory(FaultySystem::UNLOCK, 1, EPERM);
    { QelVMem const block(page_); }
    EXPECT_EQ(1U, calls(FaultySystem::UNMAP));
}

TEST_F(QelVMemTest, ASizeThatNoPagesCanHoldGivesNoAddressAndAsksTheSystemForNothing) {
    for (std::size_t const size : {largest, largest - page_ + 2}) {
        SCOPED_TRACE(size);
        errno = 0;
        QelVMem const block(size);
        EXPECT_EQ(ENOMEM, errno);
        EXPECT_EQ(nullptr, block.address());
        EXPECT_TRUE(block.isVirtual());
        EXPECT_EQ(size, block.requestedSize());
        EXPECT_EQ(0U, block.actualSize());
    }
    EXPECT_EQ(0U, calls(FaultySystem::MAP));
    // One byte less can be said, if not had.
    QelVMem const block(largest - page_ + 1);
    EXPECT_EQ(largest - page_ + 1, block.actualSize());
    EXPECT_EQ(nullptr, block.address());
    EXPECT_EQ(1U, calls(FaultySystem::MAP));
}

TEST_F(QelVMemTest, ARefusingHeapLeavesAHeapBlockWithoutAnAddress) {
    system_.failAllocation(1);
    QelVMem const block(10);
    EXPECT_EQ(nullptr, block.address());
    EXPECT_FALSE(block.isVirtual());
    EXPECT_EQ(0U, block.actualSize());
}

// Writes down what is asked for.
class WritingSystem : public ZanSystem {
  public:
    WritingSystem() : before_(replace(this)) {}
    ~WritingSystem() override { replace(before_); }

    void * mapMemory(std::size_t bytes) noexcept override {
        note("map", nullptr, bytes);
        return memory = ZanSystem::mapMemory(bytes);
    }
    int lockMemory(void * at, std::size_t bytes) noexcept override {
        return note("lock", at, bytes), ZanSystem::lockMemory(at, bytes);
    }
    int unlockMemory(void * at, std::size_t bytes) noexcept override {
        return note("unlock", at, bytes), ZanSystem::unlockMemory(at, bytes);
    }
    int unmapMemory(void * at, std::size_t bytes) noexcept override {
        return note("unmap", at, bytes), ZanSystem::unmapMemory(at, bytes);
    }

    struct Call {
        std::string what;
        void * at;
        std::size_t bytes;
        bool operator==(Call const &) const = default;
    };
    std::vector<Call> calls;
    void * memory = nullptr;

  private:
    void note(char const * what, void * at, std::size_t bytes) {
        calls.push_back({what, at, bytes});
    }

    ZanSystem * before_;
};

TEST(QelVMemOrderTest, PagesAreMappedAndLockedThenUnlockedAndUnmappedAllOfThem) {
    WritingSystem system;
    std::size_t const bytes = 2 * QelVMem::pageSize();
    { QelVMem const block(bytes - 1); }
    std::vector<WritingSystem::Call> const expected{{"map", nullptr, bytes},
                                                    {"lock", system.memory, bytes},
                                                    {"unlock", system.memory, bytes},
                                                    {"unmap", system.memory, bytes}};
    EXPECT_EQ(expected, system.calls);
}

TEST_F(QelVMemTest, IsDeletedThroughItsOwnVirtualDestructor) {
    struct Told : QelVMem {
        Told(std::size_t size, bool & ended) : QelVMem(size), ended_(ended) {}
        ~Told() override { ended_ = true; }
        bool & ended_;
    };
    bool ended = false;
    QelVMem * const block = new Told(page_, ended);
    delete block;
    EXPECT_TRUE(ended);
}

// In a process of its own: there is no way back.
[[noreturn]] void disableAndMakeBlocks() {
    FaultySystem system;
    std::size_t const page = QelVMem::pageSize();
    std::optional<QelVMem> before(std::in_place, page);
    QelVMem::disableVirtualMemory();
    QelVMem const after(page);
    bool const good = QelVMem::virtualMemoryDisabled() && before->isVirtual() &&
                      !after.isVirtual() && after.actualSize() == 0 &&
                      after.requestedSize() == page && after.address() != nullptr &&
                      system.allocations() == 1 && holdsItsBytes(after) && holdsItsBytes(*before);
    before.reset();
    std::exit(good && system.liveMappings() == 0 ? 0 : 1);
}

TEST(QelVMemDeathTest, OnceDisabledEveryNewBlockComesFromTheHeapAndOldOnesStay) {
    EXPECT_FALSE(QelVMem::virtualMemoryDisabled());
    EXPECT_EXIT(disableAndMakeBlocks(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(QelVMem::virtualMemoryDisabled());
}

}  // namespace
