#pragma once

#include "QelConvolveOp.h"

// A blur. Without a kernel it is a slight one: the weighted mean of three by three pixels, with
// weights
//     1 2 1
//     2 4 2    divided by 16.
//     1 2 1
// Integers of this one are rounded to the nearest, halves upwards; everything else is as
// QelConvolveOp says.
class QEL_API QelBlurOp : public QelConvolveOp {
  public:
    explicit QelBlurOp(MoxSmartPtr<Qel2DImage> input);
    // QelConvolutionKernel::blur(radius); radius 1 is the slight one.
    QelBlurOp(MoxSmartPtr<Qel2DImage> input, std::int32_t radius);
    QelBlurOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel);
    ~QelBlurOp() override;
    using QelConvolveOp::operator=;

  protected:
    void changeElements(int type, QelPixelNeighbours const & pixels) const override;
};
