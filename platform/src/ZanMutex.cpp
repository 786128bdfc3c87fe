#include "ZanMutex.h"

namespace {

// Every thread has its own, so that its address identifies the thread. Reading an address is
// cheaper than asking the system for a thread's number, provided that the loader is not involved:
// initial-exec makes it one addition.
[[gnu::tls_model("initial-exec")]] thread_local char const threadMark = 0;

}  // namespace

void ZanMutex::lock() ZAN_NO_THREAD_SAFETY_ANALYSIS {
    // Relaxed: a thread looks only for what it stored itself, and it sees its own stores.
    if (holder_.load(std::memory_order_relaxed) == &threadMark) {
        ++depth_;
        return;
    }
    mutex_.lock();
    holder_.store(&threadMark, std::memory_order_relaxed);
}

bool ZanMutex::try_lock() ZAN_NO_THREAD_SAFETY_ANALYSIS {
    if (holder_.load(std::memory_order_relaxed) == &threadMark) {
        ++depth_;
        return true;
    }
    if (!mutex_.try_lock()) return false;
    holder_.store(&threadMark, std::memory_order_relaxed);
    return true;
}

void ZanMutex::unlock() ZAN_NO_THREAD_SAFETY_ANALYSIS {
    if (depth_ != 0) {
        --depth_;
        return;
    }
    holder_.store(nullptr, std::memory_order_relaxed);
    mutex_.unlock();
}
