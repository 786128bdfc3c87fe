#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "QelExport.h"
#include "QelMemoryManager.h"
#include "QelVMem.h"
#include "QelVirtualMemoryMap.h"
#include "ZanMutex.h"
#include "ZanThreadAnnotations.h"

// Recycles memory: a returned block is kept for the next request that fits into it, so the many
// tiles of a render, all of one size, need no system calls.
//
// Held by MoxSmartPtr; each data buffer that has its memory counts as an owner, so it is destroyed
// after them. All operations may be called from any thread; they serialise themselves, and hold
// their lock only for bookkeeping and for the system calls that make a new block.
//
// Byte counters count whole pages. Blocks below the size of a page lie on the heap and count 0.
//
//     MoxSmartPtr<QelVirtualMemoryManager> const manager(new QelVirtualMemoryManager(64 << 20));
//     QelMemoryManager::setDefaultManager(manager);
//     ... // buffers made from here on use the manager's memory
//     QelMemoryManager::clearDefaultManager();
class QEL_API QelVirtualMemoryManager : public QelMemoryManager {
  public:
    // A limit of 1,000,000 bytes.
    QelVirtualMemoryManager();
    // As setLimit(bytes).
    explicit QelVirtualMemoryManager(std::size_t bytes);

    // Gives all memory back, even what is still handed out; if there was any, then raises
    // memoryLeak (11) as QelMemoryManager describes. That memory is freed all the same.
    ~QelVirtualMemoryManager() noexcept(false) override;

    // Memory for `size` bytes, null when there is none: the smallest kept block that is large
    // enough, however large, and of equal ones the last returned; otherwise a new block. The limit
    // is ignored. Null changes nothing.
    void * allocate(std::size_t size) noexcept override;

    // Takes back memory from allocate(); false for any other address. The block is kept if
    // totalBytes() is not above the limit, and goes back to the system otherwise.
    bool free(void * pointer) noexcept override;

    // The value of totalBytes() above which returned blocks are freed. It applies only when a block
    // is returned. A limit of 0 also turns pages off for the whole process, for good: see
    // QelVMem::disableVirtualMemory().
    void setLimit(std::size_t bytes) noexcept;
    std::size_t getLimit() const noexcept;

    // Of all blocks that exist, of those kept and of those handed out.
    std::size_t totalBytes() const noexcept;
    std::size_t freeBytes() const noexcept;
    std::size_t usedBytes() const noexcept;

    // All counters at one moment. Unlike outstanding() it may be called while other threads work.
    struct Counters {
        std::size_t totalBytes = 0;
        std::size_t freeBytes = 0;
        std::size_t usedBytes = 0;
        std::size_t limit = 0;
        std::size_t freeBlocks = 0;
        std::size_t usedBlocks = 0;
        // Since the start: blocks obtained from the system or the heap, and requests met without.
        std::uint64_t blocksMade = 0;
        std::uint64_t blocksReused = 0;
        std::int32_t outstanding = 0;

        bool operator==(Counters const &) const = default;
    };
    Counters counters() const noexcept;

  private:
    std::unique_ptr<QelVMem> reuseBlock(std::size_t size) noexcept ZAN_REQUIRES(lock_);
    std::unique_ptr<QelVMem> makeBlock(std::size_t size) noexcept ZAN_REQUIRES(lock_);
    void * handOut(std::unique_ptr<QelVMem> block) noexcept ZAN_REQUIRES(lock_);
    void keep(std::unique_ptr<QelVMem> block) noexcept ZAN_REQUIRES(lock_);
    void letGo(QelVMem const & block) noexcept ZAN_REQUIRES(lock_);

    // By requested size, and by address. Each has a place for every existing block, so a block
    // moves over without an allocation, and returning one cannot fail.
    QelVirtualMemoryMap<std::size_t> freeBlocks_ ZAN_GUARDED_BY(lock_);
    QelVirtualMemoryMap<void *> usedBlocks_ ZAN_GUARDED_BY(lock_);
    // That of freeBlocks_; it also guards everything else.
    ZanMutex & lock_ = freeBlocks_.lock();
    std::size_t totalBytes_ ZAN_GUARDED_BY(lock_) = 0;
    std::size_t freeBytes_ ZAN_GUARDED_BY(lock_) = 0;
    std::size_t usedBytes_ ZAN_GUARDED_BY(lock_) = 0;
    std::size_t limit_ ZAN_GUARDED_BY(lock_) = 0;
    std::uint64_t blocksMade_ ZAN_GUARDED_BY(lock_) = 0;
    std::uint64_t blocksReused_ ZAN_GUARDED_BY(lock_) = 0;
};
