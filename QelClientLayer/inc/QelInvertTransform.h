#pragma once

#include "QelPointTransform.h"

// The negative: QelInvertOp.
class QEL_API QelInvertTransform : public QelPointTransform {
  public:
    QelInvertTransform();
    QelInvertTransform(QelInvertTransform const &) = default;
    ~QelInvertTransform() override;

    // "invert"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;
};
