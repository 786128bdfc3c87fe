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

// A named, typed, observable value. QelSimpleAttribute<T> holds the value; QelAttributeBased is an
// object that has attributes.
//
// Held by MoxSmartPtr; lives as long as an owner or a client holds it. On a stack it must stay
// alone: never given to an object that has attributes or to QelSimpleAttribute::of(), nor kept by a
// callback. One thread changes an attribute, while no other reads it. Different attributes are
// independent.
class QEL_API QelAttribute : public ZanRefCount {
  public:
    // How deeply callbacks may nest by changing the attribute that is calling them.
    static constexpr int maxNesting = 100;

    QelAttribute(QelAttribute const &) = delete;
    QelAttribute & operator=(QelAttribute const &) = delete;
    // Deletes the callbacks.
    virtual ~QelAttribute();

    // A new attribute with the same name and value, not locked. Callbacks whose target is
    // `oldOwner` are cloned for `newOwner`. Others are not copied; none is if `oldOwner` is null.
    virtual MoxSmartPtr<QelAttribute> clone(QelAttributeBased const * oldOwner,
                                            QelAttributeBased * newOwner) const = 0;

    // The value was changed: takes a new stamp and calls the callbacks in the order in which they
    // were added. Those added by a callback are called from the next change on. Raises
    // endlessCallbacks (23) (see below) if callbacks nest deeper than maxNesting, and what a
    // callback raises.
    virtual void changed();

    // The type of the value.
    virtual std::type_info const & getType() const = 0;

    // The text form of the value; see QelSimpleAttribute.
    virtual void writeValue(std::ostream & out) const = 0;
    virtual void readValue(std::istream & in) = 0;

    // Takes over the value of `source` if the types match; otherwise returns false and changes
    // nothing. Raises as QelSimpleAttribute::setValue().
    virtual bool copyValue(QelAttribute const & source) = 0;

    // The attribute's own name; an owner may hold it under another one.
    std::string const & name() const { return name_; }

    // A locked attribute refuses to change its value, for instance while a render reads it. Only
    // clients lock attributes. The lock is a flag, not a mutex: it never waits, unlike lock() of a
    // QelColorSpace.
    bool locked() const { return locked_; }
    void lock() { locked_ = true; }
    void unlock() { locked_ = false; }

    // When the value last changed: a number from a counter that all attributes share, so the larger
    // of two is the later change (until it wraps round after 2^32 changes).
    std::uint32_t timestamp() const { return timestamp_; }

    // Raises nullPointer (4) "QelAttribute::addCallback requires a callback" for null.
    void addCallback(std::unique_ptr<QelAttributeChangedCallback> callback);
    // Deletes all callbacks of a target (for null, all without a target), or one callback. If the
    // attribute is calling its callbacks at the time, these are not called again, and are deleted
    // when the calls are done.
    void removeCallbacks(QelAttributeBased const * target) noexcept;
    void removeCallback(QelAttributeChangedCallback const * callback) noexcept;
    int numCallbacks() const;

  protected:
    explicit QelAttribute(std::string name);

    // For clone().
    void takeCallbacks(QelAttribute const & from, QelAttributeBased const * oldOwner,
                       QelAttributeBased * newOwner);

    // Called before any change. Raises attributeLocked (21) with the name as the whole text if the
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
    // How many nested calls of changed() are running callbacks at present.
    int nesting_ = 0;
};
