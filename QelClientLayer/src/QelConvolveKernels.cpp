// Compiled once for each kind of processor, see cmake/QelKernels.cmake. Nothing here may call an
// inline function of another header: the linker would keep one copy of it for the whole library,
// perhaps the one that older processors cannot run.

#include "QelConvolveKernels.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "QelKernelElements.h"

namespace qelOps::QEL_KERNEL_SET {
namespace {

// ---- Memory

// Rows are this many elements longer than needed, so that loops can process whole blocks.
constexpr std::int64_t block = 64;

// Hands out pieces of the workspace.
class Arena {
  public:
    explicit Arena(std::uint8_t * memory) : next_(memory) {}

    template <class T>
    T * take(std::int64_t count) {
        T * const taken = reinterpret_cast<T *>(next_);
        next_ += (count * std::int64_t{sizeof(T)} + 7) / 8 * 8;
        return taken;
    }

  private:
    std::uint8_t * next_;
};

inline std::int64_t taps(QelConvolvePlan const & plan) {
    return 2 * std::int64_t{plan.reach} + 1;
}

// Elements of a row with its neighbours on both sides, and one more pixel, which is also read when
// an odd number of weights is taken in pairs.
inline std::int64_t paddedSize(std::int64_t count, std::int64_t spread,
                               QelConvolvePlan const & plan) {
    return count + (taps(plan) + 1) * spread + block;
}

// Elements of a row that are convolved at once: their neighbours then all fit in a near cache, and
// a row of any length needs no more memory than this. They are whole pixels.
inline std::int64_t stripSize(std::int64_t count, std::int64_t spread,
                              QelConvolvePlan const & plan) {
    constexpr std::int64_t usual = 2048;
    std::int64_t const rims = 4 * plan.reach * spread;
    std::int64_t const strip = ((rims > usual ? rims : usual) + spread - 1) / spread * spread;
    return strip < count ? strip : count;
}

std::size_t bytesNeeded(std::int64_t count, std::int64_t spread, QelConvolvePlan const & plan) {
    constexpr std::int64_t widest = sizeof(double);
    constexpr std::int64_t tap = 3 * sizeof(double);
    std::int64_t const rows = taps(plan) + 4;
    std::int64_t const strip = stripSize(count, spread, plan);
    std::int64_t const row = paddedSize(strip, spread, plan) * widest + widest;
    std::int64_t const mostTaps = plan.separable ? taps(plan) : taps(plan) * taps(plan);
    return static_cast<std::size_t>(rows * row + (mostTaps + taps(plan)) * tap);
}

// ---- Rows

// A row of the source as numbers of type Work, with the outermost pixels repeated where there are
// no neighbours.
template <class T, class Work>
inline void padRow(std::uint8_t const * row, QelPixelNeighbours const & pixels, std::int64_t reach,
                   Work * __restrict to) {
    std::int64_t const spread = pixels.spread;
    std::int64_t const step = pixels.rows.fromStep;
    std::int64_t const count = pixels.rows.count + (pixels.left + pixels.right) * spread;
    std::uint8_t const * const from = row - pixels.left * spread * step;
    Work * const first = to + (reach - pixels.left) * spread;
    Work * const end = to + pixels.rows.count + (2 * reach + 1) * spread;
    constexpr std::int64_t size = sizeof(T);
    if (step == size) {
        for (std::int64_t i = 0; i < count; ++i)
            first[i] = static_cast<Work>(load<T>(from + i * size));
    } else {
        for (std::int64_t i = 0; i < count; ++i)
            first[i] = static_cast<Work>(load<T>(from + i * step));
    }
    for (Work * at = first; at != to; --at)
        at[-1] = at[spread - 1];
    for (Work * at = first + count; at != end; ++at)
        *at = at[-spread];
}

// Goes through the rows of the result. `enter(slot, row)` is called once for each row of the
// source, with a slot that belongs to the row as long as it is needed; `finish(y, slotOf)` makes a
// row of the result from the slots of its neighbours, slotOf(-reach) to slotOf(reach).
template <class Enter, class Finish>
inline void eachRow(QelPixelNeighbours const & pixels, std::int64_t reach, Enter const & enter,
                    Finish const & finish) {
    std::int64_t const slots = 2 * reach + 1;
    std::int64_t const first = -pixels.above;
    std::int64_t const last = pixels.rows.rows - 1 + pixels.below;
    std::int64_t next = first;
    for (std::int64_t y = 0; y < pixels.rows.rows; ++y) {
        for (; next <= last && next <= y + reach; ++next)
            enter((next - first) % slots, pixels.rows.from + next * pixels.rows.fromLine);
        finish(y, [&](std::int64_t dy) {
            std::int64_t const row = y + dy;
            return ((row < first ? first : (row > last ? last : row)) - first) % slots;
        });
    }
}

// ---- Sums of real numbers

#if defined(__AVX__)
constexpr int vectorBytes = 32;
#else
constexpr int vectorBytes = 16;
#endif

template <class Real>
struct Vector {
    typedef Real Type __attribute__((vector_size(vectorBytes)));
    static constexpr int lanes = vectorBytes / static_cast<int>(sizeof(Real));
};

template <class Real>
struct Tap {
    Real const * from;
    Real weight;
};

template <class V, class Real>
inline V vectorAt(Real const * from) {
    return load<V>(reinterpret_cast<std::uint8_t const *>(from));
}

template <class V, class Real>
inline void storeVector(Real * to, V value) {
    store<V>(reinterpret_cast<std::uint8_t *>(to), value);
}

// sums[i] = the sum of weight * from[i] over all taps, in their order.
template <class Real>
inline void sumTaps(Tap<Real> const * taps, std::int64_t tapCount, std::int64_t count,
                    Real * sums) {
    using V = typename Vector<Real>::Type;
    constexpr int lanes = Vector<Real>::lanes;
    for (std::int64_t i = 0; i < count; i += 4 * lanes) {
        V a{}, b{}, c{}, d{};
        for (std::int64_t t = 0; t < tapCount; ++t) {
            Real const * const from = taps[t].from + i;
            V const weight = taps[t].weight - V{};
            a += vectorAt<V>(from) * weight;
            b += vectorAt<V>(from + lanes) * weight;
            c += vectorAt<V>(from + 2 * lanes) * weight;
            d += vectorAt<V>(from + 3 * lanes) * weight;
        }
        storeVector(sums + i, a);
        storeVector(sums + i + lanes, b);
        storeVector(sums + i + 2 * lanes, c);
        storeVector(sums + i + 3 * lanes, d);
    }
}

template <class T, class Real>
inline void finishReal(QelPixelNeighbours const & pixels, std::int64_t y, double centre,
                       Real const * sums) {
    QelPixelRows const & rows = pixels.rows;
    std::uint8_t const * const from = rows.from + y * rows.fromLine;
    std::uint8_t * const to = rows.to + y * rows.toLine;
    Real const weight = static_cast<Real>(centre);
    for (std::int64_t i = 0; i < rows.count; ++i) {
        Real sum = sums[i];
        if (centre != 0) sum += weight * static_cast<Real>(load<T>(from + i * rows.fromStep));
        if constexpr (isReal<T>) {
            store<T>(to + i * rows.toStep, sum);
        } else {
            store<T>(to + i * rows.toStep, limited<T>(sum));
        }
    }
}

template <class T>
inline void convolveReal(QelPixelNeighbours const & pixels, QelConvolvePlan const & plan,
                         std::uint8_t * workspace) {
    using Real = RealOf<T>;
    Arena arena(workspace);
    std::int64_t const size = taps(plan);
    std::int64_t const spread = pixels.spread;
    std::int64_t const length = paddedSize(pixels.rows.count, spread, plan);
    Real * const ring = arena.take<Real>(size * length);
    Real * const padded = arena.take<Real>(length);
    Real * const sums = arena.take<Real>(length);
    Tap<Real> * const tap = arena.take<Tap<Real>>(plan.separable ? size : size * size);
    eachRow(
        pixels, plan.reach,
        [&](std::int64_t slot, std::uint8_t const * row) {
            Real * const to = ring + slot * length;
            padRow<T>(row, pixels, plan.reach, plan.separable ? padded : to);
            if (!plan.separable) return;
            for (std::int64_t i = 0; i < size; ++i)
                tap[i] = {padded + i * spread, static_cast<Real>(plan.weights[i])};
            sumTaps(tap, size, pixels.rows.count, to);
        },
        [&](std::int64_t y, auto const & slotOf) {
            std::int64_t const width = plan.separable ? 1 : size;
            double const * weight = plan.weights + (plan.separable ? size : 0);
            Tap<Real> * next = tap;
            for (std::int64_t dy = 0; dy < size; ++dy) {
                Real const * const row = ring + slotOf(dy - plan.reach) * length;
                for (std::int64_t dx = 0; dx < width; ++dx)
                    *next++ = {row + dx * spread, static_cast<Real>(*weight++)};
            }
            sumTaps(tap, next - tap, pixels.rows.count, sums);
            finishReal<T>(pixels, y, plan.centre, sums);
        });
}

// ---- Sums of elements of 8 bits in fixed point

// Two neighbours of an element, or two weights, in the halves of 32 bits: processors multiply
// both pairs and add the products in one instruction.
inline std::int32_t pairOf(std::int32_t low, std::int32_t high) {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(high) << 16) |
                                     (static_cast<std::uint32_t>(low) & 0xffffU));
}

