#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <optional>
#include <sstream>
#include <string>

#include "QelErrorCode.h"
#include "ZanError.h"

// Shared by the fuzzers of text forms: a value that was read gives the same text when it is written
// and read back, or is refused with the code invalidValue (13). Anything else ends the program.

template <class T>
std::string fuzzWritten(T const & value) {
    std::ostringstream out;
    out.precision(std::numeric_limits<double>::max_digits10);
    out << value;
    return out.str();
}

// Reads into `value`; returns the code of the refusal, if any.
template <class T>
std::optional<int> fuzzRefusal(std::string const & text, T & value) {
    std::istringstream in(text);
    try {
        in >> value;
    } catch (ZanError const & error) {
        return error.getErrcode();
    }
    return std::nullopt;
}

[[noreturn]] inline void fuzzFail(std::string const & what, std::string const & text) {
    std::cerr << what << ": " << text << std::endl;
    std::abort();
}

// `start` is what a refusal must leave as it was; `mayBeRefused(code)` says which codes unreadable
// texts may have, `isPeculiar(value)` which values have a written text that is refused.
template <class T, class Codes, class Peculiar>
void fuzzReadBack(std::uint8_t const * data, std::size_t size, T const & start,
                  Codes && mayBeRefused, Peculiar && isPeculiar) {
    std::string const text(reinterpret_cast<char const *>(data), size);
    T value = start;
    if (std::optional<int> const code = fuzzRefusal(text, value)) {
        if (!mayBeRefused(*code)) fuzzFail("refused with code " + std::to_string(*code), text);
        if (fuzzWritten(value) != fuzzWritten(start)) fuzzFail("changed though refused", text);
        return;
    }
    std::string const written = fuzzWritten(value);
    T again = start;
    std::optional<int> const code = fuzzRefusal(written, again);
    if (code.has_value() != isPeculiar(value)) fuzzFail("does not read back", written);
    if (code) {
        if (*code != QelErrorCode::invalidValue)
            fuzzFail("refused with code " + std::to_string(*code), written);
    } else if (fuzzWritten(again) != written) {
        fuzzFail("reads back as " + fuzzWritten(again), written);
    }
}
