#include "ZanPlatformMMX.h"

std::uint64_t ZanPlatformMMX::makeMMXIntKernelElement2x(int low, int high) {
    // Through unsigned: the sign of a negative low half must not extend into the high one.
    std::uint64_t const upper = static_cast<std::uint32_t>(high);
    return upper << 32 | static_cast<std::uint32_t>(low);
}

std::uint64_t ZanPlatformMMX::makeMMXIntKernelElement4x(int value) {
    return static_cast<std::uint16_t>(value) * std::uint64_t{0x0001000100010001};
}
