#pragma once

#include <atomic>
#include <cstdint>

#include "MoxSmartPtr.h"
#include "QelMemoryManager.h"
#include "ZanRefCount.h"

// A block of bytes for pixels: allocated late, counted in QelSystemConfig, from a memory manager
// or the general heap; or a wrapper around a caller's memory.
//
// Shared by rect buffers through MoxSmartPtr. Counts and allocate() are safe from any thread;
// deallocate() and the bytes themselves belong to one thread at a time.
class QEL_API QelDataBuffer : public ZanRefCount {
  public:
    // Unallocated. `size` in bytes, not negative (raises invalidValue (13)).
    explicit QelDataBuffer(std::int64_t size, bool ownsData = true);

    // Wraps `memory`. With `ownsData` the buffer frees it: it must come from ::operator new,
    // or from `manager`. With null memory the buffer is unallocated, with
    // the default manager; otherwise it has no manager.
    QelDataBuffer(std::int64_t size, bool ownsData, void * memory);
    // The same with the caller's manager, kept in any case.
    QelDataBuffer(std::int64_t size, bool ownsData, void * memory, QelMemoryManager * manager);

    // Unallocated, owning, with the caller's manager.
    QelDataBuffer(std::int64_t size, QelMemoryManager * manager);

    QelDataBuffer(QelDataBuffer const &) = delete;
    QelDataBuffer & operator=(QelDataBuffer const &) = delete;

    // Deallocates; an error on the way is written to the library's output.
    virtual ~QelDataBuffer();

    // Gives the buffer its memory, uninitialised; does nothing if it has some. Raises
    // unexpectedException (10), and leaves the buffer unallocated, when memory runs out. A thread
    // that calls this while another one allocates waits for it.
    virtual void allocate();

    // Frees the memory if the buffer owns it, forgets it otherwise. Memory from allocate() is
    // always freed.
    virtual void deallocate();

    // Copies as many bytes as this buffer's size from `source`, allocating this buffer first.
    // Raises misuse (3) when the source is smaller; a source without memory copies nothing.
    virtual void copyFrom(QelDataBuffer const & source);

    // Null while unallocated.
    std::uint8_t * data() const { return data_.load(std::memory_order_acquire); }
    bool ownsData() const { return ownsData_; }
    std::int64_t size() const { return size_; }
    MoxSmartPtr<QelMemoryManager> manager() const { return manager_; }

  private:
    class Turn;

    void countWrapped();
    void obtainMemory();
    void free();

    // Set from null once, as the last step of allocate().
    std::atomic<std::uint8_t *> data_{nullptr};
    std::atomic_flag allocating_;
    bool ownsData_;
    bool allocatedHere_ = false;
    bool counted_ = false;
    std::int64_t size_;
    MoxSmartPtr<QelMemoryManager> manager_;
};
