#pragma once

#include <cstdint>

#include "ZanSourceLocation.h"

// Numbers of pixels that were computed, as the 32-bit integers that have to hold them. Fractions
// are cut off. What does not fit raises invalidValue (13) with the number; `here` is the place that
// asks.

// 0 for less than a pixel, and for what is no number.
std::uint32_t qelCheckedPixels(double count,
                               ZanSourceLocation const & here = ZanSourceLocation::current());

// `what` is "pixel count" or "pixel position".
std::int32_t qelCheckedSigned(char const * what, double number,
                              ZanSourceLocation const & here = ZanSourceLocation::current());

// At most what a signed number holds.
std::int32_t qelCheckedSigned(std::uint32_t count,
                              ZanSourceLocation const & here = ZanSourceLocation::current());
