#pragma once

// Where in a source something is raised: the part of std::source_location that raising sites need.
// The same class for all compilers: some lack the standard one, and a client must link with a
// library that another compiler built.
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
