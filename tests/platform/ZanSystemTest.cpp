#include "ZanSystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <thread>

#include "Sanitized.h"
#include "ZanSemaphore.h"

namespace {

// Allocates before main.
struct EarlyUser {
    EarlyUser() : memory(ZanSystem::current().allocate(10)) {}
    ~EarlyUser() { ZanSystem::current().release(memory); }
    void * memory;
};
EarlyUser const earlyUser;

TEST(ZanSystemTest, IsReadyBeforeAnyConstructor) {
    EXPECT_NE(nullptr, earlyUser.memory);
}

TEST(ZanSystemTest, ReplaceInstallsAndReturnsWhatWasInForce) {
    ZanSystem first;
    ZanSystem second;
    ZanSystem * const standard = &ZanSystem::current();
    EXPECT_EQ(nullptr, ZanSystem::replace(&first));
    EXPECT_EQ(&first, &ZanSystem::current());
    EXPECT_EQ(&first, ZanSystem::replace(&second));
    EXPECT_EQ(&second, ZanSystem::replace(nullptr));
    EXPECT_EQ(standard, &ZanSystem::current());
}

TEST(ZanSystemTest, MemoryIsThatOfOperatorNew) {
    ZanSystem & system = ZanSystem::current();
    void * const forDelete = system.allocate(100);
    ASSERT_NE(nullptr, forDelete);
    ::operator delete(forDelete);
    system.release(::operator new(100));
    system.release(nullptr);
}

TEST(ZanSystemTest, SizeZeroGivesAnAddressOfItsOwn) {
    ZanSystem & system = ZanSystem::current();
    void * const first = system.allocate(0);
    void * const second = system.allocate(0);
    EXPECT_NE(nullptr, first);
    EXPECT_NE(first, second);
    system.release(first);
    system.release(second);
}

TEST(ZanSystemTest, MoreMemoryThanThereIsGivesNull) {
    if (sanitized) GTEST_SKIP() << "sanitizers end the program at such a request";
    EXPECT_EQ(nullptr, ZanSystem::current().allocate(SIZE_MAX / 2));
}

class ZanSystemPagesTest : public testing::Test {
  protected:
    ~ZanSystemPagesTest() override {
        if (memory_ != nullptr) ::munmap(memory_, bytes_);
    }

    std::uint8_t * map() {
        memory_ = system_.mapMemory(bytes_);
        return static_cast<std::uint8_t *>(memory_);
    }
    int unmap() { return system_.unmapMemory(std::exchange(memory_, nullptr), bytes_); }

    // Asking the system about pages that are not there fails with ENOMEM.
    bool isMapped(void * memory) const {
        unsigned char resident[3];
        return ::mincore(memory, bytes_, resident) == 0;
    }
    // Of the process, in kilobytes, as the system tells it.
    static long lockedKilobytes() {
        std::ifstream status("/proc/self/status");
        std::string word;
        long kilobytes = -1;
        while (status >> word) {
            if (word == "VmLck:") status >> kilobytes;
        }
        return kilobytes;
    }

    ZanSystem & system_ = ZanSystem::current();
    std::size_t const bytes_ = 3 * system_.pageSize();
    void * memory_ = nullptr;
};

TEST_F(ZanSystemPagesTest, APageHasTheSizeThatTheSystemTells) {
    std::size_t const page = system_.pageSize();
    EXPECT_EQ(::sysconf(_SC_PAGESIZE), static_cast<long>(page));
    EXPECT_EQ(0U, page & (page - 1));
    EXPECT_GE(page, 512U);
}

TEST_F(ZanSystemPagesTest, MappedMemoryIsZeroWritableAndBeginsAtAPage) {
    std::uint8_t * const memory = map();
    ASSERT_NE(nullptr, memory);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(memory) % system_.pageSize());
    EXPECT_EQ(static_cast<std::ptrdiff_t>(bytes_), std::count(memory, memory + bytes_, 0));
    std::fill_n(memory, bytes_, std::uint8_t{7});
    EXPECT_EQ(static_cast<std::ptrdiff_t>(bytes_), std::count(memory, memory + bytes_, 7));
}

