#pragma once

#include <cstddef>
#include <cstdint>

// What a programmer would write to move pixels between two layouts, without any library: the
// baselines of CopyBench. Three-band pixels side by side, and bands that are `band` elements apart.
struct HandCopy {
    using Split = void (*)(std::uint8_t const * from, std::uint8_t * to, std::size_t band,
                           std::size_t pixels);
    using ToFloat = void (*)(std::uint8_t const * from, float * to, std::size_t count);
    // Truncated towards zero; the low byte of what fits in 32 bits, otherwise that of 0x80000000.
    using ToUChar = void (*)(float const * from, std::uint8_t * to, std::size_t count);
    using SplitToFloat = void (*)(std::uint8_t const * from, float * to, std::size_t band,
                                  std::size_t pixels);

    // Plain loops.
    Split split;
    Split join;
    ToFloat toFloat;
    ToUChar toUChar;
    SplitToFloat splitToFloat;
    // The same in the processor's own vectors; null where the set has none that are useful.
    Split splitVectors;
    Split joinVectors;
    ToFloat toFloatVectors;
    ToUChar toUCharVectors;
};

// The set that this processor runs best.
HandCopy const & handCopy();

namespace baseline {
extern HandCopy const handCopy;
}
namespace v3 {
extern HandCopy const handCopy;
}
