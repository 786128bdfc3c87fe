#pragma once

#include <memory>

#include "MoxSmartPtr.h"
#include "QelExport.h"

class QelAttribute;
class QelAttributeBased;

// An observer of one attribute, told after each change of its value. The attribute owns it. See
// QelAttributeChangedRegistration for the one that calls a member function.
//
// The target is the object that is notified, by an uncounted pointer. It must outlive the callback,
// or take it off the attribute, as QelAttributeBased does for the attributes that it holds. An
// observer that is no QelAttributeBased has the target null and is taken off by its own address.
class QEL_API QelAttributeChangedCallback {
  public:
    QelAttributeChangedCallback(QelAttributeChangedCallback const &) = delete;
    QelAttributeChangedCallback & operator=(QelAttributeChangedCallback const &) = delete;

    // The same observer for another target: for a copy of the attribute in a copy of its owner. The
    // new target may still be under construction, so that it may be kept but not asked anything.
    // Not null; adds and removes no callbacks meanwhile.
    virtual std::unique_ptr<QelAttributeChangedCallback> clone(
        QelAttributeBased * newTarget) const = 0;

    virtual QelAttributeBased * getTarget() const;

    // Called by the thread that changes the value. The pointer keeps the attribute alive during the
    // call. May set any attribute, also this one, which calls the callbacks anew from within (to a
    // depth of QelAttribute::maxNesting); may add and remove callbacks, also itself; may drop the
    // target. What it raises goes on to who changed the value, and the callbacks behind it are
    // not called; the value stays changed.
    virtual void attributeChanged(MoxSmartPtr<QelAttribute> const & attribute) = 0;

    virtual ~QelAttributeChangedCallback();

  protected:
    explicit QelAttributeChangedCallback(QelAttributeBased * target);

  private:
    QelAttributeBased * target_;
};
