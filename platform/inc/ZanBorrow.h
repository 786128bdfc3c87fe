#pragma once

#include "MoxSmartPtr.h"

// Two ways in which an operation keeps an object alive while it runs.

// A reference that an operation holds on an object while it runs. An object that had no owner to
// begin with (such as one on a stack) is not deleted when the reference ends; an owned object whose
// last owner has gone meanwhile is. For an object that one thread uses at a time: two borrowers of
// an object without owners would take each other for one.
template <class T>
class ZanBorrow {
  public:
    // Requires: object is not null.
    explicit ZanBorrow(T * object) noexcept : owned_(object->refCount() > 0), object_(object) {}
    ZanBorrow(ZanBorrow const &) = delete;
    ZanBorrow & operator=(ZanBorrow const &) = delete;
    ~ZanBorrow() {
        if (!owned_) object_.detach()->giveBackRef();
    }

    // The reference itself, to be lent on.
    MoxSmartPtr<T> const & pointer() const noexcept { return object_; }
    T * get() const noexcept { return object_; }
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }

  private:
    bool owned_;
    MoxSmartPtr<T> object_;
};

// For an object that several threads may use at a time: a reference on one that has owners, null
// for one that has none.
template <class T>
MoxSmartPtr<T> zanKeepIfOwned(T * object) noexcept {
    return object->refCount() > 0 ? object : nullptr;
}
