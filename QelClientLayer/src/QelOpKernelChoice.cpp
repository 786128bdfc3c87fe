#include "QelCpu.h"
#include "QelOpKernels.h"

QelOpKernels const & qelOpKernels() noexcept {
    static auto const * const best =
        qelBestKernels<&qelOps::baseline::kernels, &qelOps::v3::kernels>();
    return *best;
}
