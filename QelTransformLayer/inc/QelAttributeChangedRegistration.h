#pragma once

#include <memory>
#include <type_traits>

#include "QelAttributeBased.h"
#include "QelAttributeChangedCallback.h"

// Calls a member function of its target, which is a T derived from QelAttributeBased:
//
//     attribute->addCallback(
//         std::make_unique<QelAttributeChangedRegistration<Brush>>(this, &Brush::sizeChanged));
//
// Calls nothing while the target is not a T: before T's constructor begins and after its destructor
// has ended.
template <class T>
class QEL_API QelAttributeChangedRegistration : public QelAttributeChangedCallback {
  public:
    using Action = void (T::*)(MoxSmartPtr<QelAttribute> const & attribute);

    // Requires: action is not null.
    QelAttributeChangedRegistration(T * target, Action action)
        : QelAttributeChangedCallback(target), action_(action) {
        static_assert(std::is_base_of_v<QelAttributeBased, T>);
    }

    std::unique_ptr<QelAttributeChangedCallback> clone(
        QelAttributeBased * newTarget) const override {
        return std::unique_ptr<QelAttributeChangedCallback>(
            new QelAttributeChangedRegistration(Any{newTarget}, action_));
    }

    void attributeChanged(MoxSmartPtr<QelAttribute> const & attribute) override {
        // Only now: the target of a clone is not yet a T when the clone is made, and only a
        // dynamic_cast reaches a T that derives virtually from QelAttributeBased.
        T * const target = dynamic_cast<T *>(getTarget());
        if (target != nullptr) (target->*action_)(attribute);
    }

  private:
    struct Any {
        QelAttributeBased * target;
    };
    QelAttributeChangedRegistration(Any any, Action action)
        : QelAttributeChangedCallback(any.target), action_(action) {}

    Action action_;
};
