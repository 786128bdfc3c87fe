// Compiled once for each kind of processor, see cmake/QelKernels.cmake. Nothing here may call an
// inline function of another header: the linker would keep one copy of it for the whole library,
// perhaps the one that older processors cannot run.

#include "QelCopyKernels.h"

#include <cstddef>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

// ---- Elements

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

constexpr std::uint32_t signBit = 0x80000000U;

// Does cutting it towards zero give 32 bits with a sign? Between the lowest of these and the next
// lower integer there are doubles, but no floats.
inline bool fitsSigned(float value) {
    return value >= -2147483648.0F && value < 2147483648.0F;
}
inline bool fitsSigned(double value) {
    return value > -2147483649.0 && value < 2147483648.0;
}

// Cut towards zero; signBit for what does not fit in 32 bits, and NaN. Selecting ahead of the
// conversion keeps it defined and lets compilers vectorise it.
template <class Real>
inline std::uint32_t selectedAndTruncated(Real value) {
    Real const chosen = fitsSigned(value) ? value : Real{-2147483648.0};
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(chosen));
}

// The same, but for 2^31 up to 2^32, which fit too.
template <class Real>
inline std::uint32_t truncatedUnsigned(Real value) {
    constexpr Real half = Real{2147483648.0};
    bool const upper = value >= half && value < Real{4294967296.0};
    // Exact, since both are of like size.
    Real const lowered = upper ? value - half : value;
    return selectedAndTruncated(lowered) ^ (upper ? signBit : 0U);
}

#if defined(__SSE2__)
// These processors' own instruction gives signBit for what does not fit.
inline std::uint32_t truncated(float value) {
    return static_cast<std::uint32_t>(_mm_cvttss_si32(_mm_set_ss(value)));
}

inline std::uint32_t truncated(double value) {
    return static_cast<std::uint32_t>(_mm_cvttsd_si32(_mm_set_sd(value)));
}
#else
template <class Real>
inline std::uint32_t truncated(Real value) {
    return selectedAndTruncated(value);
}
#endif

template <class Source, class Target>
constexpr bool truncates = std::is_floating_point<Source>::value && std::is_integral<Target>::value;

template <class Source, class Target>
inline Target converted(Source value) {
    if constexpr (!truncates<Source, Target>) {
        return static_cast<Target>(value);
    } else if constexpr (std::is_same<Target, std::uint32_t>::value) {
        return truncatedUnsigned(value);
    } else {
        return static_cast<Target>(truncated(value));
    }
}

// ---- Rows

// Moves up to twice the size of a block: everything is loaded before anything is stored.
template <class Block>
inline void moveEnds(std::uint8_t const * source, std::uint8_t * target, std::int64_t bytes) {
    constexpr std::int64_t size = sizeof(Block);
    Block const head = load<Block>(source);
    Block const tail = load<Block>(source + bytes - size);
    store<Block>(target, head);
    store<Block>(target + bytes - size, tail);
}

struct Bytes16 {
    std::uint64_t halves[2];
};

// Rows of small rectangles are shorter than a call is worth.
inline void moveBytes(std::uint8_t const * source, std::uint8_t * target, std::int64_t bytes) {
    if (bytes > 32) {
        __builtin_memmove(target, source, static_cast<std::size_t>(bytes));
    } else if (bytes >= 16) {
        moveEnds<Bytes16>(source, target, bytes);
    } else if (bytes >= 8) {
        moveEnds<std::uint64_t>(source, target, bytes);
    } else if (bytes >= 4) {
        moveEnds<std::uint32_t>(source, target, bytes);
    } else if (bytes >= 2) {
        moveEnds<std::uint16_t>(source, target, bytes);
    } else if (bytes == 1) {
        *target = *source;
    }
}

template <class Element>
void moveRow(std::uint8_t const * source, std::uint8_t * target, std::int64_t count) {
    moveBytes(source, target, count * static_cast<std::int64_t>(sizeof(Element)));
}

template <class Source, class Target>
void convertRow(std::uint8_t const * source, std::uint8_t * target, std::int64_t count) {
    constexpr std::int64_t sourceSize = sizeof(Source);
    constexpr std::int64_t targetSize = sizeof(Target);
    for (std::int64_t i = 0; i < count; ++i) {
        store(target + i * targetSize,
              converted<Source, Target>(load<Source>(source + i * sourceSize)));
    }
}

