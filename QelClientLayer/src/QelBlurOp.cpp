#include "QelBlurOp.h"

#include <utility>

#include "QelOpKernels.h"

QelBlurOp::QelBlurOp(MoxSmartPtr<Qel2DImage> input) : QelBlurOp(std::move(input), 1) {}

QelBlurOp::QelBlurOp(MoxSmartPtr<Qel2DImage> input, std::int32_t radius)
    : QelConvolveOp(std::move(input), QelConvolutionKernel::blur(radius)) {}

QelBlurOp::QelBlurOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel)
    : QelConvolveOp(std::move(input), std::move(kernel)) {}

QelBlurOp::~QelBlurOp() = default;

// The slight blur has loops of its own, which give the same results, except that they round halves
// upwards for integers of 16 and 32 bits.
void QelBlurOp::changeElements(int type, QelPixelNeighbours const & pixels) const {
    bool const slight = kernel().isSeparable() && kernel().reach() == 1 && kernel().centre() == 0;
    if (slight) {
        qelOpKernels().blur[type](pixels);
    } else {
        QelConvolveOp::changeElements(type, pixels);
    }
}
