#pragma once

#include "QelExport.h"

// Can the processor (and the operating system) run code compiled for x86-64-v3: AVX2, FMA, F16C,
// BMI1 and BMI2, LZCNT and MOVBE? Always false on other processors.
//
// Selects among inner loops compiled for several processors when the library is loaded. The
// processor is queried once; safe from any thread, at any time, static initialisation included.
QEL_API bool qelCpuHasV3() noexcept;

// Of two sets of inner loops compiled from the same source, the better one for this processor.
// QEL_KERNELS_V3 is defined where the compiler can make the second one: `v3` need not exist
// elsewhere.
//     qelBestKernels<&baseline::kernels, &v3::kernels>()->invert(pixels);
template <auto * baseline, auto * v3>
auto * qelBestKernels() noexcept {
#if defined(QEL_KERNELS_V3)
    if (qelCpuHasV3()) return v3;
#endif
    return baseline;
}
