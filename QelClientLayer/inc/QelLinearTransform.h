#pragma once

#include "QelPointTransform.h"

// Brightness and contrast: QelLinearOp.
//
// | attribute | type | default | range |
// | "gain" | double | 1 | -1,000,000 to 1,000,000 |
// | "offset" | double | 0 | -1,000,000 to 1,000,000, in pixel values |
class QEL_API QelLinearTransform : public QelPointTransform {
  public:
    QelLinearTransform();
    QelLinearTransform(QelLinearTransform const &) = default;
    ~QelLinearTransform() override;

    // "linear"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;
};
