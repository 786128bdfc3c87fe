#include "QelVMem.h"

#include <atomic>
#include <cerrno>
#include <cstdint>

#include "ZanSystem.h"

namespace {

constinit std::atomic<std::size_t> knownPageSize{0};
constinit std::atomic<bool> disabled{false};

// `bytes` in whole pages, 0 when that is more than a number can hold.
std::size_t inPages(std::size_t bytes, std::size_t page) {
    std::size_t const pages = bytes / page + (bytes % page != 0 ? 1 : 0);
    return pages <= SIZE_MAX / page ? pages * page : 0;
}

}  // namespace

std::size_t QelVMem::pageSize() noexcept {
    // Threads that come here together all read the same.
    std::size_t page = knownPageSize.load(std::memory_order_relaxed);
    if (page == 0) {
        page = ZanSystem::current().pageSize();
        knownPageSize.store(page, std::memory_order_relaxed);
    }
    return page;
}

void QelVMem::disableVirtualMemory() noexcept {
    disabled.store(true, std::memory_order_relaxed);
}

bool QelVMem::virtualMemoryDisabled() noexcept {
    return disabled.load(std::memory_order_relaxed);
}

QelVMem::QelVMem(std::size_t size) noexcept
    : requestedSize_(size), isVirtual_(!virtualMemoryDisabled() && size >= pageSize()) {
    if (isVirtual_) {
        mapPages();
    } else {
        address_ = ZanSystem::current().allocate(size);
    }
}

QelVMem::~QelVMem() {
    if (address_ == nullptr) return;
    if (isVirtual_) {
        unmapPages();
    } else {
        ZanSystem::current().release(address_);
    }
}

void QelVMem::mapPages() noexcept {
    actualSize_ = inPages(requestedSize_, pageSize());
    if (actualSize_ == 0) {
        errno = ENOMEM;
        return;
    }
    address_ = ZanSystem::current().mapMemory(actualSize_);
    if (address_ == nullptr) return;
    // What is locked is never slow, but the limit is often small. A refusal must not be taken for
    // the cause of a later failure.
    int const lastError = errno;
    ZanSystem::current().lockMemory(address_, actualSize_);
    errno = lastError;
}

void QelVMem::unmapPages() noexcept {
    ZanSystem & system = ZanSystem::current();
    system.unlockMemory(address_, actualSize_);
    system.unmapMemory(address_, actualSize_);
}
