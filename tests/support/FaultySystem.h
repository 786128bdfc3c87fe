#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>

#include "ZanSystem.h"

// Services of the operating system that fail when a test says so and count what they are asked
// for. All else is passed on to the services that were in force before.
//
// In force from construction to destruction, which brings those back; several nest like scopes.
// Counts start at construction. Safe from any thread.
//
//     FaultySystem system;
//     system.failAllocation(3);
//     EXPECT_THROW(image->getTile(0, 0), ZanError);
//     EXPECT_EQ(0U, system.liveAllocations());
class FaultySystem : public ZanSystem {
  public:
    enum FileOp { OPEN, READ, WRITE, SYNC, CLOSE, RENAME, REMOVE };
    static constexpr std::size_t fileOps = 7;
    enum MemoryOp { MAP, LOCK, UNLOCK, UNMAP };
    static constexpr std::size_t memoryOps = 4;

    FaultySystem();
    FaultySystem(FaultySystem const &) = delete;
    FaultySystem & operator=(FaultySystem const &) = delete;
    ~FaultySystem() override;

    // The n-th allocation from now gives null, once. 1 is the next; 0 takes the order back.
    void failAllocation(std::uint64_t n);

    // The n-th allocation from now and all after it give null.
    void failAllocationsFrom(std::uint64_t n);

    // The n-th operation on pages of that kind from now fails with `error`, once or for good, and
    // does nothing. 1 is the next; 0 takes the order back.
    void failMemory(MemoryOp op, std::uint64_t n, int error);
    void failMemoryFrom(MemoryOp op, std::uint64_t n, int error);

    // The n-th operation of that kind from now fails with `error`, once. A close that fails has
    // closed the file all the same; no other failing operation does anything.
    void failFile(FileOp op, std::uint64_t n, int error);

    // From now on a read or a write transfers at most that many bytes. 0 lifts the limit.
    void limitTransfers(std::size_t bytes);

    // The n-th launch of a thread from now gives `error`, once.
    void failLaunch(std::uint64_t n, int error);

    // Calls so far, failed ones included.
    std::uint64_t allocations() const;
    std::uint64_t memoryCalls(MemoryOp op) const;
    std::uint64_t fileCalls(FileOp op) const;
    std::uint64_t launches() const;

    // Blocks given back that were allocated here. Null counts nowhere.
    std::uint64_t releases() const;

    // Blocks given back that were not allocated here, or were given back before.
    std::uint64_t foreignReleases() const;

    // Blocks and bytes given out here and not given back, and the most bytes there were at once.
    std::uint64_t liveAllocations() const;
    std::size_t liveBytes() const;
    std::size_t peakBytes() const;

    // Runs of pages mapped here and not given back, and their bytes.
    std::uint64_t liveMappings() const;
    std::size_t mappedBytes() const;

    // Calls to unlock or unmap what is no run of pages mapped here, whole.
    std::uint64_t foreignPages() const;

    // Files opened and not closed.
    std::int64_t openFiles() const;

    // Failures that were injected so far, of every kind.
    std::uint64_t failures() const;

    void * allocate(std::size_t bytes) noexcept override;
    void release(void * memory) noexcept override;
    std::size_t pageSize() noexcept override;
    void * mapMemory(std::size_t bytes) noexcept override;
    int lockMemory(void * memory, std::size_t bytes) noexcept override;
    int unlockMemory(void * memory, std::size_t bytes) noexcept override;
    int unmapMemory(void * memory, std::size_t bytes) noexcept override;
    int openFile(std::string const & name, int flags, unsigned mode) override;
    std::ptrdiff_t readFile(int file, void * to, std::size_t bytes) override;
    std::ptrdiff_t writeFile(int file, void const * from, std::size_t bytes) override;
    int syncFile(int file) override;
    int closeFile(int file) override;
    int renameFile(std::string const & from, std::string const & to) override;
    int removeFile(std::string const & name) override;
    int launchThread(std::function<void()> body) override;
    int setThreadPriority(int systemThread, int priority) override;
    int callingThread() override;

  private:
    // Calls of one kind, and the one among them that is to fail. 0 stands for none.
    struct Plan {
        std::uint64_t calls = 0;
        std::uint64_t failing = 0;
        bool failAllAfter = false;
        int error = 0;

        void order(std::uint64_t n, int errorNumber, bool forGood);
        // Counts a call. True when it is to fail.
        bool count();
    };

    template <class Counter>
    Counter look(Counter const & counter) const {
        std::lock_guard const guard(lock_);
        return counter;
    }
    bool fails(Plan & plan);
    bool failsFile(FileOp op);
    std::size_t allowed(std::size_t bytes) const;
    void countOut(void * memory, std::size_t bytes);
    void countBack(void * memory);
    void checkPages(void * memory, std::size_t bytes);
    void countUnmapped(void * memory, std::size_t bytes);

    ZanSystem plain_;
    ZanSystem * before_;
    ZanSystem & next_;

    mutable std::mutex lock_;
    Plan allocationPlan_;
    Plan launchPlan_;
    std::array<Plan, memoryOps> memoryPlans_;
    std::array<Plan, fileOps> filePlans_;
    std::unordered_map<void *, std::size_t> blocks_;
    std::unordered_map<void *, std::size_t> mappings_;
    std::size_t mappedBytes_ = 0;
    std::uint64_t foreignPages_ = 0;
    std::size_t liveBytes_ = 0;
    std::size_t peakBytes_ = 0;
    std::uint64_t releases_ = 0;
    std::uint64_t foreignReleases_ = 0;
    std::int64_t openFiles_ = 0;
    std::uint64_t failures_ = 0;
    std::size_t transferLimit_ = 0;
};
