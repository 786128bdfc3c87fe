#pragma once

#include "QelPixelRows.h"

// The inner loops of the operations, one for each element type, in the order of the QelDataType
// codes from UChar to ULong.
struct QelOpKernels {
    static constexpr int types = 8;

    using Point = void (*)(QelPixelRows const & rows);
    using Linear = void (*)(QelPixelRows const & rows, double gain, double offset);
    using Neighbour = void (*)(QelPixelNeighbours const & pixels);

    Point invert[types];
    Linear linear[types];
    Neighbour blur[types];
    Neighbour sharpen[types];
};

// The set that this processor runs best.
QelOpKernels const & qelOpKernels() noexcept;

// One for each time that QelOpKernels.cpp is compiled.
namespace qelOps {
namespace baseline {
extern QelOpKernels const kernels;
}
namespace v3 {
extern QelOpKernels const kernels;
}
}  // namespace qelOps
