#include "AllocationCounter.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local std::int64_t allocationsOfThread = 0;
thread_local std::int64_t bytesOfThread = 0;
thread_local std::int64_t releasesOfThread = 0;
// Allocations up to the one that is to fail, that one included; 0 for none.
thread_local std::int64_t untilFault = 0;

bool fails() noexcept {
    return untilFault > 0 && --untilFault == 0;
}

void countAllocation(std::size_t bytes) noexcept {
    ++allocationsOfThread;
    bytesOfThread += static_cast<std::int64_t>(bytes);
}

void release(void * memory) noexcept {
    if (memory != nullptr) ++releasesOfThread;
    std::free(memory);
}

void * allocate(std::size_t bytes) noexcept {
    if (fails()) return nullptr;
    countAllocation(bytes);
    return std::malloc(std::max(bytes, std::size_t{1}));
}

void * allocateAligned(std::size_t bytes, std::align_val_t alignment) noexcept {
    if (fails()) return nullptr;
    countAllocation(bytes);
    auto const step = static_cast<std::size_t>(alignment);
    std::size_t const whole = (std::max(bytes, std::size_t{1}) + step - 1) / step * step;
    return std::aligned_alloc(step, whole);
}

void * orThrow(void * memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

AllocationCounter::AllocationCounter() noexcept
    : allocationsBefore_(allocationsOfThread),
      bytesBefore_(bytesOfThread),
      releasesBefore_(releasesOfThread) {}

std::int64_t AllocationCounter::allocations() const noexcept {
    return allocationsOfThread - allocationsBefore_;
}

std::int64_t AllocationCounter::bytes() const noexcept {
    return bytesOfThread - bytesBefore_;
}

std::int64_t AllocationCounter::live() const noexcept {
    return allocations() - (releasesOfThread - releasesBefore_);
}

AllocationFault::AllocationFault(std::int64_t n) noexcept {
    untilFault = n;
}

AllocationFault::~AllocationFault() {
    untilFault = 0;
}

bool AllocationFault::happened() const noexcept {
    return untilFault == 0;
}

// The array and sized forms of the standard library go through these.
void * operator new(std::size_t bytes) {
    return orThrow(allocate(bytes));
}
void * operator new(std::size_t bytes, std::nothrow_t const &) noexcept {
    return allocate(bytes);
}
void * operator new(std::size_t bytes, std::align_val_t alignment) {
    return orThrow(allocateAligned(bytes, alignment));
}
void operator delete(void * memory) noexcept {
    release(memory);
}
void operator delete(void * memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void * memory, std::nothrow_t const &) noexcept {
    release(memory);
}
void operator delete(void * memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void * memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
