#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

// What tests with several threads share.

constexpr std::uint32_t threadCount = 8;

// Runs body(0) to body(count - 1), each on a thread of its own, and waits for all.
template <class Body>
void runThreads(Body const & body, std::uint32_t count = threadCount) {
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < count; ++i)
        threads.emplace_back([&body, i] { body(i); });
    for (std::thread & thread : threads)
        thread.join();
}

// Lets nobody on until all are there.
class StartLine {
  public:
    explicit StartLine(std::uint32_t count = threadCount) : missing_(count) {}

    void await() {
        --missing_;
        while (missing_ > 0)
            std::this_thread::yield();
    }

  private:
    std::atomic<std::int64_t> missing_;
};
