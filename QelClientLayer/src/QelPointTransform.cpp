#include "QelPointTransform.h"

QelPointTransform::QelPointTransform(QelTransformDescription const & description)
    : QelPointOperation("in", "out"), QelDescribedTransform(description) {}

QelPointTransform::~QelPointTransform() = default;

void QelPointTransform::setupTransform() {
    if (!areParametersGood()) return;
    QelPointOperation::setupTransform();
    requireNumbers(0);
}

MoxSmartPtr<Qel2DImage> QelPointTransform::input(QelTileId const & id) const {
    return getPrimaryImageInput()->get2DImage(id);
}
