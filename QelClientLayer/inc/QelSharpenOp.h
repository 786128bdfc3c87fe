#pragma once

#include "QelConvolveOp.h"

// A sharpening. Without a radius or a kernel it is slight, with weights
//      0 -1  0
//     -1  8 -1    divided by 4.
//      0 -1  0
// The slight sharpening rounds integers to the nearest, halves upwards, and limits them to the
// range of their type; everything else is as in QelConvolveOp.
class QEL_API QelSharpenOp : public QelConvolveOp {
  public:
    explicit QelSharpenOp(MoxSmartPtr<Qel2DImage> input);
    // QelConvolutionKernel::unsharp(radius).
    QelSharpenOp(MoxSmartPtr<Qel2DImage> input, std::int32_t radius);
    QelSharpenOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel);
    ~QelSharpenOp() override;
    using QelConvolveOp::operator=;

  protected:
    void changeElements(int type, QelPixelNeighbours const & pixels) const override;

  private:
    bool slight_ = false;
};
