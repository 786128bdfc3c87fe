#include "QelSharpenOp.h"

#include <utility>

#include "QelOpKernels.h"

QelSharpenOp::QelSharpenOp(MoxSmartPtr<Qel2DImage> input) : QelNeighbourOp(std::move(input)) {}

QelSharpenOp::~QelSharpenOp() = default;

void QelSharpenOp::changeElements(int type, QelPixelNeighbours const & pixels) const {
    qelOpKernels().sharpen[type](pixels);
}
