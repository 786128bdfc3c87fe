#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// Intrusive smart pointers over ZanRefCount and VZanRefCount.
//
// MoxSmartPtr<T> owns one reference on a T, MoxConstSmartPtr<T> one on a T const. Both are
// implicit from a raw pointer (also to a derived class) and implicit back to one, so that code
// reads alike with either. The counts are safe from any thread; a smart pointer object itself
// belongs to one thread.
//
// An exception that the pointee's destructor lets out leaves release() and the assignments, with
// the smart pointer in its new state; it ends the program when it is the smart pointer's own
// destructor that deletes.
//
// The pointee may be incomplete where a smart pointer is only declared.

// What both kinds of smart pointer are made of; not used by itself.
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

    // Gives the reference up; stores null before the object is deleted, so that a destructor
    // that looks back finds nothing.
    void release() { drop(std::exchange(object_, nullptr)); }

  protected:
    // Takes the reference over from a pointer to a derived class or to a non-const object.
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

// As MoxSmartPtr, for an object that is only looked at.

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
