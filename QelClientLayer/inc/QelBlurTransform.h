#pragma once

#include "QelConvolveTransform.h"

// A blur: QelBlurOp, slight unless a radius or a kernel is given. Both together are refused.
//
// | attribute | type | default | range |
// | "radius" | int | 0, which means none | 1 to 64, in pixels |
// | "kernel" | QelNumberList | [], which means none | as in QelConvolveTransform |
class QEL_API QelBlurTransform : public QelConvolveTransform {
  public:
    QelBlurTransform();
    QelBlurTransform(QelBlurTransform const &) = default;
    ~QelBlurTransform() override;

    // "blur"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;
};
