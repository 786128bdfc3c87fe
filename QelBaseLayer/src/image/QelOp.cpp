#include "QelOp.h"

QelOp::QelOp() : status_("Zan", -1, __FILE__, __LINE__) {}

QelOp::~QelOp() = default;

void QelOp::addRef() const noexcept {
    VZanRefCount::addRef();
}

bool QelOp::deleteRef() const noexcept {
    return VZanRefCount::deleteRef() && endsWithCount(*this);
}

bool QelOp::isGood(QelOpContext) {
    return false;
}

ZanError QelOp::status(QelOpContext opContext) {
    isGood(opContext);
    return status_;
}
