#include "QelSharpenOp.h"

#include <utility>

#include "QelOpKernels.h"

QelSharpenOp::QelSharpenOp(MoxSmartPtr<Qel2DImage> input)
    : QelSharpenOp(std::move(input), QelConvolutionKernel({0, -1, 0, -1, 8, -1, 0, -1, 0})) {
    slight_ = true;
}

QelSharpenOp::QelSharpenOp(MoxSmartPtr<Qel2DImage> input, std::int32_t radius)
    : QelConvolveOp(std::move(input), QelConvolutionKernel::unsharp(radius)) {}

QelSharpenOp::QelSharpenOp(MoxSmartPtr<Qel2DImage> input, QelConvolutionKernel kernel)
    : QelConvolveOp(std::move(input), std::move(kernel)) {}

QelSharpenOp::~QelSharpenOp() = default;

// The slight sharpening has loops of its own, which give the same results, except that they round
// halves upwards for integers of 16 and 32 bits.
void QelSharpenOp::changeElements(int type, QelPixelNeighbours const & pixels) const {
    if (slight_) {
        qelOpKernels().sharpen[type](pixels);
    } else {
        QelConvolveOp::changeElements(type, pixels);
    }
}
