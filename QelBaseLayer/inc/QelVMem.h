#pragma once

#include <cstddef>

#include "QelExport.h"

// One block of memory: whole pages, locked into memory where the system allows it, or a piece of
// the general heap when it is smaller than a page.
//
// Owned by its creator; QelVirtualMemoryManager recycles them. A block does not change between its
// construction and its end, and its bytes belong to one thread at a time. Never raises.
class QEL_API QelVMem {
  public:
    // A block of at least `size` bytes; address() is null when memory runs out. Pages start as
    // zero; heap memory is not initialised. Pages that cannot be locked are used unlocked.
    explicit QelVMem(std::size_t size) noexcept;
    QelVMem(QelVMem const &) = delete;
    QelVMem & operator=(QelVMem const &) = delete;
    // Gives the memory back.
    virtual ~QelVMem();

    // What was asked for, in bytes.
    std::size_t requestedSize() const noexcept { return requestedSize_; }

    // The bytes of its pages: requestedSize() rounded up. 0 for a block of the heap, and for pages
    // whose size overflows.
    std::size_t actualSize() const noexcept { return actualSize_; }

    // Whether it consists of pages, even if getting them failed.
    bool isVirtual() const noexcept { return isVirtual_; }

    void * address() const noexcept { return address_; }

    // The system's, in bytes, read once. Blocks of this size and above consist of pages.
    static std::size_t pageSize() noexcept;

    // From now on every new block of the process comes from the heap. This cannot be undone;
    // existing blocks are not touched.
    static void disableVirtualMemory() noexcept;
    static bool virtualMemoryDisabled() noexcept;

  private:
    void mapPages() noexcept;
    void unmapPages() noexcept;

    std::size_t requestedSize_;
    std::size_t actualSize_ = 0;
    bool isVirtual_;
    void * address_ = nullptr;
};
