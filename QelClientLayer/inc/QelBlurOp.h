#pragma once

#include "QelConvolveOp.h"

// A blur. Without a radius or a kernel it is slight: the weighted mean of three by three pixels,
// with weights
//     1 2 1
//     2 4 2    divided by 16.
//     1 2 1
// The slight blur rounds integers to the nearest, halves upwards; everything else is as in
// QelConvolveOp.
class QEL_API QelBlurOp : public QelConvolveOp {
  public:
    explicit QelBlurOp(MoxSmartPtr<Qel2DImage> input);
    // QelConvolutionKernel::blur(radius); radius 1 is the slight blur.
    QelBlurOp(MoxSmartPtr<Qel2DImage> input, std::int32_t radius);
    QelBlurOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel);
    ~QelBlurOp() override;
    using QelConvolveOp::operator=;

  protected:
    void changeElements(int type, QelPixelNeighbours const & pixels) const override;
};
