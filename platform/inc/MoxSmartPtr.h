#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// Intrusive smart pointers over ZanRefCount and VZanRefCount.
//
// MoxSmartPtr<T> owns one reference to a T, MoxConstSmartPtr<T> one to a T const. Both convert
// implicitly from a raw pointer (also to a derived class) and back to one, so code reads the same
// with either. The counts are thread-safe; a smart pointer object itself belongs to one thread.
//
// An exception from the pointee's destructor passes through release() and the assignments, with the
// smart pointer in its new state. When the smart pointer's own destructor deletes the object, such
// an exception ends the program.
//
// The pointee may be incomplete where a smart pointer is only declared.

// Common base of both smart pointers; not used by itself.
template <class Pointee>
class MoxPtrBase {
  public:
    using element_type = Pointee;

    constexpr MoxPtrBase() noexcept = default;
    MoxPtrBase(Pointee * object) noexcept : object_(object) { acquire(); }
    MoxPtrBase(MoxPtrBase const & other) noexcept : object_(other.object_) { acquire(); }
    MoxPtrBase(MoxPtrBase && other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ~MoxPtrBase() { release(); }

    // The new object gains its reference before the old one loses its own; assigning the held
    // pointer does nothing.
    MoxPtrBase & operator=(MoxPtrBase const & other) {
        if (other.object_ == object_) return *this;
        other.acquire();
        drop(std::exchange(object_, other.object_));
        return *this;
    }
    MoxPtrBase & operator=(MoxPtrBase && other) {
        Pointee * const taken = std::exchange(other.object_, nullptr);
        drop(std::exchange(object_, taken));
        return *this;
    }

    Pointee * get() const noexcept { return object_; }
    Pointee * operator->() const noexcept { return object_; }
    Pointee & operator*() const noexcept { return *object_; }
    operator Pointee *() const noexcept { return object_; }

    void swap(MoxPtrBase & other) noexcept { std::swap(object_, other.object_); }

    // Drops the reference. Stores null before the object is deleted, so a destructor that looks
    // back finds nothing.
    void release() { drop(std::exchange(object_, nullptr)); }

  protected:
    // Takes over the reference from a pointer to a derived class or to a non-const object.
    template <class Other>
    MoxPtrBase(MoxPtrBase<Other> && other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}

  private:
    template <class Other>
    friend class MoxPtrBase;

    void acquire() const noexcept {
        if (object_ != nullptr) object_->addRef();
    }
    static void drop(Pointee * object) {
        if (object != nullptr && object->deleteRef()) delete object;
    }

    Pointee * object_ = nullptr;
};

template <class T>
class MoxSmartPtr : public MoxPtrBase<T> {
  public:
    constexpr MoxSmartPtr() noexcept = default;
    constexpr MoxSmartPtr(std::nullptr_t) noexcept {}
    MoxSmartPtr(T * object) noexcept : MoxPtrBase<T>(object) {}

    template <class U>
    requires std::is_convertible_v<U *, T *> MoxSmartPtr(MoxSmartPtr<U> const & other)
    noexcept : MoxPtrBase<T>(other.get()) {}

    template <class U>
    requires std::is_convertible_v<U *, T *> MoxSmartPtr(MoxSmartPtr<U> && other)
    noexcept : MoxPtrBase<T>(static_cast<MoxPtrBase<U> &&>(other)) {}
};

// As MoxSmartPtr, for an object that is only read.

template <class T>
class MoxConstSmartPtr : public MoxPtrBase<T const> {
  public:
    constexpr MoxConstSmartPtr() noexcept = default;
    constexpr MoxConstSmartPtr(std::nullptr_t) noexcept {}
    MoxConstSmartPtr(T const * object) noexcept : MoxPtrBase<T const>(object) {}

    template <class U>
    requires std::is_convertible_v<U *, T const *> MoxConstSmartPtr(MoxSmartPtr<U> const & other)
    noexcept : MoxPtrBase<T const>(other.get()) {}

    template <class U>
    requires std::is_convertible_v<U *, T const *> MoxConstSmartPtr(MoxSmartPtr<U> && other)
    noexcept : MoxPtrBase<T const>(static_cast<MoxPtrBase<U> &&>(other)) {}

    template <class U>
    requires std::is_convertible_v<U const *, T const *> MoxConstSmartPtr(
        MoxConstSmartPtr<U> const & other)
    noexcept : MoxPtrBase<T const>(other.get()) {}

    template <class U>
    requires std::is_convertible_v<U const *, T const *> MoxConstSmartPtr(
        MoxConstSmartPtr<U> && other)
    noexcept : MoxPtrBase<T const>(static_cast<MoxPtrBase<U const> &&>(other)) {}
};
