#pragma once

#include <version>

#if defined(__cpp_lib_source_location)
#include <source_location>

using ZanSourceLocation = std::source_location;
#else

// The part of std::source_location that raising sites need, for compilers that lack it.
class ZanSourceLocation {
  public:
    static constexpr ZanSourceLocation current(char const * file = __builtin_FILE(),
                                               unsigned line = __builtin_LINE()) noexcept {
        ZanSourceLocation here;
        here.file_ = file;
        here.line_ = line;
        return here;
    }

    constexpr char const * file_name() const noexcept { return file_; }
    constexpr unsigned line() const noexcept { return line_; }

  private:
    char const * file_ = "";
    unsigned line_ = 0;
};
#endif
