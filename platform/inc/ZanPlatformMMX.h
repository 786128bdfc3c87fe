#pragma once

#include <cstdint>

#include "QelExport.h"

// Builders of 64-bit table elements for integer convolution kernels.
class QEL_API ZanPlatformMMX {
  public:
    ZanPlatformMMX() = delete;

    // `low` in bits 0 to 31, `high` in bits 32 to 63.
    static std::uint64_t makeMMXIntKernelElement2x(int low, int high);

    // The low 16 bits of `value`, four times.
    static std::uint64_t makeMMXIntKernelElement4x(int value);
};
