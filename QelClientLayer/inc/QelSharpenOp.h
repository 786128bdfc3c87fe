#pragma once

#include "QelNeighbourOp.h"

// A slight sharpening, with weights
//      0 -1  0
//     -1  8 -1    divided by 4.
//      0 -1  0
// Integers are rounded to the nearest, halves upwards, and limited to the range of their type;
// Float and Double are summed in their own precision and not limited.
class QEL_API QelSharpenOp : public QelNeighbourOp {
  public:
    explicit QelSharpenOp(MoxSmartPtr<Qel2DImage> input);
    ~QelSharpenOp() override;
    using QelNeighbourOp::operator=;

  protected:
    void changeElements(int type, QelPixelNeighbours const & pixels) const override;
};
