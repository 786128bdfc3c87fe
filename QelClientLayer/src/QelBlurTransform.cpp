#include "QelBlurTransform.h"

#include "QelBlurOp.h"
#include "QelConvolving.h"

QelBlurTransform::QelBlurTransform() : QelConvolveTransform(catalogEntry()) {}

QelBlurTransform::~QelBlurTransform() = default;

QelTransformDescription const & QelBlurTransform::catalogEntry() {
    static QelTransformDescription const entry = qelConvolvingDescription(
        "blur", "QelBlurTransform", "weighted mean of 3 by 3 pixels: 1 2 1, 2 4 2, 1 2 1",
        "radius of the blur, in pixels",
        [] { return MoxSmartPtr<QelTransform>(new QelBlurTransform); });
    return entry;
}

MoxSmartPtr<QelTransform> QelBlurTransform::clone() const {
    return new QelBlurTransform(*this);
}

MoxSmartPtr<QelImageOp> QelBlurTransform::determineOp(QelTileId const & id, int) const {
    return qelConvolvingOp<QelBlurOp>(input(id), kernel(), radius());
}
