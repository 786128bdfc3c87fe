#pragma once

#include "QelExport.h"

// Can the processor (and the operating system) run code compiled for x86-64-v3: AVX2, FMA, F16C,
// BMI1 and BMI2, LZCNT and MOVBE? Always false on other processors.
//
// Inner loops that are compiled for several processors are picked by this when the library is
// loaded. The processor is asked once; safe from any thread, at any time, static initialisation
// included.
QEL_API bool qelCpuHasV3() noexcept;

// Of two sets of inner loops that the same source was compiled to, the one that this processor runs
// best. QEL_KERNELS_V3 is defined where the compiler can make the second one: `v3` need not exist
// elsewhere.
//     qelBestKernels<&baseline::kernels, &v3::kernels>()->invert(pixels);
template <auto * baseline, auto * v3>
auto * qelBestKernels() noexcept {
#if defined(QEL_KERNELS_V3)
    if (qelCpuHasV3()) return v3;
#endif
    return baseline;
}
