#include "Arguments.h"

#include <charconv>
#include <optional>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"

namespace {

[[noreturn]] void refuse(std::string_view text, std::string const & what,
                         std::string const & form) {
    throw UsageError(what + " is \"" + std::string(text) + "\", it must be " + form);
}

// Whole numbers separated by "x"; none for any other text.
std::vector<std::int32_t> parseNumbers(std::string_view text) {
    std::vector<std::int32_t> numbers;
    char const * at = text.data();
    char const * const end = at + text.size();
    for (;;) {
        std::int32_t number = 0;
        auto const result = std::from_chars(at, end, number);
        if (result.ec != std::errc()) return {};
        numbers.push_back(number);
        if (result.ptr == end) return numbers;
        if (*result.ptr != 'x') return {};
        at = result.ptr + 1;
    }
}

// The number that a text begins with; 0 when it has no digits or too many.
std::uint64_t leadingNumber(std::string const & text) {
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

PixelSize parseSize(std::string_view text, std::string const & what, std::int32_t least,
                    std::int32_t most) {
    std::vector<std::int32_t> const numbers = parseNumbers(text);
    auto const fits = [=](std::int32_t side) { return side >= least && side <= most; };
    if (numbers.size() != 2 || !fits(numbers[0]) || !fits(numbers[1])) {
        refuse(text, what,
               "WxH, with both from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return {numbers[0], numbers[1]};
}

std::uint64_t parseBytes(std::string const & text, std::string const & what) {
    // The unit's parser alone would accept a minus sign and truncate numbers that are too large.
    std::uint64_t const bytes = leadingNumber(text) != 0 ? bytesIn(text).value_or(0) : 0;
    if (bytes == 0) {
        refuse(text, what, "a number of bytes of at least 1, as in 64000000, 64MB or 64MiB");
    }
    return bytes;
}