TEST_F(ZanSystemPagesTest, UnmappedMemoryIsGone) {
    std::uint8_t * const memory = map();
    EXPECT_TRUE(isMapped(memory));
    EXPECT_EQ(0, unmap());
    EXPECT_FALSE(isMapped(memory));
}

TEST_F(ZanSystemPagesTest, NoBytesAndMoreThanThereAreGiveNull) {
    errno = 0;
    EXPECT_EQ(nullptr, system_.mapMemory(0));
    EXPECT_EQ(EINVAL, errno);
    errno = 0;
    EXPECT_EQ(nullptr, system_.mapMemory(SIZE_MAX / 2));
    EXPECT_EQ(ENOMEM, errno);
}

TEST_F(ZanSystemPagesTest, LockedPagesCountForTheProcessUntilTheyAreUnlocked) {
    if (sanitized) GTEST_SKIP() << "sanitizers lock nothing";
    long const before = lockedKilobytes();
    void * const memory = map();
    if (system_.lockMemory(memory, bytes_) != 0) {
        EXPECT_TRUE(errno == EPERM || errno == ENOMEM || errno == EAGAIN) << errno;
        GTEST_SKIP() << "this user may lock no memory";
    }
    EXPECT_EQ(before + static_cast<long>(bytes_ / 1024), lockedKilobytes());
    EXPECT_EQ(0, system_.unlockMemory(memory, bytes_));
    EXPECT_EQ(before, lockedKilobytes());
}

TEST_F(ZanSystemPagesTest, FailuresLeaveErrno) {
    if (sanitized) GTEST_SKIP() << "sanitizers lock nothing";
    void * const gone = map();
    unmap();
    errno = 0;
    EXPECT_EQ(-1, system_.lockMemory(gone, bytes_));
    EXPECT_TRUE(errno == ENOMEM || errno == EPERM) << errno;
    errno = 0;
    EXPECT_EQ(-1, system_.unlockMemory(gone, bytes_));
    EXPECT_EQ(ENOMEM, errno);
    errno = 0;
    EXPECT_EQ(-1, system_.unmapMemory(static_cast<std::uint8_t *>(gone) + 1, bytes_));
    EXPECT_EQ(EINVAL, errno);
}

class ZanSystemFileTest : public testing::Test {
  protected:
    ZanSystemFileTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qel-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no directory " << pattern;
        folder_ = pattern;
    }
    ~ZanSystemFileTest() override { std::filesystem::remove_all(folder_); }

    std::string path(char const * name) const { return (folder_ / name).string(); }
    void put(char const * name, std::string const & text) { std::ofstream(path(name)) << text; }
    std::string get(char const * name) const {
        std::ostringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }
    bool exists(char const * name) const { return std::filesystem::exists(path(name)); }

    ZanSystem & system_ = ZanSystem::current();
    std::filesystem::path folder_;
};

TEST_F(ZanSystemFileTest, WritesAndReads) {
    int const out = system_.openFile(path("f"), O_WRONLY | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(out, 0);
    EXPECT_EQ(5, system_.writeFile(out, "hello", 5));
    EXPECT_EQ(0, system_.syncFile(out));
    EXPECT_EQ(0, system_.closeFile(out));
    EXPECT_EQ("hello", get("f"));
    EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(path("f")).permissions());

    char buffer[10] = "";
    int const in = system_.openFile(path("f"), O_RDONLY, 0);
    ASSERT_GE(in, 0);
    EXPECT_EQ(5, system_.readFile(in, buffer, sizeof buffer));
    EXPECT_STREQ("hello", buffer);
    EXPECT_EQ(0, system_.readFile(in, buffer, sizeof buffer)) << "at the end";
    EXPECT_EQ(0, system_.closeFile(in));
}

TEST_F(ZanSystemFileTest, RenamesOverAnExistingFileAndRemoves) {
    put("from", "new");
    put("to", "old");
    EXPECT_EQ(0, system_.renameFile(path("from"), path("to")));
    EXPECT_FALSE(exists("from"));
    EXPECT_EQ("new", get("to"));
    EXPECT_EQ(0, system_.removeFile(path("to")));
    EXPECT_FALSE(exists("to"));
}

