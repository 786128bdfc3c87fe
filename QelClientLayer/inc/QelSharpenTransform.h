#pragma once

#include "QelConvolveTransform.h"

// Stronger edges: QelSharpenOp, slight unless a radius or a kernel is given. Both together are
// refused.
//
// | attribute | type | default | range |
// | "radius" | int | 0, which means none | 1 to 64, in pixels |
// | "kernel" | QelNumberList | [], which means none | as in QelConvolveTransform |
class QEL_API QelSharpenTransform : public QelConvolveTransform {
  public:
    QelSharpenTransform();
    QelSharpenTransform(QelSharpenTransform const &) = default;
    ~QelSharpenTransform() override;

    // "sharpen"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;
    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int outputIndex) const override;
};
