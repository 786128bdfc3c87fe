#include "FaultySystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ZanSemaphore.h"

namespace {

class FaultySystemTest : public testing::Test {
  protected:
    // Allocates and releases, through whatever services are in force. Whether it worked.
    static bool allocateOnce() {
        void * const memory = ZanSystem::current().allocate(10);
        ZanSystem::current().release(memory);
        return memory != nullptr;
    }
    // The results of n allocations, one letter each: "y" for memory, "-" for none.
    static std::string allocate(int n) {
        std::string results;
        for (int i = 0; i < n; ++i)
            results += allocateOnce() ? 'y' : '-';
        return results;
    }

    FaultySystem system_;
};

TEST_F(FaultySystemTest, IsInForceWhileItLives) {
    EXPECT_EQ(&system_, &ZanSystem::current());
    {
        FaultySystem const inner;
        EXPECT_EQ(&inner, &ZanSystem::current());
    }
    EXPECT_EQ(&system_, &ZanSystem::current());
}

TEST_F(FaultySystemTest, AnInnerOnePassesCallsOn) {
    FaultySystem inner;
    system_.failAllocation(2);
    EXPECT_EQ("y-y", allocate(3));
    EXPECT_EQ(3U, inner.allocations());
    EXPECT_EQ(3U, system_.allocations());
    EXPECT_EQ(0U, inner.failures());
    EXPECT_EQ(0U, inner.liveAllocations());
}

TEST_F(FaultySystemTest, CountsMemory) {
    void * const first = system_.allocate(10);
    void * const second = system_.allocate(20);
    EXPECT_EQ(2U, system_.allocations());
    EXPECT_EQ(2U, system_.liveAllocations());
    EXPECT_EQ(30U, system_.liveBytes());
    system_.release(first);
    system_.release(nullptr);
    EXPECT_EQ(1U, system_.releases());
    EXPECT_EQ(1U, system_.liveAllocations());
    EXPECT_EQ(20U, system_.liveBytes());
    EXPECT_EQ(30U, system_.peakBytes());
    system_.release(second);
    EXPECT_EQ(0U, system_.liveBytes());
    system_.release(ZanSystem().allocate(1));
    EXPECT_EQ(1U, system_.foreignReleases());
    EXPECT_EQ(2U, system_.releases());
}

TEST_F(FaultySystemTest, FailsTheNthAllocationOnce) {
    EXPECT_EQ("yy", allocate(2));
    system_.failAllocation(3);
    EXPECT_EQ("yy-yyy", allocate(6));
    EXPECT_EQ(1U, system_.failures());
    EXPECT_EQ(8U, system_.allocations());
    EXPECT_EQ(7U, system_.releases());
}

TEST_F(FaultySystemTest, FailsAllAllocationsFromTheNth) {
    system_.failAllocationsFrom(2);
    EXPECT_EQ("y---", allocate(4));
    system_.failAllocation(0);
    EXPECT_EQ("yy", allocate(2));
}

TEST_F(FaultySystemTest, FailsTheNthLaunch) {
    system_.failLaunch(2, EAGAIN);
    ZanSemaphore ran;
    EXPECT_EQ(0, system_.launchThread([&ran] { ran.post(); }));
    EXPECT_EQ(EAGAIN, system_.launchThread([&ran] { ran.post(); }));
    EXPECT_EQ(0, system_.launchThread([&ran] { ran.post(); }));
    ran.wait();
    ran.wait();
    EXPECT_FALSE(ran.tryWait());
    EXPECT_EQ(3U, system_.launches());
}

// The four operations on pages, once each. One letter each, in the order of
// FaultySystem::MemoryOp: "y" when it was passed on, "-" when it failed with ENOMEM.
std::string everyOperationOnPages(ZanSystem & system) {
    std::size_t const bytes = system.pageSize();
    void * const memory = system.mapMemory(bytes);
    void * const usable = memory != nullptr ? memory : ZanSystem().mapMemory(bytes);
    std::string results(1, memory != nullptr ? 'y' : '-');
    for (auto const operation :
         {&ZanSystem::lockMemory, &ZanSystem::unlockMemory, &ZanSystem::unmapMemory}) {
        errno = 0;
        // The system itself refuses to lock with EPERM or EAGAIN, or for lack of room.
        results += (system.*operation)(usable, bytes) == 0 ? 'y' : '-';
    }
    if (results.front() == '-' || results.back() == '-') ZanSystem().unmapMemory(usable, bytes);
    return results;
}

TEST_F(FaultySystemTest, FailsTheNthOperationOnPagesOfItsKindAndNoOther) {
    std::string const good = everyOperationOnPages(system_);
    if (good != "yyyy") GTEST_SKIP() << "no page may be locked here: " << good;
    for (std::size_t op = 0; op < FaultySystem::memoryOps; ++op) {
        SCOPED_TRACE(op);
        std::string expected = "yyyy";
        expected[op] = '-';
        system_.failMemory(static_cast<FaultySystem::MemoryOp>(op), 2, ENOMEM);
        EXPECT_EQ("yyyy", everyOperationOnPages(system_));
        EXPECT_EQ(expected, everyOperationOnPages(system_));
        EXPECT_EQ("yyyy", everyOperationOnPages(system_));
        EXPECT_EQ(op + 1, system_.failures());
        EXPECT_EQ(1 + 3 * (op + 1), system_.memoryCalls(static_cast<FaultySystem::MemoryOp>(op)));
    }
}

TEST_F(FaultySystemTest, FailsAllMappingsFromTheNth) {
    system_.failMemoryFrom(FaultySystem::MAP, 2, EAGAIN);
    std::size_t const bytes = system_.pageSize();
    void * const memory = system_.mapMemory(bytes);
    EXPECT_NE(nullptr, memory);
    for (int i = 0; i < 2; ++i) {
        errno = 0;
        EXPECT_EQ(nullptr, system_.mapMemory(bytes));
        EXPECT_EQ(EAGAIN, errno);
    }
    EXPECT_EQ(0, system_.unmapMemory(memory, bytes));
}

TEST_F(FaultySystemTest, CountsPages) {
    std::size_t const page = system_.pageSize();
    void * const first = system_.mapMemory(page);
    void * const second = system_.mapMemory(2 * page);
    EXPECT_EQ(2U, system_.liveMappings());
    EXPECT_EQ(3 * page, system_.mappedBytes());
    EXPECT_EQ(0, system_.unmapMemory(first, page));
    EXPECT_EQ(1U, system_.liveMappings());
    EXPECT_EQ(2 * page, system_.mappedBytes());
    EXPECT_EQ(0U, system_.foreignPages());
    system_.unlockMemory(second, page);
    EXPECT_EQ(1U, system_.foreignPages()) << "only half of them";
    EXPECT_EQ(0, system_.unmapMemory(second, 2 * page));
    EXPECT_EQ(0U, system_.liveMappings());
    EXPECT_EQ(1U, system_.foreignPages());
}

class FaultySystemFileTest : public FaultySystemTest {
  protected:
    FaultySystemFileTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qel-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no directory " << pattern;
        folder_ = pattern;
    }
    ~FaultySystemFileTest() override { std::filesystem::remove_all(folder_); }

