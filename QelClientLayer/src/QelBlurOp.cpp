#include "QelBlurOp.h"

#include <utility>

#include "QelOpKernels.h"

QelBlurOp::QelBlurOp(MoxSmartPtr<Qel2DImage> input) : QelNeighbourOp(std::move(input)) {}

QelBlurOp::~QelBlurOp() = default;

void QelBlurOp::changeElements(int type, QelPixelNeighbours const & pixels) const {
    qelOpKernels().blur[type](pixels);
}
