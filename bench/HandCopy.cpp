#include "HandCopy.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// Compiled once for each kernel set, with the options of the library's own kernels.

namespace QEL_KERNEL_SET {
namespace {

void split(std::uint8_t const * __restrict from, std::uint8_t * __restrict to, std::size_t band,
           std::size_t pixels) {
    std::uint8_t * __restrict const red = to;
    std::uint8_t * __restrict const green = to + band;
    std::uint8_t * __restrict const blue = to + 2 * band;
    for (std::size_t i = 0; i < pixels; ++i) {
        red[i] = from[3 * i];
        green[i] = from[3 * i + 1];
        blue[i] = from[3 * i + 2];
    }
}

void join(std::uint8_t const * __restrict from, std::uint8_t * __restrict to, std::size_t band,
          std::size_t pixels) {
    std::uint8_t const * __restrict const red = from;
    std::uint8_t const * __restrict const green = from + band;
    std::uint8_t const * __restrict const blue = from + 2 * band;
    for (std::size_t i = 0; i < pixels; ++i) {
        to[3 * i] = red[i];
        to[3 * i + 1] = green[i];
        to[3 * i + 2] = blue[i];
    }
}

void toFloat(std::uint8_t const * __restrict from, float * __restrict to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<float>(from[i]);
}

void toUChar(float const * __restrict from, std::uint8_t * __restrict to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bool const fits = from[i] >= -2147483648.0F && from[i] < 2147483648.0F;
        to[i] =
            static_cast<std::uint8_t>(static_cast<std::int32_t>(fits ? from[i] : -2147483648.0F));
    }
}

void splitToFloat(std::uint8_t const * __restrict from, float * __restrict to, std::size_t band,
                  std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        to[i] = static_cast<float>(from[3 * i]);
        to[i + band] = static_cast<float>(from[3 * i + 1]);
        to[i + 2 * band] = static_cast<float>(from[3 * i + 2]);
    }
}

#if defined(__AVX2__)

__m256i halves(std::uint8_t const * low, std::uint8_t const * high) {
    __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i_u const *>(low));
    __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i_u const *>(high));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(a), b, 1);
}

__m256i shuffled(__m256i a, __m128i pickA, __m256i b, __m128i pickB, __m256i c, __m128i pickC) {
    __m256i const ab = _mm256_or_si256(_mm256_shuffle_epi8(a, _mm256_broadcastsi128_si256(pickA)),
                                       _mm256_shuffle_epi8(b, _mm256_broadcastsi128_si256(pickB)));
    return _mm256_or_si256(ab, _mm256_shuffle_epi8(c, _mm256_broadcastsi128_si256(pickC)));
}

void store(std::uint8_t * to, __m256i vector) {
    _mm256_storeu_si256(reinterpret_cast<__m256i_u *>(to), vector);
}

void splitVectors(std::uint8_t const * from, std::uint8_t * to, std::size_t band,
                  std::size_t pixels) {
    __m128i const r0 = _mm_setr_epi8(0, 3, 6, 9, 12, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i const r1 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, 2, 5, 8, 11, 14, -1, -1, -1, -1, -1);
    __m128i const r2 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1, 4, 7, 10, 13);
    __m128i const g0 = _mm_setr_epi8(1, 4, 7, 10, 13, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i const g1 = _mm_setr_epi8(-1, -1, -1, -1, -1, 0, 3, 6, 9, 12, 15, -1, -1, -1, -1, -1);
    __m128i const g2 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 2, 5, 8, 11, 14);
    __m128i const b0 = _mm_setr_epi8(2, 5, 8, 11, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m128i const b1 = _mm_setr_epi8(-1, -1, -1, -1, -1, 1, 4, 7, 10, 13, -1, -1, -1, -1, -1, -1);
    __m128i const b2 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 3, 6, 9, 12, 15);
    std::size_t i = 0;
    for (; i + 32 <= pixels; i += 32) {
        std::uint8_t const * const p = from + 3 * i;
        __m256i const x = halves(p, p + 48);
        __m256i const y = halves(p + 16, p + 64);
        __m256i const z = halves(p + 32, p + 80);
        store(to + i, shuffled(x, r0, y, r1, z, r2));
        store(to + i + band, shuffled(x, g0, y, g1, z, g2));
        store(to + i + 2 * band, shuffled(x, b0, y, b1, z, b2));
    }
    split(from + 3 * i, to + i, band, pixels - i);
}

