#pragma once

#include <memory>

#include "QelConvolutionKernel.h"
#include "QelNeighbourOp.h"

// A convolution of all bands with one kernel: each element becomes the weighted sum of the elements
// around it. At the edges of the image the outermost pixels are repeated.
//
// UChar and Char are computed in fixed point. QelCoreMisc::quantizeKernel() makes integer weights
// of the kernel's, with magnitudes that add up to 16384 or a little less. The sum is rounded to the
// nearest integer, halves upwards, and limited to the range of the type. For a kernel of n weights
// whose magnitudes add up to m, it differs from the exact sum by less than 1/2 + m * (n + 1) / 32,
// and usually by much less. (A kernel whose magnitudes add up to more than 16384 is computed as for
// other types.) Short and UShort are summed in float, Long and ULong in double; the sums are
// rounded to the nearest, halves to even, and limited. Float and Double are summed in their own
// precision and not limited.
class QEL_API QelConvolveOp : public QelNeighbourOp {
  public:
    QelConvolveOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel);
    ~QelConvolveOp() override;
    using QelNeighbourOp::operator=;

    QelConvolutionKernel const & kernel() const { return kernel_; }

  protected:
    void changeElements(int type, QelPixelNeighbours const & pixels) const override;

  private:
    class FixedPoint;

    QelConvolutionKernel kernel_;
    std::unique_ptr<FixedPoint const> fixedPoint_;
};
