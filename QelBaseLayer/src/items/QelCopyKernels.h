#pragma once

#include <cstdint>

#include "QelCopyPlan.h"

// The inner loops of the copier. Elements may lie at any address. Where target and source overlap,
// moves read and write in the order of the loops; what conversions then store is not specified.

// `count` elements that are contiguous on both sides. Routines that move elements unchanged copy
// overlapping rows as if through a third one.
using QelCopyRow = void (*)(std::uint8_t const * source, std::uint8_t * target, std::int64_t count);

using QelCopyWalk = void (*)(std::uint8_t const * source, std::uint8_t * target,
                             QelCopyLoops const & loops);

// One conversion between two element types, or a move.
struct QelCopyRoutine {
    std::int64_t sourceSize;  // bytes per element
    std::int64_t targetSize;
    bool moves;  // stores what it loads
    QelCopyRow row;
    QelCopyWalk walks[QelCopyLoops::shapes];  // by QelCopyLoops::shape, for any steps
};

// Walks over rows; by QelCopyLoops::shape, for steps of one element.
using QelCopyRowWalk = void (*)(QelCopyRoutine const & routine, std::uint8_t const * source,
                                std::uint8_t * target, QelCopyLoops const & loops);

// A row of pixels taken apart into rows of `target`, or put together from rows of `source`, that
// are `bandStep` bytes apart. Nothing may overlap.
using QelCopyBandsRow = void (*)(std::uint8_t const * source, std::uint8_t * target,
                                 std::int64_t bandStep, std::int64_t pixels);

// All of them, compiled for one kind of processor. Every set gives the same results.
struct QelCopyKernels {
    static constexpr int types = 8;  // codes of QelDataType that name an element

    QelCopyRoutine const * routines[types][types];  // by source code, then target code
    QelCopyRoutine const * moves[4];                // elements of 1, 2, 4 and 8 bytes
    QelCopyRowWalk rowWalks[QelCopyLoops::shapes];
    QelCopyBandsRow splits[4][3];  // elements of 1, 2, 4 and 8 bytes; 2 to 4 bands
    QelCopyBandsRow joins[4][3];
};

namespace qelCopy {

namespace baseline {
extern QelCopyKernels const kernels;
}

// Only where the build defines QEL_KERNELS_V3. Requires: qelCpuHasV3().
namespace v3 {
extern QelCopyKernels const kernels;
}

}  // namespace qelCopy
