#include "QelVirtualMemoryManager.h"

#include <new>
#include <utility>

QelVirtualMemoryManager::QelVirtualMemoryManager() : QelVirtualMemoryManager(1000000) {}

QelVirtualMemoryManager::QelVirtualMemoryManager(std::size_t bytes) {
    setLimit(bytes);
}

// The members end before the base looks whether anything is outstanding.
QelVirtualMemoryManager::~QelVirtualMemoryManager() noexcept(false) = default;

void * QelVirtualMemoryManager::allocate(std::size_t size) noexcept {
    ZanLock const guard(lock_);
    std::unique_ptr<QelVMem> block = reuseBlock(size);
    if (!block) block = makeBlock(size);
    return block ? handOut(std::move(block)) : nullptr;
}

bool QelVirtualMemoryManager::free(void * pointer) noexcept {
    // Ends after the lock is released: what the system does to take pages back need not keep
    // other threads waiting.
    std::unique_ptr<QelVMem> surplus;
    ZanLock const guard(lock_);
    std::unique_ptr<QelVMem> block = usedBlocks_.take(pointer);
    if (!block) return false;
    usedBytes_ -= block->actualSize();
    if (totalBytes_ <= limit_) {
        keep(std::move(block));
    } else {
        letGo(*block);
        surplus = std::move(block);
    }
    --outstanding_;
    return true;
}

std::unique_ptr<QelVMem> QelVirtualMemoryManager::reuseBlock(std::size_t size) noexcept {
    std::unique_ptr<QelVMem> block = freeBlocks_.takeNotLess(size);
    if (!block) return nullptr;
    freeBytes_ -= block->actualSize();
    ++blocksReused_;
    return block;
}

std::unique_ptr<QelVMem> QelVirtualMemoryManager::makeBlock(std::size_t size) noexcept {
    std::unique_ptr<QelVMem> block(new (std::nothrow) QelVMem(size));
    if (!block || block->address() == nullptr) return nullptr;
    if (!freeBlocks_.reserve()) return nullptr;
    if (!usedBlocks_.reserve()) {
        freeBlocks_.dropSpare();
        return nullptr;
    }
    totalBytes_ += block->actualSize();
    ++blocksMade_;
    return block;
}

void * QelVirtualMemoryManager::handOut(std::unique_ptr<QelVMem> block) noexcept {
    void * const address = block->address();
    usedBytes_ += block->actualSize();
    usedBlocks_.insert(address, std::move(block));
    ++outstanding_;
    return address;
}

void QelVirtualMemoryManager::keep(std::unique_ptr<QelVMem> block) noexcept {
    freeBytes_ += block->actualSize();
    std::size_t const size = block->requestedSize();
    freeBlocks_.insert(size, std::move(block));
}

void QelVirtualMemoryManager::letGo(QelVMem const & block) noexcept {
    totalBytes_ -= block.actualSize();
    freeBlocks_.dropSpare();
    usedBlocks_.dropSpare();
}

void QelVirtualMemoryManager::setLimit(std::size_t bytes) noexcept {
    ZanLock const guard(lock_);
    limit_ = bytes;
    if (bytes == 0) QelVMem::disableVirtualMemory();
}

std::size_t QelVirtualMemoryManager::getLimit() const noexcept {
    return counters().limit;
}

std::size_t QelVirtualMemoryManager::totalBytes() const noexcept {
    return counters().totalBytes;
}

std::size_t QelVirtualMemoryManager::freeBytes() const noexcept {
    return counters().freeBytes;
}

std::size_t QelVirtualMemoryManager::usedBytes() const noexcept {
    return counters().usedBytes;
}

QelVirtualMemoryManager::Counters QelVirtualMemoryManager::counters() const noexcept {
    ZanLock const guard(lock_);
    return {.totalBytes = totalBytes_,
            .freeBytes = freeBytes_,
            .usedBytes = usedBytes_,
            .limit = limit_,
            .freeBlocks = freeBlocks_.size(),
            .usedBlocks = usedBlocks_.size(),
            .blocksMade = blocksMade_,
            .blocksReused = blocksReused_,
            .outstanding = outstanding_};
}
