#pragma once

// An object that is never destroyed, since other threads and the destructors of static objects may
// still use it while the process exits.
template <class T>
class ZanImmortal {
  public:
    constexpr ZanImmortal() : object_() {}
    ZanImmortal(ZanImmortal const &) = delete;
    ZanImmortal & operator=(ZanImmortal const &) = delete;
    ~ZanImmortal() {}

    T & get() noexcept { return object_; }

  private:
    // A union does not destroy its members.
    union {
        T object_;
    };
};
