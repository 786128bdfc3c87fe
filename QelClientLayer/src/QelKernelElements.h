#pragma once

// For files that are compiled once for each kind of processor, see cmake/QelKernels.cmake: elements
// of pixels, and the arithmetic on them. Each file has its own copy, for its kind of processor.

#include <cstdint>
#include <limits>
#include <type_traits>

namespace qelOps::QEL_KERNEL_SET {
namespace {

// Pixels may lie at any address and are seen as several types.
template <class T>
struct [[gnu::packed, gnu::may_alias]] Unaligned {
    T value;
};

template <class T>
inline T load(std::uint8_t const * address) {
    return reinterpret_cast<Unaligned<T> const *>(address)->value;
}

template <class T>
inline void store(std::uint8_t * address, T value) {
    reinterpret_cast<Unaligned<T> *>(address)->value = value;
}

template <class T>
constexpr bool isReal = std::is_floating_point<T>::value;

// The type for real arithmetic on elements of type T.
template <class T>
using RealOf = std::conditional_t<std::is_same<T, double>::value || (!isReal<T> && sizeof(T) == 4),
                                  double, float>;

// The type in which sums of integers of type T are exact.
template <class T>
using SumOf = std::conditional_t<
    isReal<T>, T,
    std::conditional_t<sizeof(T) == 4, std::int64_t,
                       std::conditional_t<sizeof(T) == 2, std::int32_t, std::int16_t>>>;

// To the nearest integer, halves to even, for numbers within 32 bits. Adding and subtracting a
// number that leaves no bits for fractions rounds on every processor, and vectorises where a call
// of rint() would not.
inline float rounded(float x) {
    constexpr float noFractions = 12582912.0F;  // 1.5 * 2^23: for numbers within 22 bits
    return (x + noFractions) - noFractions;
}
inline double rounded(double x) {
    constexpr double noFractions = 6755399441055744.0;  // 1.5 * 2^52
    return (x + noFractions) - noFractions;
}

// The limits are exact for T. NaN becomes the lower one.
template <class T, class Real>
inline T limited(Real x) {
    constexpr Real lowest = static_cast<Real>(std::numeric_limits<T>::lowest());
    constexpr Real highest = static_cast<Real>(std::numeric_limits<T>::max());
    Real const raised = x > lowest ? x : lowest;
    Real const within = rounded(raised < highest ? raised : highest);
    // There are vector instructions for int32, but none for narrower integers.
    using Integer = std::conditional_t<std::is_same<T, std::uint32_t>::value, T, std::int32_t>;
    return static_cast<T>(static_cast<Integer>(within));
}

template <class T>
inline T limitedSum(SumOf<T> sum) {
    constexpr SumOf<T> lowest = std::numeric_limits<T>::lowest();
    constexpr SumOf<T> highest = std::numeric_limits<T>::max();
    SumOf<T> const lowered = sum < highest ? sum : highest;
    return static_cast<T>(lowered > lowest ? lowered : lowest);
}

}  // namespace
}  // namespace qelOps::QEL_KERNEL_SET
