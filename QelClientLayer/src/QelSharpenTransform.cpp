#include "QelSharpenTransform.h"

#include "QelConvolving.h"
#include "QelSharpenOp.h"

QelSharpenTransform::QelSharpenTransform() : QelConvolveTransform(catalogEntry()) {}

QelSharpenTransform::~QelSharpenTransform() = default;

QelTransformDescription const & QelSharpenTransform::catalogEntry() {
    static QelTransformDescription const entry = qelConvolvingDescription(
        "sharpen", "QelSharpenTransform",
        "stronger edges, from 3 by 3 pixels: 0 -1 0, -1 8 -1, 0 -1 0",
        "radius in pixels of the blur that is subtracted from twice the pixel",
        [] { return MoxSmartPtr<QelTransform>(new QelSharpenTransform); });
    return entry;
}

MoxSmartPtr<QelTransform> QelSharpenTransform::clone() const {
    return new QelSharpenTransform(*this);
}

MoxSmartPtr<QelImageOp> QelSharpenTransform::determineOp(QelTileId const & id, int) const {
    return qelConvolvingOp<QelSharpenOp>(input(id), kernel(), radius());
}
