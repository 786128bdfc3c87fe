#include "QelBufferInfo.h"

#include <utility>

namespace {

template <class T>
MoxSmartPtr<T> cloneOf(MoxSmartPtr<T> const & object) {
    return object ? object->clone() : nullptr;
}

}  // namespace

QelBufferInfo::QelBufferInfo(MoxSmartPtr<QelColorSpace> colorSpace, MoxSmartPtr<QelDataOrg> dataOrg)
    : colorSpace_(std::move(colorSpace)), dataOrg_(std::move(dataOrg)) {}

QelBufferInfo::~QelBufferInfo() = default;

MoxSmartPtr<QelBufferInfo> QelBufferInfo::clone() const {
    return new QelBufferInfo(cloneOf(colorSpace_), cloneOf(dataOrg_));
}

void QelBufferInfo::set(MoxSmartPtr<QelColorSpace> colorSpace, MoxSmartPtr<QelDataOrg> dataOrg) {
    colorSpace_.swap(colorSpace);
    dataOrg_.swap(dataOrg);
}
