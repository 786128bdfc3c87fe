#include "QelImageRenderParmsDesc.h"

#include <utility>

#include "QelRegionClone.h"

QelImageRenderParmsDesc::QelImageRenderParmsDesc(MoxSmartPtr<QelXyRegion> region)
    : region_(std::move(region)) {}

QelImageRenderParmsDesc::~QelImageRenderParmsDesc() = default;

MoxSmartPtr<QelDataDesc> QelImageRenderParmsDesc::clone() const {
    return MoxSmartPtr<QelDataDesc>(new QelImageRenderParmsDesc(qelCloneOf(region_.get())));
}
