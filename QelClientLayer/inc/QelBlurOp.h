#pragma once

#include "QelNeighbourOp.h"

// A slight blur: the weighted mean of three by three pixels, with weights
//     1 2 1
//     2 4 2    divided by 16.
//     1 2 1
// Integers are rounded to the nearest, halves upwards; Float and Double are summed in their own
// precision.
class QEL_API QelBlurOp : public QelNeighbourOp {
  public:
    explicit QelBlurOp(MoxSmartPtr<Qel2DImage> input);
    ~QelBlurOp() override;
    using QelNeighbourOp::operator=;

  protected:
    void changeElements(int type, QelPixelNeighbours const & pixels) const override;
};
