#include "QelImageRequestDesc.h"

#include <utility>

#include "QelRegionClone.h"

QelImageRequestDesc::QelImageRequestDesc(MoxSmartPtr<QelXyRegion> region, QelImageOutputCP * output)
    : region_(std::move(region)), output_(output) {}

QelImageRequestDesc::~QelImageRequestDesc() = default;

MoxSmartPtr<QelDataDesc> QelImageRequestDesc::clone() const {
    return MoxSmartPtr<QelDataDesc>(new QelImageRequestDesc(qelCloneOf(region_.get()), output_));
}
