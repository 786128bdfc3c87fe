#pragma once

#include <cstddef>
#include <cstdint>

#include "MoxSmartPtr.h"
#include "QelExport.h"
#include "ZanMadeByNew.h"
#include "ZanRefCount.h"

// Where data buffers get their memory from, instead of the general heap. A client derives from
// it and installs an object for the process or hands one to a buffer.
//
// Held by MoxSmartPtr. One on a stack or with static storage is never deleted; it must outlive the
// buffers that use it.
//
// allocate() and free() are called from any thread and serialise themselves.
class QEL_API QelMemoryManager : public ZanRefCount, public ZanMadeByNew {
  public:
    QelMemoryManager() = default;
    QelMemoryManager(QelMemoryManager const &) = delete;
    QelMemoryManager & operator=(QelMemoryManager const &) = delete;

    // Raises memoryLeak (11) when buffers are still outstanding and no exception is in flight: one
    // character whose code is the low byte of their number, and " buffers still remaining that were
    // allocated with this manager". If it was the default manager, there is none afterwards.
    virtual ~QelMemoryManager() noexcept(false);

    bool deleteRef() const noexcept { return ZanRefCount::deleteRef() && endsWithCount(*this); }

    // `size` bytes, or null.
    virtual void * allocate(std::size_t size) = 0;

    // Takes `pointer` back; false when it is not this manager's: the caller then frees it.
    virtual bool free(void * pointer) = 0;

    // The manager of all buffers that name none: null at the start. Setting it takes no
    // reference: the caller keeps the manager alive until it is cleared or replaced. One without
    // references when it is set is no longer deleted by its count: the caller deletes it.
    static void setDefaultManager(QelMemoryManager * manager);
    static MoxSmartPtr<QelMemoryManager> getDefaultManager();
    static void clearDefaultManager();

    // Buffers handed out and not yet returned.
    std::int32_t outstanding() const { return outstanding_; }

  protected:
    // Counted by the derived class, under its own lock.
    std::int32_t outstanding_ = 0;
};
