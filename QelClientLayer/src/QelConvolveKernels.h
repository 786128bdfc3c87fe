#pragma once

#include <cstddef>
#include <cstdint>

#include "QelPixelRows.h"

// The weights of a convolution, as its inner loops want them. Rows and columns count from the top
// left; their numbers are odd. The result of a pixel is
//     centre * pixel + sum of weight * neighbour
// A separable kernel weights the pixels of each row first, and then the results by column.
struct QelConvolvePlan {
    std::int32_t reach = 0;  // the kernel has 2 * reach + 1 rows and columns
    bool separable = false;
    // Row by row; for a separable kernel, first the weights within rows, then those of columns.
    double const * weights = nullptr;
    double centre = 0;

    // The same in fixed point, for elements of 8 bits: integers, by 2 to the power of `shift`.
    // Null when there is no such form.
    std::int32_t const * integers = nullptr;
    std::int32_t shift = 0;          // of the weights within rows
    std::int32_t columnShift = 0;    // of the weights of columns
    std::int32_t integerCentre = 0;  // from -2 to 2; not 0 with a columnShift of 14 at most
    // What QelCoreMisc::makeClampConstants() makes for the range of the elements, one lane each.
    std::uint16_t clamp[4] = {};
};

// The inner loops of convolutions, one for each element type, in the order of the QelDataType codes
// from UChar to ULong.
struct QelConvolveKernels {
    static constexpr int types = 8;

    // Requires: `workspace` has bytesNeeded() bytes, aligned to 8.
    using Convolve = void (*)(QelPixelNeighbours const & pixels, QelConvolvePlan const & plan,
                              std::uint8_t * workspace);
    Convolve convolve[types];
    // For rows of that many elements.
    std::size_t (*bytesNeeded)(std::int64_t count, std::int64_t spread,
                               QelConvolvePlan const & plan);
};

// The set that this processor runs best.
QelConvolveKernels const & qelConvolveKernels() noexcept;

// One for each time that QelConvolveKernels.cpp is compiled.
namespace qelOps {
namespace baseline {
extern QelConvolveKernels const convolveKernels;
}
namespace v3 {
extern QelConvolveKernels const convolveKernels;
}
}  // namespace qelOps