// Vectors of `count` sums or pairs, and Halves of twice as many elements of 16 bits.
//
// interleave() pairs the elements of two rows. `low` and `high` hold the pairs in the order in
// which interleavedHalves() takes their sums; halves() takes sums in the order of the elements.
// Both shift them right first and saturate.
#if defined(__AVX2__)

struct Lanes {
    using V = __m256i;
    using Halves = __m256i;
    static constexpr int count = 8;
    static V all(std::int32_t value) { return _mm256_set1_epi32(value); }
    static V at(void const * from) {
        return _mm256_loadu_si256(static_cast<__m256i_u const *>(from));
    }
    static void put(void * to, V value) {
        _mm256_storeu_si256(static_cast<__m256i_u *>(to), value);
    }
    static V plusProducts(V sum, V pairs, V weights) {
        return _mm256_add_epi32(sum, _mm256_madd_epi16(pairs, weights));
    }
    static void interleave(std::int16_t const * first, std::int16_t const * second, V & low,
                           V & high) {
        V const a = at(first);
        V const b = at(second);
        low = _mm256_unpacklo_epi16(a, b);
        high = _mm256_unpackhi_epi16(a, b);
    }
    static void putPairs(std::int32_t * to, V low, V high) {
        put(to, _mm256_permute2x128_si256(low, high, 0x20));
        put(to + count, _mm256_permute2x128_si256(low, high, 0x31));
    }
    static Halves interleavedHalves(V low, V high, std::int32_t shift) {
        __m128i const by = _mm_cvtsi32_si128(shift);
        return _mm256_packs_epi32(_mm256_sra_epi32(low, by), _mm256_sra_epi32(high, by));
    }
    static Halves halves(V a, V b, std::int32_t shift) {
        return _mm256_permute4x64_epi64(interleavedHalves(a, b, shift), 0xd8);
    }
    // x + 0x8000, saturated at the top, then at the bottom.
    static Halves clamped(Halves x, std::uint16_t const * clamp) {
        auto const all16 = [](std::uint16_t value) {
            return _mm256_set1_epi16(static_cast<std::int16_t>(value));
        };
        x = _mm256_adds_epu16(_mm256_add_epi16(x, all16(clamp[0])), all16(clamp[1]));
        return _mm256_add_epi16(_mm256_subs_epu16(x, all16(clamp[2])), all16(clamp[3]));
    }
    template <class T>
    static void putBytes(std::uint8_t * to, Halves x, Halves y) {
        V const bytes = T(-1) < T(0) ? _mm256_packs_epi16(x, y) : _mm256_packus_epi16(x, y);
        put(to, _mm256_permute4x64_epi64(bytes, 0xd8));
    }
};

