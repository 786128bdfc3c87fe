#include "QelInvertTransform.h"

#include "QelInvertOp.h"

QelInvertTransform::QelInvertTransform() : QelPointTransform(catalogEntry()) {}

QelInvertTransform::~QelInvertTransform() = default;

QelTransformDescription const & QelInvertTransform::catalogEntry() {
    static QelTransformDescription const entry{
        "invert", "QelInvertTransform", "the negative", false, {}, [] {
            return MoxSmartPtr<QelTransform>(new QelInvertTransform);
        }};
    return entry;
}

MoxSmartPtr<QelTransform> QelInvertTransform::clone() const {
    return new QelInvertTransform(*this);
}

MoxSmartPtr<QelImageOp> QelInvertTransform::determineOp(QelTileId const & id, int) const {
    return new QelInvertOp(input(id));
}