TEST_F(ZanSystemFileTest, FailuresLeaveErrno) {
    struct {
        char const * what;
        std::function<std::ptrdiff_t()> call;
        int error;
    } const cases[] = {
        {"open", [&] { return system_.openFile(path("none"), O_RDONLY, 0); }, ENOENT},
        {"read", [&] { return system_.readFile(-1, nullptr, 0); }, EBADF},
        {"write", [&] { return system_.writeFile(-1, "", 0); }, EBADF},
        {"sync", [&] { return system_.syncFile(-1); }, EBADF},
        {"close", [&] { return system_.closeFile(-1); }, EBADF},
        {"rename", [&] { return system_.renameFile(path("none"), path("x")); }, ENOENT},
        {"remove", [&] { return system_.removeFile(path("none")); }, ENOENT},
    };
    for (auto const & c : cases) {
        SCOPED_TRACE(c.what);
        errno = 0;
        EXPECT_EQ(-1, c.call());
        EXPECT_EQ(c.error, errno);
    }
}

TEST_F(ZanSystemFileTest, OpenedFilesAreNotInherited) {
    put("f", "");
    int const file = system_.openFile(path("f"), O_RDONLY, 0);
    EXPECT_NE(0, ::fcntl(file, F_GETFD) & FD_CLOEXEC);
    system_.closeFile(file);
}

// Interrupts a thread in a call that blocks, until it has been interrupted several times.
class ZanSystemSignalTest : public ZanSystemFileTest {
  protected:
    ZanSystemSignalTest() {
        struct sigaction action = {};
        action.sa_handler = [](int) { ++caught; };
        ::sigaction(SIGUSR1, &action, &before_);
        if (::pipe(pipe_) != 0) ADD_FAILURE() << "no pipe";
        caught = 0;
    }
    ~ZanSystemSignalTest() override {
        ::sigaction(SIGUSR1, &before_, nullptr);
        ::close(pipe_[0]);
        ::close(pipe_[1]);
    }

    // Runs `call` on a thread of its own, disturbs it, then lets `unblock` end it.
    template <class Call, class Unblock>
    void disturb(Call call, Unblock unblock) {
        ZanSemaphore started;
        std::thread blocked([&] {
            started.post();
            call();
        });
        started.wait();
        for (int signals = 0; signals < 5; ++signals) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            ::pthread_kill(blocked.native_handle(), SIGUSR1);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_GT(caught, 0);
        unblock();
        blocked.join();
    }

    void fillPipe() {
        int const flags = ::fcntl(pipe_[1], F_GETFL);
        ::fcntl(pipe_[1], F_SETFL, flags | O_NONBLOCK);
        while (::write(pipe_[1], "x", 1) == 1)
            ++inPipe_;
        ::fcntl(pipe_[1], F_SETFL, flags);
    }
    void emptyPipe() {
        std::string all(inPipe_, ' ');
        for (std::size_t got = 0; got < inPipe_;) {
            ssize_t const now = ::read(pipe_[0], all.data(), inPipe_ - got);
            if (now > 0) got += static_cast<std::size_t>(now);
        }
    }

    static std::atomic<int> caught;
    struct sigaction before_ = {};
    int pipe_[2] = {-1, -1};
    std::size_t inPipe_ = 0;
};
std::atomic<int> ZanSystemSignalTest::caught{0};

TEST_F(ZanSystemSignalTest, AnInterruptedReadIsRepeated) {
    char got = 0;
    disturb([&] { EXPECT_EQ(1, system_.readFile(pipe_[0], &got, 1)); },
            [&] { EXPECT_EQ(1, ::write(pipe_[1], "x", 1)); });
    EXPECT_EQ('x', got);
}

TEST_F(ZanSystemSignalTest, AnInterruptedWriteIsRepeated) {
    fillPipe();
    disturb([&] { EXPECT_EQ(1, system_.writeFile(pipe_[1], "y", 1)); }, [&] { emptyPipe(); });
    char got = 0;
    EXPECT_EQ(1, ::read(pipe_[0], &got, 1));
    EXPECT_EQ('y', got);
}