#elif defined(__SSE2__)

struct Lanes {
    using V = __m128i;
    using Halves = __m128i;
    static constexpr int count = 4;
    static V all(std::int32_t value) { return _mm_set1_epi32(value); }
    static V at(void const * from) { return _mm_loadu_si128(static_cast<__m128i_u const *>(from)); }
    static void put(void * to, V value) { _mm_storeu_si128(static_cast<__m128i_u *>(to), value); }
    static V plusProducts(V sum, V pairs, V weights) {
        return _mm_add_epi32(sum, _mm_madd_epi16(pairs, weights));
    }
    static void interleave(std::int16_t const * first, std::int16_t const * second, V & low,
                           V & high) {
        V const a = at(first);
        V const b = at(second);
        low = _mm_unpacklo_epi16(a, b);
        high = _mm_unpackhi_epi16(a, b);
    }
    static void putPairs(std::int32_t * to, V low, V high) {
        put(to, low);
        put(to + count, high);
    }
    static Halves interleavedHalves(V low, V high, std::int32_t shift) {
        __m128i const by = _mm_cvtsi32_si128(shift);
        return _mm_packs_epi32(_mm_sra_epi32(low, by), _mm_sra_epi32(high, by));
    }
    static Halves halves(V a, V b, std::int32_t shift) { return interleavedHalves(a, b, shift); }
    static Halves clamped(Halves x, std::uint16_t const * clamp) {
        auto const all16 = [](std::uint16_t value) {
            return _mm_set1_epi16(static_cast<std::int16_t>(value));
        };
        x = _mm_adds_epu16(_mm_add_epi16(x, all16(clamp[0])), all16(clamp[1]));
        return _mm_add_epi16(_mm_subs_epu16(x, all16(clamp[2])), all16(clamp[3]));
    }
    template <class T>
    static void putBytes(std::uint8_t * to, Halves x, Halves y) {
        put(to, T(-1) < T(0) ? _mm_packs_epi16(x, y) : _mm_packus_epi16(x, y));
    }
};