void joinVectors(std::uint8_t const * from, std::uint8_t * to, std::size_t band,
                 std::size_t pixels) {
    __m128i const r0 = _mm_setr_epi8(0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1, 5);
    __m128i const g0 = _mm_setr_epi8(-1, 0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1, -1);
    __m128i const b0 = _mm_setr_epi8(-1, -1, 0, -1, -1, 1, -1, -1, 2, -1, -1, 3, -1, -1, 4, -1);
    __m128i const r1 = _mm_setr_epi8(-1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10, -1);
    __m128i const g1 = _mm_setr_epi8(5, -1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1, 10);
    __m128i const b1 = _mm_setr_epi8(-1, 5, -1, -1, 6, -1, -1, 7, -1, -1, 8, -1, -1, 9, -1, -1);
    __m128i const r2 =
        _mm_setr_epi8(-1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1, -1);
    __m128i const g2 =
        _mm_setr_epi8(-1, -1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15, -1);
    __m128i const b2 =
        _mm_setr_epi8(10, -1, -1, 11, -1, -1, 12, -1, -1, 13, -1, -1, 14, -1, -1, 15);
    std::size_t i = 0;
    for (; i + 32 <= pixels; i += 32) {
        std::uint8_t const * const p = from + i;
        __m256i const r = _mm256_loadu_si256(reinterpret_cast<__m256i_u const *>(p));
        __m256i const g = _mm256_loadu_si256(reinterpret_cast<__m256i_u const *>(p + band));
        __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i_u const *>(p + 2 * band));
        __m256i const first = shuffled(r, r0, g, g0, b, b0);
        __m256i const second = shuffled(r, r1, g, g1, b, b1);
        __m256i const third = shuffled(r, r2, g, g2, b, b2);
        store(to + 3 * i, _mm256_permute2x128_si256(first, second, 0x20));
        store(to + 3 * i + 32, _mm256_permute2x128_si256(third, first, 0x30));
        store(to + 3 * i + 64, _mm256_permute2x128_si256(second, third, 0x31));
    }
    join(from + i, to + 3 * i, band, pixels - i);
}

void toFloatVectors(std::uint8_t const * from, float * to, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        __m128i const bytes = _mm_loadl_epi64(reinterpret_cast<__m128i_u const *>(from + i));
        _mm256_storeu_ps(to + i, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)));
    }
    toFloat(from + i, to + i, count - i);
}

__m256i lowBytes(float const * from) {
    return _mm256_and_si256(_mm256_cvttps_epi32(_mm256_loadu_ps(from)), _mm256_set1_epi32(255));
}

void toUCharVectors(float const * from, std::uint8_t * to, std::size_t count) {
    __m256i const order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        float const * const p = from + i;
        __m256i const ab = _mm256_packus_epi32(lowBytes(p), lowBytes(p + 8));
        __m256i const cd = _mm256_packus_epi32(lowBytes(p + 16), lowBytes(p + 24));
        store(to + i, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(ab, cd), order));
    }
    toUChar(from + i, to + i, count - i);
}

#elif defined(__SSE2__)

constexpr HandCopy::Split splitVectors = nullptr;
constexpr HandCopy::Split joinVectors = nullptr;
constexpr HandCopy::ToFloat toFloatVectors = nullptr;

__m128i lowBytes(float const * from) {
    return _mm_and_si128(_mm_cvttps_epi32(_mm_loadu_ps(from)), _mm_set1_epi32(255));
}

void toUCharVectors(float const * from, std::uint8_t * to, std::size_t count) {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        float const * const p = from + i;
        __m128i const ab = _mm_packs_epi32(lowBytes(p), lowBytes(p + 4));
        __m128i const cd = _mm_packs_epi32(lowBytes(p + 8), lowBytes(p + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i_u *>(to + i), _mm_packus_epi16(ab, cd));
    }
    toUChar(from + i, to + i, count - i);
}

#else

constexpr HandCopy::Split splitVectors = nullptr;
constexpr HandCopy::Split joinVectors = nullptr;
constexpr HandCopy::ToFloat toFloatVectors = nullptr;
constexpr HandCopy::ToUChar toUCharVectors = nullptr;

#endif

}  // namespace

extern HandCopy const handCopy = {split,       join,           toFloat,
                                  toUChar,     splitToFloat,   splitVectors,
                                  joinVectors, toFloatVectors, toUCharVectors};

}  // namespace QEL_KERNEL_SET
