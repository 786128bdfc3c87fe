#include "QelNumberList.h"

#include <charconv>
#include <cmath>
#include <istream>
#include <ostream>
#include <string>
#include <utility>

std::ostream & operator<<(std::ostream & out, QelNumberList const & list) {
    out << '[';
    char const * separator = "";
    for (double const number : list.numbers) {
        // The shortest text that restores the number; std::ostream has no such form.
        char text[32];
        char const * const end = std::to_chars(text, text + sizeof text, number).ptr;
        out << separator << std::string(static_cast<char const *>(text), end);
        separator = ":";
    }
    return out << ']';
}

std::istream & operator>>(std::istream & in, QelNumberList & list) {
    QelNumberList read;
    char next = 0;
    if (!(in >> next) || next != '[') {
        in.setstate(std::ios::failbit);
        return in;
    }
    std::string text;
    if (!std::getline(in, text, ']') || in.eof()) {
        in.setstate(std::ios::failbit);
        return in;
    }
    char const * at = text.data();
    char const * const end = at + text.size();
    while (at != end) {
        double number = 0;
        auto const result = std::from_chars(at, end, number);
        bool const more = result.ptr != end && *result.ptr == ':' && result.ptr + 1 != end;
        if (result.ec != std::errc() || !std::isfinite(number) || (result.ptr != end && !more)) {
            in.setstate(std::ios::failbit);
            return in;
        }
        read.numbers.push_back(number);
        at = more ? result.ptr + 1 : end;
    }
    list = std::move(read);
    return in;
}