#else

struct Lanes {
    using V = std::int32_t;
    struct Halves {
        std::int32_t first;
        std::int32_t second;
    };
    static constexpr int count = 1;
    static V all(std::int32_t value) { return value; }
    static V at(std::int32_t const * from) { return *from; }
    static std::int32_t low16(V pair) { return static_cast<std::int16_t>(pair & 0xffff); }
    static V plusProducts(V sum, V pair, V weights) {
        return sum + low16(pair) * low16(weights) + (pair >> 16) * (weights >> 16);
    }
    static void interleave(std::int16_t const * first, std::int16_t const * second, V & low,
                           V & high) {
        low = pairOf(first[0], second[0]);
        high = pairOf(first[1], second[1]);
    }
    static void putPairs(std::int32_t * to, V low, V high) {
        to[0] = low;
        to[1] = high;
    }
    static std::int32_t limited16(std::int32_t value) {
        value = value < 32767 ? value : 32767;
        return value > -32768 ? value : -32768;
    }
    static Halves interleavedHalves(V low, V high, std::int32_t shift) {
        return {limited16(low >> shift), limited16(high >> shift)};
    }
    static Halves halves(V a, V b, std::int32_t shift) { return interleavedHalves(a, b, shift); }
    static std::int32_t clamped(std::int32_t x, std::uint16_t const * clamp) {
        std::int32_t lane = ((x + clamp[0]) & 0xffff) + clamp[1];
        lane = (lane < 0xffff ? lane : 0xffff) - clamp[2];
        return (lane > 0 ? lane : 0) + clamp[3];
    }
    static Halves clamped(Halves x, std::uint16_t const * clamp) {
        return {clamped(x.first, clamp), clamped(x.second, clamp)};
    }
    static void put(std::int16_t * to, Halves x) {
        to[0] = static_cast<std::int16_t>(x.first);
        to[1] = static_cast<std::int16_t>(x.second);
    }
    template <class T>
    static void putBytes(std::uint8_t * to, Halves x, Halves y) {
        to[0] = static_cast<std::uint8_t>(x.first);
        to[1] = static_cast<std::uint8_t>(x.second);
        to[2] = static_cast<std::uint8_t>(y.first);
        to[3] = static_cast<std::uint8_t>(y.second);
    }
};