// ---- Rows of truncated numbers, in whole vectors

#if defined(__AVX2__)

using Vector = __m256i;

inline void storeVector(std::uint8_t * target, Vector vector) {
    _mm256_storeu_si256(reinterpret_cast<__m256i_u *>(target), vector);
}

inline Vector truncatedVector(float const * source) {
    return _mm256_cvttps_epi32(_mm256_loadu_ps(source));
}

inline Vector truncatedVector(double const * source) {
    __m128i const low = _mm256_cvttpd_epi32(_mm256_loadu_pd(source));
    __m128i const high = _mm256_cvttpd_epi32(_mm256_loadu_pd(source + 4));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

inline Vector lowWords(Vector a, Vector b) {
    Vector const mask = _mm256_set1_epi32(0xFFFF);
    Vector const ab = _mm256_packus_epi32(_mm256_and_si256(a, mask), _mm256_and_si256(b, mask));
    // Packing works on the halves of vectors apart.
    return _mm256_permute4x64_epi64(ab, 0xD8);
}

inline Vector lowBytes(Vector a, Vector b, Vector c, Vector d) {
    Vector const mask = _mm256_set1_epi32(0xFF);
    Vector const ab = _mm256_packus_epi32(_mm256_and_si256(a, mask), _mm256_and_si256(b, mask));
    Vector const cd = _mm256_packus_epi32(_mm256_and_si256(c, mask), _mm256_and_si256(d, mask));
    return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(ab, cd),
                                       _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

#elif defined(__SSE2__)

using Vector = __m128i;

inline void storeVector(std::uint8_t * target, Vector vector) {
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(target), vector);
}

inline Vector truncatedVector(float const * source) {
    return _mm_cvttps_epi32(_mm_loadu_ps(source));
}

inline Vector truncatedVector(double const * source) {
    Vector const low = _mm_cvttpd_epi32(_mm_loadu_pd(source));
    Vector const high = _mm_cvttpd_epi32(_mm_loadu_pd(source + 2));
    return _mm_unpacklo_epi64(low, high);
}

// Packing saturates numbers with signs, so words are made to fit first.
inline Vector signedWord(Vector words) {
    return _mm_srai_epi32(_mm_slli_epi32(words, 16), 16);
}

inline Vector lowWords(Vector a, Vector b) {
    return _mm_packs_epi32(signedWord(a), signedWord(b));
}

inline Vector lowBytes(Vector a, Vector b, Vector c, Vector d) {
    Vector const mask = _mm_set1_epi32(0xFF);
    Vector const ab = _mm_packs_epi32(_mm_and_si128(a, mask), _mm_and_si128(b, mask));
    Vector const cd = _mm_packs_epi32(_mm_and_si128(c, mask), _mm_and_si128(d, mask));
    return _mm_packus_epi16(ab, cd);
}

#endif

#if defined(__SSE2__)
// A vector of targets.
template <class Target, class Source>
inline Vector packed(Source const * source) {
    constexpr std::int64_t lanes = sizeof(Vector) / 4;
    auto const part = [=](int i) { return truncatedVector(source + i * lanes); };
    if constexpr (sizeof(Target) == 1) {
        return lowBytes(part(0), part(1), part(2), part(3));
    } else if constexpr (sizeof(Target) == 2) {
        return lowWords(part(0), part(1));
    } else {
        return part(0);
    }
}

template <class Source, class Target>
void truncateRow(std::uint8_t const * source, std::uint8_t * target, std::int64_t count) {
    constexpr std::int64_t step = sizeof(Vector) / sizeof(Target);
    for (; count >= step; count -= step) {
        // The vectors' own loads do not mind where the numbers lie.
        storeVector(target, packed<Target>(reinterpret_cast<Source const *>(source)));
        source += step * static_cast<std::int64_t>(sizeof(Source));
        target += sizeof(Vector);
    }
    convertRow<Source, Target>(source, target, count);
}
#else
template <class Source, class Target>
constexpr QelCopyRow truncateRow = convertRow<Source, Target>;
#endif

template <class Source, class Target>
constexpr QelCopyRow chooseRow() {
    if constexpr (std::is_same<Source, Target>::value) return moveRow<Source>;
    // Truncation to unsigned 32 bits is more than one instruction, and left to the compiler.
    constexpr bool wide = std::is_same<Target, std::uint32_t>::value;
    if constexpr (truncates<Source, Target> && !wide) return truncateRow<Source, Target>;
    return convertRow<Source, Target>;
}

// ---- Loop shapes

// Where a walk has come to.
struct Place {
    std::uint8_t const * source;
    std::uint8_t * target;
};

constexpr bool addsSource1(int shape) {
    return (shape & 1) != 0;
}
constexpr bool addsSource2(int shape) {
    return (shape & 2) != 0;
}
constexpr bool addsTarget1(int shape) {
    return (shape & 4) != 0;
}
constexpr bool addsTarget2(int shape) {
    return (shape & 8) != 0;
}

template <int shape>
inline void addGap1(Place & place, QelCopyLoops const & loops) {
    if constexpr (addsSource1(shape)) place.source += loops.sourceGap1;
    if constexpr (addsTarget1(shape)) place.target += loops.targetGap1;
}

template <int shape>
inline void addGap2(Place & place, QelCopyLoops const & loops) {
    if constexpr (addsSource2(shape)) place.source += loops.sourceGap2;
    if constexpr (addsTarget2(shape)) place.target += loops.targetGap2;
}

// The levels that a shape has; `row` moves `place` behind the elements that it has handled. Levels
// without a gap melt into the one inside.
template <int shape, class Row>
inline void walk(Place place, QelCopyLoops const & loops, Row const & row) {
    constexpr bool hasMiddle = addsSource1(shape) || addsTarget1(shape);
    constexpr bool hasOuter = addsSource2(shape) || addsTarget2(shape);
    std::int64_t const outer = hasOuter ? loops.outer : 1;
    std::int64_t const middle = !hasMiddle ? 1
                                : hasOuter ? loops.middle
                                           : loops.middle * loops.outer;
    std::int64_t const inner =
        loops.inner * (hasMiddle ? 1 : loops.middle) * (hasMiddle || hasOuter ? 1 : loops.outer);
    for (std::int64_t k = 0; k < outer; ++k) {
        for (std::int64_t j = 0; j < middle; ++j) {
            row(place, inner);
            addGap1<shape>(place, loops);
        }
        addGap2<shape>(place, loops);
    }
}

// Keeps compilers from making vectors of elements that lie apart: that gains next to nothing and
// takes five times the code in each of hundreds of loops.
inline void hide(std::uint8_t const *& address) {
    __asm__("" : "+r"(address));
}

template <class Source, class Target, int shape>
void walkElements(std::uint8_t const * source, std::uint8_t * target, QelCopyLoops const & loops) {
    std::int64_t const sourceStep = loops.sourceStep;
    std::int64_t const targetStep = loops.targetStep;
    walk<shape>({source, target}, loops, [=](Place & place, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) {
            store(place.target, converted<Source, Target>(load<Source>(place.source)));
            place.source += sourceStep;
            place.target += targetStep;
            hide(place.source);
        }
    });
}

