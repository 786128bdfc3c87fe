#include "ZanSemaphore.h"

#include "ZanWait.h"

void ZanSemaphore::post(std::int64_t count) {
    std::lock_guard const guard(mutex_);
    count_ += count;
    // Under the lock: a thread that is woken may destroy the semaphore, and must not do so while it
    // is still being notified.
    if (count == 1) {
        raised_.notify_one();
    } else {
        raised_.notify_all();
    }
}

bool ZanSemaphore::wait(unsigned long milliseconds) {
    std::unique_lock lock(mutex_);
    if (!zanWait(raised_, lock, milliseconds, [this] { return count_ > 0; })) return false;
    --count_;
    return true;
}

bool ZanSemaphore::tryWait() {
    std::lock_guard const guard(mutex_);
    if (count_ <= 0) return false;
    --count_;
    return true;
}

std::int64_t ZanSemaphore::value() const {
    std::lock_guard const guard(mutex_);
    return count_;
}
