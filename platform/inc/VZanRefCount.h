#pragma once

#include "ZanRefCount.h"

// As ZanRefCount, with virtual operations: the base of classes that are used and deleted through
// a base pointer.
class QEL_API VZanRefCount {
  public:
    VZanRefCount() = default;
    VZanRefCount(VZanRefCount const &) noexcept {}
    virtual ~VZanRefCount();

    virtual void addRef() const noexcept { counter_.add(); }
    virtual bool deleteRef() const noexcept { return counter_.remove(); }
    virtual VZanRefCount & operator=(VZanRefCount const &) noexcept { return *this; }

    bool tryAddRef() const noexcept { return counter_.tryAdd(); }
    void giveBackRef() const noexcept { counter_.giveBack(); }
    void pinRef() const noexcept { counter_.pin(); }
    std::int32_t refCount() const noexcept { return counter_.count(); }

  private:
    mutable ZanCounter counter_;
};
