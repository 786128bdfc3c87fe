#pragma once

#include <memory>

#include "MoxSmartPtr.h"
#include "QelExport.h"

class QelAttribute;
class QelAttributeBased;

// An observer of one attribute, called after each change of its value. The attribute owns it.
// QelAttributeChangedRegistration is one that calls a member function.
//
// The target is the object that is notified, by an uncounted pointer. It must outlive the callback,
// or remove it from the attribute, as QelAttributeBased does for its own attributes. An observer
// that is not a QelAttributeBased has a null target and is removed by its address.
class QEL_API QelAttributeChangedCallback {
  public:
    QelAttributeChangedCallback(QelAttributeChangedCallback const &) = delete;
    QelAttributeChangedCallback & operator=(QelAttributeChangedCallback const &) = delete;

    // The same observer for another target, used when an attribute is copied with its owner. The
    // new target may still be under construction: keep its address, but do not use it. Must not
    // return null, nor add or remove callbacks.
    virtual std::unique_ptr<QelAttributeChangedCallback> clone(
        QelAttributeBased * newTarget) const = 0;

    virtual QelAttributeBased * getTarget() const;

    // Called by the thread that changes the value. The pointer keeps the attribute alive during the
    // call. May set any attribute; setting this one calls the callbacks again, nested (to a depth
    // of QelAttribute::maxNesting). May add and remove callbacks, including itself, and may drop
    // the target. If it raises, the error reaches the code that changed the value, later callbacks
    // are not called, and the value stays changed.
    virtual void attributeChanged(MoxSmartPtr<QelAttribute> const & attribute) = 0;

    virtual ~QelAttributeChangedCallback();

  protected:
    explicit QelAttributeChangedCallback(QelAttributeBased * target);

  private:
    QelAttributeBased * target_;
};
