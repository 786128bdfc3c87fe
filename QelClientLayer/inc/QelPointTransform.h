#pragma once

#include "QelDescribedTransform.h"
#include "QelPointOperation.h"

// Base of the point operations of this layer: the image input "in", the image output "out", and
// described attributes. A derived class has a constructor, clone() and determineOp().
class QEL_API QelPointTransform : public QelPointOperation, public QelDescribedTransform {
  public:
    ~QelPointTransform() override;

    // Refuses attributes out of range and elements that are no numbers.
    void setupTransform() override;

  protected:
    explicit QelPointTransform(QelTransformDescription const & description);
    QelPointTransform(QelPointTransform const &) = default;

    MoxSmartPtr<Qel2DImage> input(QelTileId const & id) const;
};
