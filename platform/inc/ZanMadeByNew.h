#pragma once

#include <cstddef>
#include <new>

#include "QelExport.h"

// Base of counted classes whose objects may also live where no `new` put them: on a stack, as part
// of another object, in a std::optional. It knows the objects that `new` made, so that no other is
// deleted when its count falls to 0.
//
// A class derived from it gives its deleteRef() the form
//
//     bool deleteRef() const noexcept override {
//         return Base::deleteRef() && endsWithCount(*this);
//     }
//
// Making and deleting an object takes a lock of the process for a moment, so this is not for
// objects that come and go by the thousands. A class with an operator new of its own has it call
// the one here. Safe from any thread.
class QEL_API ZanMadeByNew {
  public:
    static void * operator new(std::size_t size);
    static void * operator new(std::size_t size, std::align_val_t alignment);
    static void * operator new(std::size_t size, std::nothrow_t const &) noexcept;
    static void * operator new(std::size_t, void * place) noexcept { return place; }

    static void operator delete(void * block) noexcept;
    static void operator delete(void * block, std::align_val_t alignment) noexcept;
    static void operator delete(void * block, std::nothrow_t const &) noexcept;
    static void operator delete(void *, void *) noexcept {}

  protected:
    ~ZanMadeByNew() = default;

    // Is the counted `object`, whose count has fallen to 0, to be deleted? If not, its count never
    // ends it any more.
    template <class Object>
    static bool endsWithCount(Object const & object) noexcept {
        if (isBlock(dynamic_cast<void const *>(&object))) return true;
        object.pinRef();
        return false;
    }

  private:
    static bool isBlock(void const * address) noexcept;
};