TEST_F(ZanSystemSignalTest, AnInterruptedOpenIsRepeated) {
    ASSERT_EQ(0, ::mkfifo(path("fifo").c_str(), 0600));
    int reader = -1;
    int writer = -1;
    disturb([&] { reader = system_.openFile(path("fifo"), O_RDONLY, 0); },
            [&] { writer = ::open(path("fifo").c_str(), O_WRONLY); });
    EXPECT_GE(reader, 0);
    ::close(reader);
    ::close(writer);
}

TEST(ZanSystemThreadTest, LaunchRunsTheBodyOnAnotherThread) {
    ZanSemaphore done;
    std::thread::id runner;
    EXPECT_EQ(0, ZanSystem::current().launchThread([&] {
        runner = std::this_thread::get_id();
        done.post();
    }));
    done.wait();
    EXPECT_NE(std::this_thread::get_id(), runner);
}

// No stack can be had of this size, which makes the system refuse the thread.
TEST(ZanSystemThreadTest, ARefusedLaunchReturnsTheErrorNumber) {
    pthread_attr_t before;
    pthread_attr_t huge;
    ASSERT_EQ(0, ::pthread_getattr_default_np(&before));
    ASSERT_EQ(0, ::pthread_attr_init(&huge));
    ASSERT_EQ(0, ::pthread_attr_setstacksize(&huge, std::size_t{1} << 50));
    ASSERT_EQ(0, ::pthread_setattr_default_np(&huge));
    EXPECT_EQ(EAGAIN, ZanSystem::current().launchThread([] { ADD_FAILURE() << "it ran"; }));
    EXPECT_EQ(0, ::pthread_setattr_default_np(&before));
    ::pthread_attr_destroy(&huge);
    ::pthread_attr_destroy(&before);
}

TEST(ZanSystemThreadTest, ABodyThatCannotBeMovedWithoutMemoryIsNoTrouble) {
    std::vector<char> const large(1000, 'x');
    ZanSemaphore done;
    EXPECT_EQ(0, ZanSystem::current().launchThread([large, &done] {
        EXPECT_EQ(1000U, large.size());
        done.post();
    }));
    done.wait();
}

int nicenessOf(int thread) {
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(thread));
}

TEST(ZanSystemThreadTest, PrioritiesAreRelativeToTheProcess) {
    int const process = nicenessOf(::getpid());
    // From high to low, since going up again needs a right that not everybody has.
    std::thread([process] {
        ZanSystem & system = ZanSystem::current();
        int const self = system.callingThread();
        struct {
            int priority;
            int niceness;
        } const cases[] = {{0, process}, {-1, process + 5}, {-2, process + 10}, {-7, process + 10}};
        for (auto const & c : cases) {
            SCOPED_TRACE(c.priority);
            EXPECT_EQ(0, system.setThreadPriority(self, c.priority));
            EXPECT_EQ(std::min(c.niceness, 19), nicenessOf(self));
        }
    }).join();
    EXPECT_EQ(process, nicenessOf(::getpid()));
}

TEST(ZanSystemThreadTest, RaisingWorksOrReturnsWhyNot) {
    int const process = nicenessOf(::getpid());
    std::thread([process] {
        ZanSystem & system = ZanSystem::current();
        int const self = system.callingThread();
        int const result = system.setThreadPriority(self, 1);
        EXPECT_TRUE(result == 0 || result == EACCES) << result;
        EXPECT_EQ(result == 0 ? std::max(process - 5, -20) : process, nicenessOf(self));
    }).join();
}

TEST(ZanSystemThreadTest, PriorityOfAnUnknownThreadIsRefused) {
    EXPECT_EQ(ESRCH, ZanSystem::current().setThreadPriority(0x7FFFFFFF, -1));
}

TEST(ZanSystemThreadTest, ThreadsHaveNumbersOfTheirOwn) {
    int other = 0;
    std::thread([&other] { other = ZanSystem::current().callingThread(); }).join();
    EXPECT_NE(0, other);
    EXPECT_NE(ZanSystem::current().callingThread(), other);
}

}  // namespace
