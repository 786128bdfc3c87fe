#include "QelCpu.h"
#include "QelOpKernels.h"

namespace {

QelOpKernels const & choose() noexcept {
#if defined(QEL_KERNELS_V3)
    if (qelCpuHasV3()) return qelOps::v3::kernels;
#endif
    return qelOps::baseline::kernels;
}

}  // namespace

QelOpKernels const & qelOpKernels() noexcept {
    static QelOpKernels const & chosen = choose();
    return chosen;
}
