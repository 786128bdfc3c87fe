#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "QelExport.h"

// A counting semaphore without an upper bound. Thread-safe.
class QEL_API ZanSemaphore {
  public:
    // Waits for ever.
    static constexpr unsigned long infinite = ~0UL;

    // Requires: initial >= 0.
    explicit ZanSemaphore(std::int64_t initial = 0) : count_(initial) {}
    ZanSemaphore(ZanSemaphore const &) = delete;
    ZanSemaphore & operator=(ZanSemaphore const &) = delete;

    // Raises the count by `count` and wakes as many waiters. Requires: count >= 1.
    void post(std::int64_t count = 1);

    // Takes one from the count. Waits up to `milliseconds` for it; false on time-out.
    bool wait(unsigned long milliseconds = infinite);

    // Takes one from the count if it is above 0; never waits.
    bool tryWait();

    // The count at some moment during the call.
    std::int64_t value() const;

  private:
    mutable std::mutex mutex_;
    std::condition_variable raised_;
    std::int64_t count_;
};
