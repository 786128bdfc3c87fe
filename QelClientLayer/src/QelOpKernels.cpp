// Compiled once for each kind of processor, see cmake/QelKernels.cmake. Nothing here may call an
// inline function of another header: the linker would keep one copy of it for the whole library,
// perhaps the one that older processors cannot run.

#include "QelOpKernels.h"

#include "QelKernelElements.h"

namespace qelOps::QEL_KERNEL_SET {
namespace {

// ---- Point operations

// Compilers vectorise each of these three, but no single loop for all cases.
template <class T, class Change>
inline void changeInPlace(std::uint8_t * elements, std::int64_t count, Change const & change) {
    for (std::int64_t i = 0; i < count; ++i) {
        std::uint8_t * const element = elements + i * std::int64_t{sizeof(T)};
        store<T>(element, change(load<T>(element)));
    }
}

template <class T, class Change>
inline void changeApart(std::uint8_t const * __restrict from, std::uint8_t * __restrict to,
                        std::int64_t count, Change const & change) {
    for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t const at = i * std::int64_t{sizeof(T)};
        store<T>(to + at, change(load<T>(from + at)));
    }
}

template <class T, class Change>
inline void changeSpaced(QelPixelRows const & rows, std::int64_t y, Change const & change) {
    std::uint8_t const * from = rows.from + y * rows.fromLine;
    std::uint8_t * to = rows.to + y * rows.toLine;
    for (std::int64_t i = 0; i < rows.count; ++i) {
        store<T>(to, change(load<T>(from)));
        from += rows.fromStep;
        to += rows.toStep;
    }
}

// Rows that follow each other without gaps are treated as one.
inline QelPixelRows joined(QelPixelRows const & rows, std::int64_t size) {
    QelPixelRows one = rows;
    if (rows.fromLine == rows.count * size && rows.toLine == rows.fromLine) {
        one.count *= rows.rows;
        one.rows = 1;
    }
    return one;
}

template <class T, class Change>
inline void eachElement(QelPixelRows const & given, Change const & change) {
    constexpr std::int64_t size = sizeof(T);
    if (given.fromStep != size || given.toStep != size) {
        for (std::int64_t y = 0; y < given.rows; ++y)
            changeSpaced<T>(given, y, change);
        return;
    }
    QelPixelRows const rows = joined(given, size);
    bool const inPlace = rows.from == rows.to && rows.fromLine == rows.toLine;
    for (std::int64_t y = 0; y < rows.rows; ++y) {
        std::uint8_t * const to = rows.to + y * rows.toLine;
        if (inPlace) {
            changeInPlace<T>(to, rows.count, change);
        } else {
            changeApart<T>(rows.from + y * rows.fromLine, to, rows.count, change);
        }
    }
}

template <class T>
void invert(QelPixelRows const & rows) {
    eachElement<T>(rows, [](T v) {
        if constexpr (isReal<T>) {
            return T{1} - v;
        } else {
            return static_cast<T>(~v);
        }
    });
}

// The same result as limited(), for numbers of a smaller range: fractions are dropped, as in
// rounded(), and the low bits of the rest are the integer. The narrower the integers, the more of
// them fit in a vector.
template <class T>
inline T limitedSmall(float x) {
    using Integer = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;
    // The bits of 12582912.0F that matter.
    constexpr std::int32_t bitsOfZero = sizeof(T) == 1 ? 0 : 0x4B400000;
    constexpr Integer lowest = std::numeric_limits<T>::lowest();
    constexpr Integer highest = std::numeric_limits<T>::max();
    std::int32_t const bits = __builtin_bit_cast(std::int32_t, x + 12582912.0F);
    Integer const number = static_cast<Integer>(bits - bitsOfZero);
    Integer const lowered = number < highest ? number : highest;
    Integer const within = lowered > lowest ? lowered : lowest;
    return static_cast<T>(within);
}

// May limitedSmall() be used on each result? False for NaN.
template <class T>
inline bool staysSmall(double gain, double offset) {
    constexpr double range = sizeof(T) == 1 ? 32000 : 4000000;
    constexpr double largest = sizeof(T) == 1 ? 256 : 65536;
    return __builtin_fabs(gain) * largest + __builtin_fabs(offset) < range;
}

template <class T>
void linear(QelPixelRows const & rows, double gain, double offset) {
    using Real = RealOf<T>;
    Real const scale = static_cast<Real>(gain);
    Real const shift = static_cast<Real>(offset);
    if constexpr (isReal<T>) {
        eachElement<T>(rows, [scale, shift](T v) { return v * scale + shift; });
        return;
    } else if constexpr (sizeof(T) < 4) {
        if (staysSmall<T>(gain, offset)) {
            eachElement<T>(rows, [scale, shift](T v) {
                return limitedSmall<T>(static_cast<Real>(v) * scale + shift);
            });
            return;
        }
    }
    if constexpr (!isReal<T>) {
        eachElement<T>(
            rows, [scale, shift](T v) { return limited<T>(static_cast<Real>(v) * scale + shift); });
    }
}

// ---- Neighbourhood operations

// Three rows of the source and one of the target.
struct Lines {
    std::uint8_t const * above;
    std::uint8_t const * at;
    std::uint8_t const * below;
    std::uint8_t * to;
};

// A part of a row; neighbours are `left` and `right` bytes away, 0 where the pixel replaces its
// neighbour.
struct Part {
    std::int64_t first;
    std::int64_t last;
    std::int64_t left;
    std::int64_t right;
};

// Some compilers use __restrict only on a parameter.
template <class T, class Weigh>
inline void weighPart(std::uint8_t const * above, std::uint8_t const * at,
                      std::uint8_t const * below, std::uint8_t * __restrict to,
                      std::int64_t fromStep, std::int64_t toStep, Part const & part,
                      Weigh const & weigh) {
    std::int64_t const left = part.left;
    std::int64_t const right = part.right;
    for (std::int64_t i = part.first; i < part.last; ++i) {
        std::uint8_t const * const a = above + i * fromStep;
        std::uint8_t const * const b = at + i * fromStep;
        std::uint8_t const * const c = below + i * fromStep;
        store<T>(to + i * toStep, weigh(load<T>(a - left), load<T>(a), load<T>(a + right),  //
                                        load<T>(b - left), load<T>(b), load<T>(b + right),  //
                                        load<T>(c - left), load<T>(c), load<T>(c + right)));
    }
}

// A row in three parts: the first pixel and the last one, if they have no neighbours, and the
// pixels between them.
template <class T, bool dense, class Weigh>
inline void weighRow(QelPixelNeighbours const & pixels, Lines const & lines, Weigh const & weigh) {
    std::int64_t const fromStep = dense ? std::int64_t{sizeof(T)} : pixels.rows.fromStep;
    std::int64_t const toStep = dense ? std::int64_t{sizeof(T)} : pixels.rows.toStep;
    std::int64_t const count = pixels.rows.count;
    std::int64_t const distance = pixels.spread * fromStep;
    std::int64_t const first = pixels.left > 0 ? 0 : pixels.spread;
    std::int64_t const last = pixels.right > 0 ? count : count - pixels.spread;
    auto const weighFrom = [&](Part const & part) {
        weighPart<T>(lines.above, lines.at, lines.below, lines.to, fromStep, toStep, part, weigh);
    };
    if (first > last) {  // a single pixel without neighbours on either side
        weighFrom({0, count, 0, 0});
        return;
    }
    weighFrom({0, first, 0, distance});
    weighFrom({first, last, distance, distance});
    weighFrom({last, count, distance, 0});
}

template <class T, bool dense, class Weigh>
inline void eachRow(QelPixelNeighbours const & pixels, Weigh const & weigh) {
    QelPixelRows const & rows = pixels.rows;
    for (std::int64_t y = 0; y < rows.rows; ++y) {
        std::uint8_t const * const at = rows.from + y * rows.fromLine;
        bool const hasAbove = y > 0 || pixels.above > 0;
        bool const hasBelow = y + 1 < rows.rows || pixels.below > 0;
        Lines const lines{hasAbove ? at - rows.fromLine : at, at,
                          hasBelow ? at + rows.fromLine : at, rows.to + y * rows.toLine};
        weighRow<T, dense>(pixels, lines, weigh);
    }
}

template <class T, class Weigh>
inline void eachPixel(QelPixelNeighbours const & pixels, Weigh const & weigh) {
    constexpr std::int64_t size = sizeof(T);
    if (pixels.rows.fromStep == size && pixels.rows.toStep == size) {
        eachRow<T, true>(pixels, weigh);
    } else {
        eachRow<T, false>(pixels, weigh);
    }
}

template <class T>
void blur(QelPixelNeighbours const & pixels) {
    using Sum = SumOf<T>;
    eachPixel<T>(pixels, [](Sum a, Sum b, Sum c, Sum d, Sum e, Sum f, Sum g, Sum h, Sum i) {
        Sum const sum = static_cast<Sum>((a + c + g + i) + (b + d + f + h) * 2 + e * 4);
        if constexpr (isReal<T>) {
            return sum * (T{1} / 16);
        } else {
            return static_cast<T>((sum + 8) >> 4);
        }
    });
}

template <class T>
void sharpen(QelPixelNeighbours const & pixels) {
    using Sum = SumOf<T>;
    eachPixel<T>(pixels, [](Sum, Sum b, Sum, Sum d, Sum e, Sum f, Sum, Sum h, Sum) {
        Sum const sum = static_cast<Sum>(e * 8 - (b + d + f + h));
        if constexpr (isReal<T>) {
            return sum * (T{1} / 4);
        } else {
            return limitedSum<T>(static_cast<Sum>((sum + 2) >> 2));
        }
    });
}

}  // namespace

QelOpKernels const kernels = {
    {invert<std::uint8_t>, invert<std::int16_t>, invert<std::int32_t>, invert<float>,
     invert<double>, invert<std::uint16_t>, invert<std::int8_t>, invert<std::uint32_t>},
    {linear<std::uint8_t>, linear<std::int16_t>, linear<std::int32_t>, linear<float>,
     linear<double>, linear<std::uint16_t>, linear<std::int8_t>, linear<std::uint32_t>},
    {blur<std::uint8_t>, blur<std::int16_t>, blur<std::int32_t>, blur<float>, blur<double>,
     blur<std::uint16_t>, blur<std::int8_t>, blur<std::uint32_t>},
    {sharpen<std::uint8_t>, sharpen<std::int16_t>, sharpen<std::int32_t>, sharpen<float>,
     sharpen<double>, sharpen<std::uint16_t>, sharpen<std::int8_t>, sharpen<std::uint32_t>}};

}  // namespace qelOps::QEL_KERNEL_SET
