#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "QelRect.h"

// Numbers in arguments. `what` names the argument in the texts of the UsageErrors raised.

struct PixelSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

// "WxH"
PixelSize parseSize(std::string_view text, std::string const & what, std::int32_t least,
                    std::int32_t most);

// "X,Y,W,H"
QelRect parseRect(std::string_view text, std::string const & what);
