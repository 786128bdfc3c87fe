#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// Intrusive smart pointer over ZanRefCount and VZanRefCount: owns one reference to a T, which may
// be const. Converts implicitly from a raw pointer (also to a derived class) and back to one, so
// code reads the same with either. The counts are thread-safe; a smart pointer object itself
// belongs to one thread.
//
// An exception from the pointee's destructor passes through release() and the assignments, with the
// smart pointer in its new state. When the smart pointer's own destructor deletes the object, such
// an exception ends the program.
//
// The pointee may be incomplete where a smart pointer is only declared.
template <class T>
class MoxSmartPtr {
  public:
    using element_type = T;

    constexpr MoxSmartPtr() noexcept = default;
    constexpr MoxSmartPtr(std::nullptr_t) noexcept {}
    MoxSmartPtr(T * object) noexcept : object_(object) {
        if (object_ != nullptr) object_->addRef();
    }
    MoxSmartPtr(MoxSmartPtr const & other) noexcept : MoxSmartPtr(other.object_) {}
    MoxSmartPtr(MoxSmartPtr && other) noexcept : object_(other.detach()) {}

    template <class U>
    requires std::is_convertible_v<U *, T *> MoxSmartPtr(MoxSmartPtr<U> const & other)
    noexcept : MoxSmartPtr(other.get()) {}

    template <class U>
    requires std::is_convertible_v<U *, T *> MoxSmartPtr(MoxSmartPtr<U> && other)
    noexcept : object_(other.detach()) {}

    ~MoxSmartPtr() { release(); }

    // The new object gains its reference before the old one loses its own; assigning the held
    // pointer does nothing.
    MoxSmartPtr & operator=(MoxSmartPtr const & other) {
        if (other.object_ != object_) MoxSmartPtr(other).swapAndDrop(*this);
        return *this;
    }
    MoxSmartPtr & operator=(MoxSmartPtr && other) {
        adopt(other.detach()).swapAndDrop(*this);
        return *this;
    }

    // Takes over a reference that the caller has on `object`, which may be null: counts nothing.
    static MoxSmartPtr adopt(T * object) noexcept {
        MoxSmartPtr taken;
        taken.object_ = object;
        return taken;
    }

    // Hands the reference to the caller, who ends it or has it adopted: counts nothing. The smart
    // pointer is null afterwards.
    [[nodiscard]] T * detach() noexcept { return std::exchange(object_, nullptr); }

    T * get() const noexcept { return object_; }
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }
    operator T *() const noexcept { return object_; }

    void swap(MoxSmartPtr & other) noexcept { std::swap(object_, other.object_); }

    // Gives the reference up; stores null before the object is deleted, so that a destructor
    // that looks back finds nothing.
    void release() {
        T * const object = detach();
        if (object != nullptr && object->deleteRef()) delete object;
    }

  private:
    // Not left to the destructor, which must let no exception out.
    void swapAndDrop(MoxSmartPtr & other) {
        swap(other);
        release();
    }

    T * object_ = nullptr;
};

// For an object that is only read.
template <class T>
using MoxConstSmartPtr = MoxSmartPtr<T const>;
