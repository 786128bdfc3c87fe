#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "QelExport.h"
#include "ZanThreadAnnotations.h"

// A recursive lock: the thread that holds it unlocks it as often as it locked it.
// Constant-initialised, so a static mutex is ready before any constructor runs. Works with
// std::lock_guard; ZanLock is the annotated form. The analysis behind the annotations sees one
// function at a time, and does not understand a function that takes a lock twice.
class QEL_API ZAN_CAPABILITY("mutex") ZanMutex {
  public:
    constexpr ZanMutex() = default;
    ZanMutex(ZanMutex const &) = delete;
    ZanMutex & operator=(ZanMutex const &) = delete;

    void lock() ZAN_ACQUIRE();

    // False when another thread holds the lock.
    bool try_lock() ZAN_TRY_ACQUIRE(true);

    // Requires: the calling thread holds the lock.
    void unlock() ZAN_RELEASE();

  private:
    std::mutex mutex_;
    // Address of a variable of the holding thread, null while free. Only the holder ever stores
    // its own mark here, so that a thread that reads its own mark knows it holds the lock.
    std::atomic<void const *> holder_{nullptr};
    std::uint32_t depth_ = 0;
};

// Holds a ZanMutex for a scope.
class ZAN_SCOPED_CAPABILITY ZanLock {
  public:
    explicit ZanLock(ZanMutex & mutex) ZAN_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~ZanLock() ZAN_RELEASE() { mutex_.unlock(); }
    ZanLock(ZanLock const &) = delete;
    ZanLock & operator=(ZanLock const &) = delete;

  private:
    ZanMutex & mutex_;
};
