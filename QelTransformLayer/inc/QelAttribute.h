#pragma once

#include <cstdint>
#include <iosfwd>
#include <list>
#include <memory>
#include <string>
#include <typeinfo>

#include "MoxSmartPtr.h"
#include "QelAttributeChangedCallback.h"
#include "ZanRefCount.h"
#include "ZanSourceLocation.h"

// A named, typed, observable value; QelSimpleAttribute<T> has the value, QelAttributeBased is an
// object with such values.
//
// Held by MoxSmartPtr; it lives as long as an owner or a client holds it. On a stack only by
// itself: never given to an object that has attributes or to QelSimpleAttribute::of(), nor kept by
// a callback. One attribute is changed by one thread, while no other one looks; different
// attributes are independent of each other.
class QEL_API QelAttribute : public ZanRefCount {
  public:
    // So often callbacks may change, from within, the attribute that is calling them.
    static constexpr int maxNesting = 100;

    QelAttribute(QelAttribute const &) = delete;
    QelAttribute & operator=(QelAttribute const &) = delete;
    // Deletes the callbacks.
    virtual ~QelAttribute();

    // A new attribute with the same name and value, not locked. Callbacks whose target is
    // `oldOwner` have a clone for `newOwner` there; others stay behind, and so do all if
    // `oldOwner` is null.
    virtual MoxSmartPtr<QelAttribute> clone(QelAttributeBased const * oldOwner,
                                            QelAttributeBased * newOwner) const = 0;

    // The value was changed: takes a new stamp and calls the callbacks in the order in which they
    // were added; those that a callback adds only from the next change on. Raises
    // endlessCallbacks (23) (see below) where callbacks change the attribute from within more than
    // maxNesting times, and what a callback raises.
    virtual void changed();

    // The type of the value.
    virtual std::type_info const & getType() const = 0;

    // The text form of the value; see QelSimpleAttribute.
    virtual void writeValue(std::ostream & out) const = 0;
    virtual void readValue(std::istream & in) = 0;

    // Takes the value of `source` over if it is of the same type; false, with no change, if it is
    // not. Raises as QelSimpleAttribute::setValue().
    virtual bool copyValue(QelAttribute const & source) = 0;

    // The attribute's own name; an owner may hold it under another one.
    std::string const & name() const { return name_; }

    // A locked attribute refuses to change its value. For values that others read meanwhile, in a
    // render for instance; nothing is locked but by a client. A mark, and no mutex: nobody waits,
    // unlike in lock() of a QelColorSpace.
    bool locked() const { return locked_; }
    void lock() { locked_ = true; }
    void unlock() { locked_ = false; }

    // When the value last changed: a number from a counter that all attributes share, so that the
    // larger of two is the later change (until it wraps round after 2^32 changes).
    std::uint32_t timestamp() const { return timestamp_; }

    // Raises nullPointer (4) "QelAttribute::addCallback requires a callback" for null.
    void addCallback(std::unique_ptr<QelAttributeChangedCallback> callback);
    // Deletes all callbacks of a target (of null: all that have none, whoever added them), or one.
    // Where the attribute is calling its callbacks at present, they are called no more, and deleted
    // when that is done.
    void removeCallbacks(QelAttributeBased const * target) noexcept;
    void removeCallback(QelAttributeChangedCallback const * callback) noexcept;
    int numCallbacks() const;

  protected:
    explicit QelAttribute(std::string name);

    // For clone().
    void takeCallbacks(QelAttribute const & from, QelAttributeBased const * oldOwner,
                       QelAttributeBased * newOwner);

    // Ahead of any change. Raises attributeLocked (21) with the name as the whole text if the
    // attribute is locked; checkChange() also endlessCallbacks (23) "Attribute ", the name and " is
    // changed by its own callbacks without end". `here` is where the error is raised.
    void checkLock(ZanSourceLocation const & here) const;
    void checkChange(ZanSourceLocation const & here) const;

  private:
    class Call;
    struct Entry {
        std::unique_ptr<QelAttributeChangedCallback> callback;
        bool removed = false;
    };

    void checkNesting(ZanSourceLocation const & here) const;
    template <class Is>
    void removeThose(Is is) noexcept;
    void deleteRemoved() noexcept;

    std::list<Entry> callbacks_;
    std::string name_;
    bool locked_ = false;
    std::uint32_t timestamp_;
    // How many calls of changed() are going through the callbacks at present, each from within the
    // one before.
    int nesting_ = 0;
};