template <int shape>
void walkRows(QelCopyRoutine const & routine, std::uint8_t const * source, std::uint8_t * target,
              QelCopyLoops const & loops) {
    QelCopyRow const copyRow = routine.row;
    std::int64_t const sourceSize = routine.sourceSize;
    std::int64_t const targetSize = routine.targetSize;
    walk<shape>({source, target}, loops, [=](Place & place, std::int64_t count) {
        copyRow(place.source, place.target, count);
        place.source += sourceSize * count;
        place.target += targetSize * count;
    });
}

// ---- Bands

#if defined(__SSSE3__)

// Where 16 pixels of three bytes, in three vectors, have their bytes: for each of these vectors and
// each band, which byte of the one goes to which byte of the other; 0x80 leaves 0.
struct Picks {
    alignas(16) std::uint8_t bytes[3][3][16];

    __m128i operator()(int vector, int band) const {
        return _mm_load_si128(reinterpret_cast<__m128i const *>(bytes[vector][band]));
    }
};

constexpr Picks splitPicks() {
    Picks picks{};
    for (int i = 0; i < 3 * 3 * 16; ++i)
        picks.bytes[i / 48][i / 16 % 3][i % 16] = 0x80;
    for (int i = 0; i < 48; ++i) {
        picks.bytes[i / 16][i % 3][i / 3] = static_cast<std::uint8_t>(i % 16);
    }
    return picks;
}

