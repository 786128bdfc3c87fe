#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

// Waits on `signal` until `done()`, but no longer than `milliseconds`, where ~0UL stands for ever.
// Returns done(). Requires: `lock` holds the mutex that guards what done() reads.
template <class Done>
bool zanWait(std::condition_variable & signal, std::unique_lock<std::mutex> & lock,
             unsigned long milliseconds, Done done) {
    if (milliseconds == ~0UL) {
        signal.wait(lock, done);
        return true;
    }
    // A century is as good as for ever, and the clock's nanoseconds can still hold the sum.
    constexpr unsigned long longest = 100UL * 365 * 24 * 3600 * 1000;
    auto const limit = std::chrono::milliseconds(std::min(milliseconds, longest));
    return signal.wait_for(lock, limit, done);
}