#endif

// Elements that are summed at once.
constexpr std::int64_t atOnce = 4 * Lanes::count;
static_assert(atOnce <= block);

// Half of what a shift drops: added before the shift, so that it rounds to the nearest.
inline std::int32_t halfOf(std::int32_t shift) {
    return shift > 0 ? std::int32_t{1} << (shift - 1) : 0;
}

struct PairTap {
    std::int32_t const * from;
    std::int32_t weights;
};

// The sums of both products of from[i] over all taps, rounded, without `shift` bits: calls
// use(i, first half, second half) for each `atOnce` elements.
template <class Use>
inline void sumPairs(PairTap const * taps, std::int64_t tapCount, std::int64_t count,
                     std::int32_t shift, Use const & use) {
    constexpr int lanes = Lanes::count;
    for (std::int64_t i = 0; i < count; i += atOnce) {
        Lanes::V a = Lanes::all(halfOf(shift)), b = a, c = a, d = a;
        for (std::int64_t t = 0; t < tapCount; ++t) {
            std::int32_t const * const from = taps[t].from + i;
            Lanes::V const weights = Lanes::all(taps[t].weights);
            a = Lanes::plusProducts(a, Lanes::at(from), weights);
            b = Lanes::plusProducts(b, Lanes::at(from + lanes), weights);
            c = Lanes::plusProducts(c, Lanes::at(from + 2 * lanes), weights);
            d = Lanes::plusProducts(d, Lanes::at(from + 3 * lanes), weights);
        }
        use(i, Lanes::halves(a, b, shift), Lanes::halves(c, d, shift));
    }
}

// Each element of a padded row beside the same element of the next pixel.
inline void pairRow(std::int16_t const * padded, std::int64_t size, std::int64_t spread,
                    std::int32_t * pairs) {
    for (std::int64_t i = 0; i < size; i += 2 * Lanes::count) {
        Lanes::V low, high;
        Lanes::interleave(padded + i, padded + i + spread, low, high);
        Lanes::putPairs(pairs + i, low, high);
    }
}

// The taps of a row of weights, without pairs of zeros; returns the end.
inline PairTap * pairTaps(std::int32_t const * row, std::int64_t spread,
                          std::int32_t const * weights, std::int64_t size, PairTap * to) {
    for (std::int64_t i = 0; i < size; i += 2) {
        std::int32_t const pair = pairOf(weights[i], i + 1 < size ? weights[i + 1] : 0);
        if (pair != 0) *to++ = {row + i * spread, pair};
    }
    return to;
}

// A row of the result, limited to the range of T.
template <class T>
class SmallRow {
  public:
    SmallRow(QelPixelRows const & rows, QelConvolvePlan const & plan, std::int64_t y)
        : to_(rows.to + y * rows.toLine),
          step_(rows.toStep),
          count_(rows.count),
          clamp_(plan.clamp) {}

    // The elements from `i` on, `atOnce` of them or as many as there are.
    void put(std::int64_t i, Lanes::Halves x, Lanes::Halves y) const {
        x = Lanes::clamped(x, clamp_);
        y = Lanes::clamped(y, clamp_);
        std::int64_t const left = count_ - i;
        if (step_ == 1 && left >= atOnce) {
            Lanes::putBytes<T>(to_ + i, x, y);
            return;
        }
        std::uint8_t bytes[atOnce];
        Lanes::putBytes<T>(bytes, x, y);
        for (std::int64_t k = 0; k < (left < atOnce ? left : atOnce); ++k)
            to_[(i + k) * step_] = bytes[k];
    }

  private:
    std::uint8_t * to_;
    std::int64_t step_;
    std::int64_t count_;
    std::uint16_t const * clamp_;
};

