#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "QelVirtualMemoryManager.h"
#include "ZanSystem.h"

// Pixel memory of the recycling manager against that of the general heap, both through the
// interface that data buffers use.
//
// One cycle allocates the memory of a tile, writes all of it and frees it. With several live at a
// time, MemoryRender allocates them one after the other and frees them all, as a request over
// several tiles does; MemoryRing frees the oldest before each new one, as a cache does. The
// counters report page faults and system calls in 10,000 cycles, once everything is warm.

namespace {

constexpr std::size_t tileBytes = std::size_t{128} * 128 * 3;
constexpr std::size_t largeTileBytes = std::size_t{1024} * 1024 * 3;
constexpr std::size_t limit = std::size_t{64} << 20;

// Counts the system calls that a block costs.
class CountingSystem : public ZanSystem {
  public:
    CountingSystem() : before_(replace(this)) {}
    CountingSystem(CountingSystem const &) = delete;
    CountingSystem & operator=(CountingSystem const &) = delete;
    ~CountingSystem() override { replace(before_); }

    std::int64_t calls() const { return calls_; }

    void * mapMemory(std::size_t bytes) noexcept override {
        ++calls_;
        return ZanSystem::mapMemory(bytes);
    }
    int lockMemory(void * memory, std::size_t bytes) noexcept override {
        ++calls_;
        return ZanSystem::lockMemory(memory, bytes);
    }
    int unlockMemory(void * memory, std::size_t bytes) noexcept override {
        ++calls_;
        return ZanSystem::unlockMemory(memory, bytes);
    }
    int unmapMemory(void * memory, std::size_t bytes) noexcept override {
        ++calls_;
        return ZanSystem::unmapMemory(memory, bytes);
    }

  private:
    ZanSystem * before_;
    std::int64_t calls_ = 0;
};

std::int64_t minorFaults() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// Where memory comes from. Both are called as a data buffer calls: virtually.
class Manager {
  public:
    void * take(std::size_t bytes) { return manager_->allocate(bytes); }
    void giveBack(void * memory) { manager_->free(memory); }
    std::int64_t calls() const { return system_.calls(); }
    void watch() {}

  private:
    CountingSystem system_;
    MoxSmartPtr<QelMemoryManager> manager_{new QelVirtualMemoryManager(limit)};
};

class Heap {
  public:
    void * take(std::size_t bytes) {
        void * const memory = ZanSystem::current().allocate(bytes);
        if (watches_) look();
        return memory;
    }
    void giveBack(void * memory) {
        ZanSystem::current().release(memory);
        if (watches_) look();
    }
    std::int64_t calls() const { return calls_; }
    // From now on it counts how often the heap's end moves, which is a call each time. Calls for
    // blocks that the heap maps separately are not counted.
    void watch() {
        watches_ = true;
        end_ = ::sbrk(0);
    }

  private:
    void look() {
        void * const end = ::sbrk(0);
        if (end != std::exchange(end_, end)) ++calls_;
    }

    bool watches_ = false;
    void * end_ = nullptr;
    std::int64_t calls_ = 0;
};

// The heap of a process that has never freed a large block: it returns free memory at its end to
// the system early. The C library's own adjustment, which learns from each large block that is
// freed, is off from here on, so the heap stays as it is after much learning.
class YoungHeap : public Heap {
  public:
    YoungHeap() { setThresholds(128 << 10, 128 << 10); }
    ~YoungHeap() { setThresholds(32 << 20, 64 << 20); }

  private:
    static void setThresholds(int map, int trim) {
        ::mallopt(M_MMAP_THRESHOLD, map);
        ::mallopt(M_TRIM_THRESHOLD, trim);
    }
};

void * takeAndWrite(auto & source, std::size_t bytes) {
    void * const memory = source.take(bytes);
    if (memory == nullptr) {
        std::cerr << "bench: no memory\n";
        std::abort();
    }
    std::memset(memory, static_cast<int>(bytes & 0x7f), bytes);
    benchmark::DoNotOptimize(memory);
    benchmark::ClobberMemory();
    return memory;
}

// Allocates all, then frees all.
class Burst {
  public:
    Burst(std::size_t bytes, std::size_t live) : bytes_(bytes), live_(live) {}
    void run(auto & source) {
        for (void *& memory : live_)
            memory = takeAndWrite(source, bytes_);
        for (void * const memory : live_)
            source.giveBack(memory);
    }
    std::size_t cycles() const { return live_.size(); }
    void end(auto &) {}

