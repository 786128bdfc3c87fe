#pragma once

#include "QelSourceTransform.h"

// The built-in picture: QelTestCardOp, at 72 dots per inch.
//
// | attribute | type | default | range |
// | "width" | int | 1024 | 1 to QelTestCardOp::maxSide, in pixels |
// | "height" | int | 768 | the same |
class QEL_API QelTestCardTransform : public QelSourceTransform {
  public:
    QelTestCardTransform();
    QelTestCardTransform(QelTestCardTransform const &) = default;
    ~QelTestCardTransform() override;

    // "testcard"
    static QelTransformDescription const & catalogEntry();

    MoxSmartPtr<QelTransform> clone() const override;

  protected:
    Source openSource() override;
};
