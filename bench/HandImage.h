#pragma once

#include <cstddef>
#include <cstdint>

// What a programmer would write for one picture and one operation, without any library: the
// baselines of ImageBench. Rows of UChar elements; strides in bytes.
struct HandImage {
    // to = 255 - from; `from` and `to` may be the same.
    void (*invert)(std::uint8_t const * from, std::ptrdiff_t fromLine, std::uint8_t * to,
                   std::ptrdiff_t toLine, std::size_t count, std::size_t rows);
    // to = gain * from + offset, limited to 0..255, rounded to the nearest (halves to even).
    void (*linear)(std::uint8_t const * from, std::ptrdiff_t fromLine, std::uint8_t * to,
                   std::ptrdiff_t toLine, std::size_t count, std::size_t rows, float gain,
                   float offset);
};

// The set that this processor runs best.
HandImage const & handImage();

namespace baseline {
extern HandImage const handImage;
}
namespace v3 {
extern HandImage const handImage;
}
