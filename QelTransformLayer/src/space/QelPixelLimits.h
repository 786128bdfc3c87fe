#pragma once

#include <cstdint>

#include "ZanSourceLocation.h"

// Computed numbers of pixels, as the 32-bit integers that have to hold them. Fractions are cut off.
// A number that does not fit raises invalidValue (13) with it; `here` is the caller.

// 0 for less than a pixel, and for NaN.
std::uint32_t qelCheckedPixels(double count,
                               ZanSourceLocation const & here = ZanSourceLocation::current());

// `what` is "pixel count" or "pixel position".
std::int32_t qelCheckedSigned(char const * what, double number,
                              ZanSourceLocation const & here = ZanSourceLocation::current());

// At most what a signed integer holds.
std::int32_t qelCheckedSigned(std::uint32_t count,
                              ZanSourceLocation const & here = ZanSourceLocation::current());