  private:
    std::size_t bytes_;
    std::vector<void *> live_;
};

// Frees the oldest and allocates a new one.
class Ring {
  public:
    Ring(std::size_t bytes, std::size_t live) : bytes_(bytes), live_(live, nullptr) {}
    void run(auto & source) {
        void *& oldest = live_[next_];
        if (oldest != nullptr) source.giveBack(oldest);
        oldest = takeAndWrite(source, bytes_);
        next_ = next_ + 1 < live_.size() ? next_ + 1 : 0;
    }
    std::size_t cycles() const { return 1; }
    void end(auto & source) {
        for (void * const memory : live_) {
            if (memory != nullptr) source.giveBack(memory);
        }
    }

  private:
    std::size_t bytes_;
    std::vector<void *> live_;
    std::size_t next_ = 0;
};

template <class Source, class Pattern>
void cycles(benchmark::State & state, std::size_t bytes, std::size_t live) {
    constexpr int rounds = 100;
    Source source;
    Pattern pattern(bytes, live);
    auto const run = [&] {
        for (int i = 0; i < rounds; ++i)
            pattern.run(source);
    };
    auto const perTenThousand = [&](std::int64_t events, std::int64_t runs) {
        return 10000.0 * static_cast<double>(events) /
               static_cast<double>(runs * static_cast<std::int64_t>(pattern.cycles()));
    };
    run();
    std::int64_t const faultsBefore = minorFaults();
    for (auto _ : state)
        pattern.run(source);
    state.counters["faults"] = perTenThousand(minorFaults() - faultsBefore, state.iterations());
    // Not while the clock runs.
    source.watch();
    std::int64_t const callsBefore = source.calls();
    run();
    state.counters["calls"] = perTenThousand(source.calls() - callsBefore, rounds);
    pattern.end(source);
}

template <class Source, class Pattern>
void registerCase(std::string const & name, std::size_t bytes, std::size_t live) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State & state) {
        cycles<Source, Pattern>(state, bytes, live);
    });
}

template <class Pattern>
void registerPair(std::string const & name, std::size_t bytes, std::size_t live) {
    registerCase<Manager, Pattern>(name + "/qel", bytes, live);
    registerCase<Heap, Pattern>(name + "/heap", bytes, live);
}

// Hands out addresses that must not be touched, so that a hundred thousand blocks need no memory.
class AddressesOnly : public ZanSystem {
  public:
    AddressesOnly()
        : before_(replace(this)),
          begin_(static_cast<std::uint8_t *>(::mmap(
              nullptr, room, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))) {}
    AddressesOnly(AddressesOnly const &) = delete;
    AddressesOnly & operator=(AddressesOnly const &) = delete;
    ~AddressesOnly() override {
        replace(before_);
        ::munmap(begin_, room);
    }

    void * mapMemory(std::size_t bytes) noexcept override {
        return begin_ + std::exchange(used_, used_ + bytes);
    }
    int lockMemory(void *, std::size_t) noexcept override { return 0; }
    int unlockMemory(void *, std::size_t) noexcept override { return 0; }
    int unmapMemory(void *, std::size_t) noexcept override { return 0; }

  private:
    static constexpr std::size_t room = std::size_t{1} << 36;

    ZanSystem * before_;
    std::uint8_t * begin_;
    std::size_t used_ = 0;
};

// Takes one of that many blocks of different sizes and returns it: a search and a change in each
// map, twice.
void takeOut(benchmark::State & state) {
    AddressesOnly const system;
    QelVirtualMemoryManager manager(SIZE_MAX);
    std::vector<std::size_t> sizes(static_cast<std::size_t>(state.range(0)));
    std::iota(sizes.begin(), sizes.end(), QelVMem::pageSize());
    std::shuffle(sizes.begin(), sizes.end(), std::mt19937(1));
    std::vector<void *> blocks;
    for (std::size_t const size : sizes)
        blocks.push_back(manager.allocate(size));
    for (void * const block : blocks)
        manager.free(block);
    std::size_t next = 0;
    for (auto _ : state) {
        void * const block = manager.allocate(sizes[next]);
        benchmark::DoNotOptimize(block);
        manager.free(block);
        next = next + 1 < sizes.size() ? next + 1 : 0;
    }
}
BENCHMARK(takeOut)->Name("VmmTakeOut")->Arg(1000)->Arg(10000)->Arg(100000);

[[maybe_unused]] bool const registered = [] {
    for (std::size_t const live : {1U, 4U, 16U}) {
        std::string const count = "/live:" + std::to_string(live);
        registerPair<Burst>("MemoryRender" + count, tileBytes, live);
        registerPair<Ring>("MemoryRing" + count, tileBytes, live);
    }
    registerPair<Burst>("MemoryRender3MB/live:1", largeTileBytes, 1);
    // Last, since the heap does not return to its former state.
    for (std::size_t const live : {1U, 4U, 16U}) {
        registerCase<YoungHeap, Burst>("MemoryRender/live:" + std::to_string(live) + "/youngHeap",
                                       tileBytes, live);
    }
    return true;
}();

}  // namespace
