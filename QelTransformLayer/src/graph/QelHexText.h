#pragma once

#include <cstdint>
#include <string>

// The lower half of an address as eight lower-case hexadecimal digits.
inline std::string qelHexText(void const * address) {
    constexpr char digits[] = "0123456789abcdef";
    auto word = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
    std::string text(8, '0');
    for (std::size_t i = text.size(); i-- > 0; word >>= 4)
        text[i] = digits[word & 15];
    return text;
}
