#include "QelCpu.h"

#if defined(__x86_64__)
#include <cpuid.h>

namespace {

// The builtin looks after the registers that the operating system has to save; not every compiler
// lets it name the features below.
bool hasVectors() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
           __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0;
}

bool hasScalars() {
    constexpr unsigned movbe = 1U << 22;
    constexpr unsigned f16c = 1U << 29;
    constexpr unsigned lzcnt = 1U << 5;
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & movbe) == 0 || (c & f16c) == 0) return false;
    return __get_cpuid(0x80000001U, &a, &b, &c, &d) != 0 && (c & lzcnt) != 0;
}

}  // namespace

bool qelCpuHasV3() noexcept {
    static bool const has = hasVectors() && hasScalars();
    return has;
}

#else

bool qelCpuHasV3() noexcept {
    return false;
}

#endif