template <class T>
inline void convolveSmall(QelPixelNeighbours const & pixels, QelConvolvePlan const & plan,
                          std::uint8_t * workspace) {
    Arena arena(workspace);
    std::int64_t const size = taps(plan);
    std::int64_t const spread = pixels.spread;
    std::int64_t const length = paddedSize(pixels.rows.count, spread, plan);
    std::int64_t const pairs = pixels.rows.count + 2 * plan.reach * spread;
    std::int32_t * const ring = arena.take<std::int32_t>(size * length);
    std::int16_t * const padded = arena.take<std::int16_t>(length);
    PairTap * const tap = arena.take<PairTap>(size * size);
    eachRow(
        pixels, plan.reach,
        [&](std::int64_t slot, std::uint8_t const * row) {
            padRow<T>(row, pixels, plan.reach, padded);
            pairRow(padded, pairs, spread, ring + slot * length);
        },
        [&](std::int64_t y, auto const & slotOf) {
            PairTap * next = tap;
            for (std::int64_t dy = 0; dy < size; ++dy) {
                next = pairTaps(ring + slotOf(dy - plan.reach) * length, spread,
                                plan.integers + dy * size, size, next);
            }
            SmallRow<T> const to(pixels.rows, plan, y);
            sumPairs(tap, next - tap, pixels.rows.count, plan.shift,
                     [&](std::int64_t i, Lanes::Halves first, Lanes::Halves second) {
                         to.put(i, first, second);
                     });
        });
}

// Bits of the fraction that the results of rows keep: as many as keep them within 16 bits.
constexpr std::int32_t fraction = 7;

// Two rows of 16 bits, and their weights.
struct RowsTap {
    std::int16_t const * first;
    std::int16_t const * second;
    std::int32_t weights;
};

// sumPairs() of rows that are not paired yet.
template <class Use>
inline void sumRows(RowsTap const * taps, std::int64_t tapCount, std::int64_t count,
                    std::int32_t shift, Use const & use) {
    for (std::int64_t i = 0; i < count; i += atOnce) {
        Lanes::V a = Lanes::all(halfOf(shift)), b = a, c = a, d = a;
        for (std::int64_t t = 0; t < tapCount; ++t) {
            std::int16_t const * const first = taps[t].first + i;
            std::int16_t const * const second = taps[t].second + i;
            Lanes::V const weights = Lanes::all(taps[t].weights);
            Lanes::V low, high;
            Lanes::interleave(first, second, low, high);
            a = Lanes::plusProducts(a, low, weights);
            b = Lanes::plusProducts(b, high, weights);
            Lanes::interleave(first + atOnce / 2, second + atOnce / 2, low, high);
            c = Lanes::plusProducts(c, low, weights);
            d = Lanes::plusProducts(d, high, weights);
        }
        use(i, Lanes::interleavedHalves(a, b, shift), Lanes::interleavedHalves(c, d, shift));
    }
}

// The pixels of a row, with the fraction of the results of rows.
template <class T>
inline void rowWithFraction(QelPixelRows const & rows, std::int64_t y, std::int16_t * to) {
    std::uint8_t const * const from = rows.from + y * rows.fromLine;
    for (std::int64_t i = 0; i < rows.count; ++i)
        to[i] = static_cast<std::int16_t>(load<T>(from + i * rows.fromStep) * (1 << fraction));
}

// The centre's tap has its weight in two parts, since 2.0 does not fit in 16 bits.
inline RowsTap centreTap(std::int16_t const * pixels, QelConvolvePlan const & plan) {
    std::int32_t const part = plan.integerCentre / 2;
    std::int32_t const one = std::int32_t{1} << plan.columnShift;
    return {pixels, pixels, pairOf(part * one, (plan.integerCentre - part) * one)};
}

