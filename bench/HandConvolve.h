#pragma once

#include <cstddef>
#include <cstdint>

// What a programmer would write for a 5 by 5 convolution of a UChar picture in float arithmetic,
// without any library: the baselines of ConvolveBench. Pixels at the edges are repeated.
struct HandConvolve {
    struct Picture {
        std::uint8_t const * from;
        std::uint8_t * to;
        std::size_t width;
        std::size_t height;
        std::size_t bands;  // side by side; rows follow each other without gaps
    };
    // Requires: `memory` has floatsNeeded() floats.
    using Convolve = void (*)(Picture const & picture, float const * weights, float * memory);

    static constexpr std::size_t side = 5;
    static constexpr std::size_t floatsNeeded(std::size_t width, std::size_t bands) {
        return side * (width + side - 1) * bands;
    }

    Convolve convolve;
    // The same with multiplications fused with additions; null where the set has no such
    // instruction.
    Convolve convolveFused;
};

// The set that this processor runs best.
HandConvolve const & handConvolve();

namespace baseline {
extern HandConvolve const handConvolve;
}
namespace v3 {
extern HandConvolve const handConvolve;
}
