#pragma once

#include "QelExport.h"

// Can the processor (and the operating system) run code compiled for x86-64-v3: AVX2, FMA, F16C,
// BMI1 and BMI2, LZCNT and MOVBE? Always false on other processors.
//
// Inner loops that are compiled for several processors are picked by this when the library is
// loaded. The processor is asked once; safe from any thread, at any time, static initialisation
// included.
QEL_API bool qelCpuHasV3() noexcept;