template <class T>
inline void convolveSmallSeparable(QelPixelNeighbours const & pixels, QelConvolvePlan const & plan,
                                   std::uint8_t * workspace) {
    Arena arena(workspace);
    std::int64_t const size = taps(plan);
    std::int64_t const spread = pixels.spread;
    std::int64_t const count = pixels.rows.count;
    std::int64_t const length = paddedSize(count, spread, plan);
    std::int16_t * const ring = arena.take<std::int16_t>(size * length);
    std::int16_t * const padded = arena.take<std::int16_t>(length);
    std::int16_t * const centre = arena.take<std::int16_t>(length);
    std::int32_t * const pairs = arena.take<std::int32_t>(length);
    PairTap * const tap = arena.take<PairTap>(size);
    RowsTap * const rowsTap = arena.take<RowsTap>(size);
    std::int32_t const * const columns = plan.integers + size;
    eachRow(
        pixels, plan.reach,
        [&](std::int64_t slot, std::uint8_t const * row) {
            padRow<T>(row, pixels, plan.reach, padded);
            pairRow(padded, count + 2 * plan.reach * spread, spread, pairs);
            PairTap * const end = pairTaps(pairs, spread, plan.integers, size, tap);
            sumPairs(tap, end - tap, count, plan.shift - fraction,
                     [to = ring + slot * length](std::int64_t i, Lanes::Halves first,
                                                 Lanes::Halves second) {
                         Lanes::put(to + i, first);
                         Lanes::put(to + i + atOnce / 2, second);
                     });
        },
        [&](std::int64_t y, auto const & slotOf) {
            RowsTap * next = rowsTap;
            for (std::int64_t dy = 0; dy < size; dy += 2) {
                std::int64_t const last = dy + 1 < size ? dy + 1 : dy;
                std::int32_t const pair = pairOf(columns[dy], last > dy ? columns[last] : 0);
                if (pair == 0) continue;
                *next++ = {ring + slotOf(dy - plan.reach) * length,
                           ring + slotOf(last - plan.reach) * length, pair};
            }
            if (plan.integerCentre != 0) {
                rowWithFraction<T>(pixels.rows, y, centre);
                *next++ = centreTap(centre, plan);
            }
            SmallRow<T> const to(pixels.rows, plan, y);
            sumRows(rowsTap, next - rowsTap, count, plan.columnShift + fraction,
                    [&](std::int64_t i, Lanes::Halves first, Lanes::Halves second) {
                        to.put(i, first, second);
                    });
        });
}

template <class T>
inline void convolveStrip(QelPixelNeighbours const & pixels, QelConvolvePlan const & plan,
                          std::uint8_t * workspace) {
    if constexpr (sizeof(T) == 1) {
        if (plan.integers != nullptr && plan.separable) {
            return convolveSmallSeparable<T>(pixels, plan, workspace);
        }
        if (plan.integers != nullptr) return convolveSmall<T>(pixels, plan, workspace);
    }
    convolveReal<T>(pixels, plan, workspace);
}

// Some elements of each row; the others are neighbours.
inline QelPixelNeighbours stripOf(QelPixelNeighbours const & pixels, std::int64_t reach,
                                  std::int64_t start, std::int64_t size) {
    std::int64_t const end = start + size < pixels.rows.count ? start + size : pixels.rows.count;
    std::int64_t const left = pixels.left + start / pixels.spread;
    std::int64_t const right = pixels.right + (pixels.rows.count - end) / pixels.spread;
    QelPixelNeighbours strip = pixels;
    strip.rows.from += start * pixels.rows.fromStep;
    strip.rows.to += start * pixels.rows.toStep;
    strip.rows.count = end - start;
    strip.left = left < reach ? left : reach;
    strip.right = right < reach ? right : reach;
    return strip;
}

template <class T>
void convolve(QelPixelNeighbours const & pixels, QelConvolvePlan const & plan,
              std::uint8_t * workspace) {
    std::int64_t const size = stripSize(pixels.rows.count, pixels.spread, plan);
    for (std::int64_t start = 0; start < pixels.rows.count; start += size)
        convolveStrip<T>(stripOf(pixels, plan.reach, start, size), plan, workspace);
}

}  // namespace

QelConvolveKernels const convolveKernels = {
    {convolve<std::uint8_t>, convolve<std::int16_t>, convolve<std::int32_t>, convolve<float>,
     convolve<double>, convolve<std::uint16_t>, convolve<std::int8_t>, convolve<std::uint32_t>},
    bytesNeeded};

}  // namespace qelOps::QEL_KERNEL_SET