constexpr Picks joinPicks() {
    Picks picks{};
    for (int i = 0; i < 3 * 3 * 16; ++i)
        picks.bytes[i / 48][i / 16 % 3][i % 16] = 0x80;
    for (int i = 0; i < 48; ++i) {
        picks.bytes[i / 16][i % 3][i % 16] = static_cast<std::uint8_t>(i / 3);
    }
    return picks;
}

inline __m128i loadVector16(std::uint8_t const * source) {
    return _mm_loadu_si128(reinterpret_cast<__m128i_u const *>(source));
}

inline void storeVector16(std::uint8_t * target, __m128i vector) {
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(target), vector);
}

inline __m128i gathered(__m128i const (&parts)[3], __m128i const (&picks)[3]) {
    return _mm_or_si128(
        _mm_or_si128(_mm_shuffle_epi8(parts[0], picks[0]), _mm_shuffle_epi8(parts[1], picks[1])),
        _mm_shuffle_epi8(parts[2], picks[2]));
}

// These return how many pixels they have done.

inline std::int64_t splitTriples(std::uint8_t const * source, std::uint8_t * target,
                                 std::int64_t bandStep, std::int64_t pixels) {
    static constexpr Picks from = splitPicks();
    __m128i const picks[3][3] = {{from(0, 0), from(1, 0), from(2, 0)},
                                 {from(0, 1), from(1, 1), from(2, 1)},
                                 {from(0, 2), from(1, 2), from(2, 2)}};
    std::int64_t done = 0;
    for (; done + 16 <= pixels; done += 16) {
        std::uint8_t const * const triples = source + 3 * done;
        __m128i const parts[3] = {loadVector16(triples), loadVector16(triples + 16),
                                  loadVector16(triples + 32)};
        for (int band = 0; band < 3; ++band) {
            storeVector16(target + band * bandStep + done, gathered(parts, picks[band]));
        }
    }
    return done;
}

inline std::int64_t joinTriples(std::uint8_t const * source, std::uint8_t * target,
                                std::int64_t bandStep, std::int64_t pixels) {
    static constexpr Picks from = joinPicks();
    __m128i const picks[3][3] = {{from(0, 0), from(0, 1), from(0, 2)},
                                 {from(1, 0), from(1, 1), from(1, 2)},
                                 {from(2, 0), from(2, 1), from(2, 2)}};
    std::int64_t done = 0;
    for (; done + 16 <= pixels; done += 16) {
        std::uint8_t const * const row = source + done;
        __m128i const parts[3] = {loadVector16(row), loadVector16(row + bandStep),
                                  loadVector16(row + 2 * bandStep)};
        for (int i = 0; i < 3; ++i) {
            storeVector16(target + 3 * done + 16 * i, gathered(parts, picks[i]));
        }
    }
    return done;
}

#else

inline std::int64_t splitTriples(std::uint8_t const *, std::uint8_t *, std::int64_t, std::int64_t) {
    return 0;
}

inline std::int64_t joinTriples(std::uint8_t const *, std::uint8_t *, std::int64_t, std::int64_t) {
    return 0;
}

#endif

template <class Element, int bands>
void splitRow(std::uint8_t const * __restrict source, std::uint8_t * __restrict target,
              std::int64_t bandStep, std::int64_t pixels) {
    constexpr std::int64_t size = sizeof(Element);
    constexpr bool triples = size == 1 && bands == 3;
    std::int64_t i = triples ? splitTriples(source, target, bandStep, pixels) : 0;
    for (; i < pixels; ++i) {
        for (int band = 0; band < bands; ++band) {
            store(target + band * bandStep + i * size,
                  load<Element>(source + (i * bands + band) * size));
        }
    }
}

