#include "HandImage.h"

// Compiled once for each kernel set, with the options of the library's own kernels.

namespace QEL_KERNEL_SET {
namespace {

void invert(std::uint8_t const * from, std::ptrdiff_t fromLine, std::uint8_t * to,
            std::ptrdiff_t toLine, std::size_t count, std::size_t rows) {
    for (std::size_t row = 0; row < rows; ++row, from += fromLine, to += toLine) {
        for (std::size_t i = 0; i < count; ++i)
            to[i] = static_cast<std::uint8_t>(255 - from[i]);
    }
}

// Adding 1.5 * 2^23 rounds a small number to an integer, which is then in the low bits.
void linear(std::uint8_t const * from, std::ptrdiff_t fromLine, std::uint8_t * to,
            std::ptrdiff_t toLine, std::size_t count, std::size_t rows, float gain, float offset) {
    for (std::size_t row = 0; row < rows; ++row, from += fromLine, to += toLine) {
        for (std::size_t i = 0; i < count; ++i) {
            float v = gain * static_cast<float>(from[i]) + offset;
            v = v < 0.0F ? 0.0F : v;
            v = v > 255.0F ? 255.0F : v;
            v += 12582912.0F;
            std::uint32_t bits = 0;
            __builtin_memcpy(&bits, &v, sizeof bits);
            to[i] = static_cast<std::uint8_t>(bits);
        }
    }
}

}  // namespace

extern HandImage const handImage = {invert, linear};

}  // namespace QEL_KERNEL_SET
