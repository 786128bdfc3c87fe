#pragma once

// A reference that an operation holds on an object while it runs. An object that had no owner to
// begin with (such as one on a stack) is not deleted when the reference ends; an owned object whose
// last owner has gone meanwhile is.
template <class T>
class ZanBorrow {
  public:
    // Requires: object is not null.
    explicit ZanBorrow(T * object) noexcept : object_(object), owned_(object->refCount() > 0) {
        object_->addRef();
    }
    ZanBorrow(ZanBorrow const &) = delete;
    ZanBorrow & operator=(ZanBorrow const &) = delete;
    ~ZanBorrow() {
        if (!owned_) {
            object_->giveBackRef();
        } else if (object_->deleteRef()) {
            delete object_;
        }
    }

    T * get() const noexcept { return object_; }
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }

  private:
    T * object_;
    bool owned_;
};
