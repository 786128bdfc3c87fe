#include "QelSimpleResolutionDesc.h"

QelSimpleResolutionDesc::~QelSimpleResolutionDesc() = default;

MoxSmartPtr<QelDataDesc> QelSimpleResolutionDesc::clone() const {
    return new QelSimpleResolutionDesc(horizontal_, vertical_);
}
