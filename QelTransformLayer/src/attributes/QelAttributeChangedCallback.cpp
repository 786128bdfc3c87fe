#include "QelAttributeChangedCallback.h"

QelAttributeChangedCallback::QelAttributeChangedCallback(QelAttributeBased * target)
    : target_(target) {}

QelAttributeChangedCallback::~QelAttributeChangedCallback() = default;

QelAttributeBased * QelAttributeChangedCallback::getTarget() const {
    return target_;
}
