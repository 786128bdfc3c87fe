#include "QelLinearOp.h"

#include <cmath>
#include <string>
#include <utility>

#include "QelError.h"
#include "QelOpKernels.h"

namespace {

double finite(double value, char const * name) {
    if (!std::isfinite(value))
        qelRaise(QelErrorCode::invalidValue, std::string("The ") + name + " is not finite");
    return value;
}

}  // namespace

QelLinearOp::QelLinearOp(MoxSmartPtr<Qel2DImage> input, double gain, double offset)
    : QelPointOp(std::move(input)),
      gain_(finite(gain, "gain")),
      offset_(finite(offset, "offset")) {}

QelLinearOp::~QelLinearOp() = default;

void QelLinearOp::changeElements(int type, QelPixelRows const & rows) const {
    qelOpKernels().linear[type](rows, gain_, offset_);
}
