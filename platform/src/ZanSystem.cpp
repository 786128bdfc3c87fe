#include "ZanSystem.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "ZanImmortal.h"

namespace {

// Both are ready before any constructor runs, since static objects allocate memory too.
constinit ZanImmortal<ZanSystem> defaultServices;
constinit std::atomic<ZanSystem *> replacement{nullptr};

// Repeats a POSIX call for as long as a signal interrupts it.
template <class Call>
auto untilDone(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// The nice value of the process, to which priorities are relative: a process that was started with
// a lower priority keeps all its threads there. 0 if unknown.
int processNiceness() {
    errno = 0;
    int const nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::getpid()));
    return errno == 0 ? nice : 0;
}

}  // namespace

ZanSystem::~ZanSystem() = default;

ZanSystem & ZanSystem::current() noexcept {
    ZanSystem * const services = replacement.load(std::memory_order_acquire);
    return services != nullptr ? *services : defaultServices.get();
}

ZanSystem * ZanSystem::replace(ZanSystem * services) noexcept {
    return replacement.exchange(services, std::memory_order_acq_rel);
}

void * ZanSystem::allocate(std::size_t bytes) noexcept {
    return ::operator new(bytes, std::nothrow);
}

void ZanSystem::release(void * memory) noexcept {
    ::operator delete(memory);
}

std::size_t ZanSystem::pageSize() noexcept {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

void * ZanSystem::mapMemory(std::size_t bytes) noexcept {
    void * const memory =
        ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED ? memory : nullptr;
}

int ZanSystem::lockMemory(void * memory, std::size_t bytes) noexcept {
    return ::mlock(memory, bytes);
}

int ZanSystem::unlockMemory(void * memory, std::size_t bytes) noexcept {
    return ::munlock(memory, bytes);
}

int ZanSystem::unmapMemory(void * memory, std::size_t bytes) noexcept {
    return ::munmap(memory, bytes);
}

int ZanSystem::openFile(std::string const & name, int flags, unsigned mode) {
    return untilDone([&] { return ::open(name.c_str(), flags | O_CLOEXEC, mode); });
}

std::ptrdiff_t ZanSystem::readFile(int file, void * to, std::size_t bytes) {
    return untilDone([&] { return ::read(file, to, bytes); });
}

std::ptrdiff_t ZanSystem::writeFile(int file, void const * from, std::size_t bytes) {
    return untilDone([&] { return ::write(file, from, bytes); });
}

int ZanSystem::syncFile(int file) {
    return untilDone([&] { return ::fsync(file); });
}

int ZanSystem::closeFile(int file) {
    return ::close(file);
}

int ZanSystem::renameFile(std::string const & from, std::string const & to) {
    return untilDone([&] { return ::rename(from.c_str(), to.c_str()); });
}

int ZanSystem::removeFile(std::string const & name) {
    return untilDone([&] { return ::unlink(name.c_str()); });
}

int ZanSystem::launchThread(std::function<void()> body) {
    try {
        std::thread(std::move(body)).detach();
        return 0;
    } catch (std::system_error const & refused) {
        return refused.code().value();
    } catch (std::bad_alloc const &) {
        return ENOMEM;
    }
}

int ZanSystem::setThreadPriority(int systemThread, int priority) {
    // On this system each thread has its own nice value, which grows with decreasing priority.
    constexpr int step = 5;
    int const niceness = processNiceness() - step * std::clamp(priority, -2, 2);
    return ::setpriority(PRIO_PROCESS, static_cast<id_t>(systemThread), niceness) == 0 ? 0 : errno;
}

int ZanSystem::callingThread() {
    return static_cast<int>(::gettid());
}
