#include "QelInvertOp.h"

#include <utility>

#include "QelOpKernels.h"

QelInvertOp::QelInvertOp(MoxSmartPtr<Qel2DImage> input) : QelPointOp(std::move(input)) {}

QelInvertOp::~QelInvertOp() = default;

void QelInvertOp::changeElements(int type, QelPixelRows const & rows) const {
    qelOpKernels().invert[type](rows);
}
