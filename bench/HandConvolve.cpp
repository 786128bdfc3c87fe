#include "HandConvolve.h"

// Compiled once for each kernel set, with the options of the library's own kernels.

namespace QEL_KERNEL_SET {
namespace {

constexpr std::size_t side = 5;
constexpr std::size_t reach = side / 2;

// A row as floats, with its outermost pixels repeated on both sides.
void toFloats(std::uint8_t const * __restrict from, std::size_t count, std::size_t bands,
              float * __restrict to) {
    for (std::size_t i = 0; i < reach * bands; ++i) {
        to[i] = static_cast<float>(from[i % bands]);
        to[reach * bands + count + i] = static_cast<float>(from[count - bands + i % bands]);
    }
    float * const middle = to + reach * bands;
    for (std::size_t i = 0; i < count; ++i)
        middle[i] = static_cast<float>(from[i]);
}

template <bool fused>
inline float plusProduct(float sum, float a, float b) {
    if constexpr (fused) {
        return __builtin_fmaf(a, b, sum);
    } else {
        return sum + a * b;
    }
}

// The inner loops have fixed lengths, so that the compiler unrolls them and vectorises over `i`.
template <bool fused>
inline void weighRow(float const * const * rows, float const * weights, std::size_t count,
                     std::size_t bands, std::uint8_t * __restrict to) {
    float const * const __restrict a = rows[0];
    float const * const __restrict b = rows[1];
    float const * const __restrict c = rows[2];
    float const * const __restrict d = rows[3];
    float const * const __restrict e = rows[4];
    float w[side * side];
    for (std::size_t k = 0; k < side * side; ++k)
        w[k] = weights[k];
    for (std::size_t i = 0; i < count; ++i) {
        float sum = 0.5F;
        for (std::size_t k = 0; k < side; ++k) {
            sum = plusProduct<fused>(sum, w[k], a[i + k * bands]);
            sum = plusProduct<fused>(sum, w[side + k], b[i + k * bands]);
            sum = plusProduct<fused>(sum, w[2 * side + k], c[i + k * bands]);
            sum = plusProduct<fused>(sum, w[3 * side + k], d[i + k * bands]);
            sum = plusProduct<fused>(sum, w[4 * side + k], e[i + k * bands]);
        }
        sum = sum > 0.0F ? sum : 0.0F;
        sum = sum < 255.0F ? sum : 255.0F;
        to[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(sum));
    }
}

template <bool fused, std::size_t bands>
void convolve(HandConvolve::Picture const & picture, float const * weights, float * memory) {
    std::size_t const count = picture.width * bands;
    std::size_t const length = count + 2 * reach * bands;
    std::size_t next = 0;
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (; next < picture.height && next <= y + reach; ++next)
            toFloats(picture.from + next * count, count, bands, memory + next % side * length);
        float const * rows[side];
        for (std::size_t k = 0; k < side; ++k) {
            std::size_t const below = y + k > reach ? y + k - reach : 0;
            std::size_t const row = below < picture.height ? below : picture.height - 1;
            rows[k] = memory + row % side * length;
        }
        weighRow<fused>(rows, weights, count, bands, picture.to + y * count);
    }
}

template <bool fused>
void convolveBands(HandConvolve::Picture const & picture, float const * weights, float * memory) {
    if (picture.bands == 1) {
        convolve<fused, 1>(picture, weights, memory);
    } else {
        convolve<fused, 3>(picture, weights, memory);
    }
}

#if defined(__FMA__)
constexpr HandConvolve::Convolve withFusion = convolveBands<true>;
#else
constexpr HandConvolve::Convolve withFusion = nullptr;
#endif

}  // namespace

extern HandConvolve const handConvolve = {convolveBands<false>, withFusion};

}  // namespace QEL_KERNEL_SET