template <class Element, int bands>
void joinRow(std::uint8_t const * __restrict source, std::uint8_t * __restrict target,
             std::int64_t bandStep, std::int64_t pixels) {
    constexpr std::int64_t size = sizeof(Element);
    constexpr bool triples = size == 1 && bands == 3;
    std::int64_t i = triples ? joinTriples(source, target, bandStep, pixels) : 0;
    // As a loop of a few instructions its speed would hang on where the linker puts it.
#pragma GCC unroll 4
    for (; i < pixels; ++i) {
        for (int band = 0; band < bands; ++band) {
            store(target + (i * bands + band) * size,
                  load<Element>(source + band * bandStep + i * size));
        }
    }
}

// ---- Tables

template <std::size_t size>
struct UnsignedOf;
template <>
struct UnsignedOf<1> {
    using Type = std::uint8_t;
};
template <>
struct UnsignedOf<2> {
    using Type = std::uint16_t;
};
template <>
struct UnsignedOf<4> {
    using Type = std::uint32_t;
};
template <>
struct UnsignedOf<8> {
    using Type = std::uint64_t;
};

template <class T>
using Bits = typename UnsignedOf<sizeof(T)>::Type;

template <class Source, class Target, int... shapes>
constexpr QelCopyRoutine makeRoutine(std::integer_sequence<int, shapes...>) {
    constexpr bool moves = std::is_same<Source, Target>::value;
    return {sizeof(Source),
            sizeof(Target),
            moves,
            chooseRow<Source, Target>(),
            {walkElements<Source, Target, shapes>...}};
}

template <class Source, class Target>
constexpr QelCopyRoutine routine =
    makeRoutine<Source, Target>(std::make_integer_sequence<int, QelCopyLoops::shapes>());

// Pairs of types share a routine where signs make no difference: in what is moved, what loses its
// high bytes, and what is stored as an integer no wider than 32 bits.
template <class Source, class Target>
constexpr QelCopyRoutine const * chooseRoutine() {
    constexpr bool sourceIsReal = std::is_floating_point<Source>::value;
    constexpr bool targetIsReal = std::is_floating_point<Target>::value;
    if constexpr (std::is_same<Source, Target>::value) {
        return &routine<Bits<Source>, Bits<Target>>;
    } else if constexpr (!sourceIsReal && !targetIsReal && sizeof(Source) >= sizeof(Target)) {
        return &routine<Bits<Source>, Bits<Target>>;
    } else if constexpr (!targetIsReal && !(sourceIsReal && sizeof(Target) == 4)) {
        return &routine<Source, Bits<Target>>;
    } else {
        return &routine<Source, Target>;
    }
}

// The element types in the order of their codes in QelDataType.
template <class... Elements>
struct ElementList {
    template <class Source>
    static constexpr void fillRow(QelCopyRoutine const * (&row)[QelCopyKernels::types]) {
        int i = 0;
        ((row[i++] = chooseRoutine<Source, Elements>()), ...);
    }
    static constexpr void fill(QelCopyKernels & kernels) {
        int i = 0;
        (fillRow<Elements>(kernels.routines[i++]), ...);
    }
};

using Elements = ElementList<std::uint8_t, std::int16_t, std::int32_t, float, double, std::uint16_t,
                             std::int8_t, std::uint32_t>;

template <class... Movables>
constexpr void fillMoves(QelCopyKernels & kernels) {
    int i = 0;
    ((kernels.moves[i++] = &routine<Movables, Movables>), ...);
    i = 0;
    ((kernels.splits[i][0] = splitRow<Movables, 2>, kernels.splits[i][1] = splitRow<Movables, 3>,
      kernels.splits[i++][2] = splitRow<Movables, 4>),
     ...);
    i = 0;
    ((kernels.joins[i][0] = joinRow<Movables, 2>, kernels.joins[i][1] = joinRow<Movables, 3>,
      kernels.joins[i++][2] = joinRow<Movables, 4>),
     ...);
}

template <int... shapes>
constexpr void fillRowWalks(QelCopyKernels & kernels, std::integer_sequence<int, shapes...>) {
    ((kernels.rowWalks[shapes] = walkRows<shapes>), ...);
}

constexpr QelCopyKernels makeKernels() {
    QelCopyKernels kernels{};
    Elements::fill(kernels);
    fillMoves<std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>(kernels);
    fillRowWalks(kernels, std::make_integer_sequence<int, QelCopyLoops::shapes>());
    return kernels;
}

}  // namespace

constexpr QelCopyKernels qelCopy::QEL_KERNEL_SET::kernels = makeKernels();
