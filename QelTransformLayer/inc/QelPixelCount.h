#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "QelExport.h"

// Pixels are counted in 32 bits. Constructors that take a count take integers of any type, refuse
// those that do not fit, and do not compile with a floating-point number, whose fraction would be
// cut off.

// Whether any of these is a floating-point type.
template <class Number, class... Others>
concept QelFloatingAmong = (std::floating_point<Number> || ... || std::floating_point<Others>);

// For qelPixelCount().
QEL_API std::uint32_t qelPixelCountOfSigned(std::int64_t count);
QEL_API std::uint32_t qelPixelCountOfUnsigned(std::uint64_t count);

// `count` itself. Raises invalidValue (13) "pixel count ", the number and " is not from 0 to
// 4294967295".
template <std::integral Number>
std::uint32_t qelPixelCount(Number count) {
    if constexpr (std::is_signed_v<Number>) return qelPixelCountOfSigned(count);
    return qelPixelCountOfUnsigned(static_cast<std::uint64_t>(count));
}
