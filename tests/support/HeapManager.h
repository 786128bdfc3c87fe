#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <new>
#include <set>

#include "QelMemoryManager.h"

// A manager whose memory comes from the heap after all, one that a test can look into and make
// fail. Held by MoxSmartPtr.
class HeapManager : public QelMemoryManager {
  public:
    ~HeapManager() noexcept(false) override {
        for (void * const memory : blocks_)
            ::operator delete(memory);
    }

    // Called ahead of each call of allocate() and free(); may throw.
    std::function<void()> onAllocate;
    std::function<void()> onFree;

    // With this, allocate() returns null.
    bool isExhausted = false;

    void * allocate(std::size_t size) override {
        if (onAllocate) onAllocate();
        std::lock_guard<std::mutex> const guard(lock_);
        ++allocations_;
        if (isExhausted) return nullptr;
        void * const memory = ::operator new(size);
        blocks_.insert(memory);
        ++outstanding_;
        return memory;
    }

    bool free(void * pointer) override {
        if (onFree) onFree();
        std::lock_guard<std::mutex> const guard(lock_);
        if (blocks_.erase(pointer) == 0) return false;
        ::operator delete(pointer);
        --outstanding_;
        return true;
    }

    // As if `count` more buffers had been handed out.
    void pretendOutstanding(std::int32_t count) { outstanding_ += count; }

    int allocations() const { return allocations_; }
    bool owns(void * pointer) const { return blocks_.count(pointer) != 0; }

  private:
    std::mutex lock_;
    std::set<void *> blocks_;
    int allocations_ = 0;
};
