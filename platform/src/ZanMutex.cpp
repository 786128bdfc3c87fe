#include "ZanMutex.h"

namespace {

// Every thread has one of its own, so that its address names the thread. Reading an address is
// cheaper than asking the system for a thread's number, once it need not be asked for from the
// loader: initial-exec makes it one addition.
[[gnu::tls_model("initial-exec")]] thread_local char const threadMark = 0;

}  // namespace

void ZanMutex::lock() ZAN_NO_THREAD_SAFETY_ANALYSIS {
    // Relaxed: only what this thread stored itself is looked for, and it sees its own stores.
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