    std::string path(char const * name) const { return (folder_ / name).string(); }

    // Does every file operation once, going on after failures. One letter each, in the order of
    // FaultySystem::FileOp: "y" when it worked, "-" when it failed with ENOSPC.
    std::string everyOperation() {
        int const file = system_.openFile(path("f"), O_RDWR | O_CREAT, 0600);
        int const usable = file >= 0 ? file : ::open(path("f").c_str(), O_RDWR | O_CREAT, 0600);
        char byte = 0;
        std::string results(1, letter(file >= 0));
        results += letter(system_.readFile(usable, &byte, 1) == 0);
        results += letter(system_.writeFile(usable, "x", 1) == 1);
        results += letter(system_.syncFile(usable) == 0);
        results += letter(system_.closeFile(usable) == 0);
        results += letter(system_.renameFile(path("f"), path("f")) == 0);
        results += letter(system_.removeFile(path("f")) == 0);
        std::filesystem::remove(path("f"));
        return results;
    }

    std::filesystem::path folder_;

  private:
    static char letter(bool worked) {
        EXPECT_TRUE(worked || errno == ENOSPC) << errno;
        return worked ? 'y' : '-';
    }
};

TEST_F(FaultySystemFileTest, FailsTheNthOperationOfItsKindAndNoOther) {
    EXPECT_EQ("yyyyyyy", everyOperation());
    for (std::size_t op = 0; op < FaultySystem::fileOps; ++op) {
        SCOPED_TRACE(op);
        std::string expected = "yyyyyyy";
        expected[op] = '-';
        system_.failFile(static_cast<FaultySystem::FileOp>(op), 2, ENOSPC);
        EXPECT_EQ("yyyyyyy", everyOperation());
        EXPECT_EQ(expected, everyOperation());
        EXPECT_EQ("yyyyyyy", everyOperation());
        EXPECT_EQ(op + 1, system_.failures());
        EXPECT_EQ(1 + 3 * (op + 1), system_.fileCalls(static_cast<FaultySystem::FileOp>(op)));
    }
}

TEST_F(FaultySystemFileTest, CountsOpenFilesAlsoWhenCloseFails) {
    int const file = system_.openFile(path("f"), O_RDWR | O_CREAT, 0600);
    EXPECT_EQ(1, system_.openFiles());
    system_.failFile(FaultySystem::CLOSE, 1, EIO);
    EXPECT_EQ(-1, system_.closeFile(file));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ(0, system_.openFiles());
    EXPECT_EQ(-1, ::fcntl(file, F_GETFD)) << "the file is still open";
}

TEST_F(FaultySystemFileTest, LimitsTransfers) {
    int const file = system_.openFile(path("f"), O_RDWR | O_CREAT, 0600);
    system_.limitTransfers(3);
    EXPECT_EQ(3, system_.writeFile(file, "abcdef", 6));
    EXPECT_EQ(2, system_.writeFile(file, "de", 2));
    system_.limitTransfers(0);
    EXPECT_EQ(6, system_.writeFile(file, "abcdef", 6));
    system_.closeFile(file);
}

TEST_F(FaultySystemTest, EightThreadsMeetExactlyOneFailure) {
    system_.failAllocation(400);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] { allocate(100); });
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_EQ(800U, system_.allocations());
    EXPECT_EQ(1U, system_.failures());
    EXPECT_EQ(799U, system_.releases());
    EXPECT_EQ(0U, system_.liveAllocations());
}

}  // namespace
