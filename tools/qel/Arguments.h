#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Numbers in arguments. `what` names the argument in the texts of the UsageErrors raised.

struct PixelSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

// "WxH"
PixelSize parseSize(std::string_view text, std::string const & what, std::int32_t least,
                    std::int32_t most);

// A number of bytes of at least 1, with or without a unit: "64000000", "64MB", "64MiB". Units of
// 1,000 and of 1,024, in letters of either case.
std::uint64_t parseBytes(std::string const & text, std::string const & what);
