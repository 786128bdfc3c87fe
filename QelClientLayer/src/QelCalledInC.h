#pragma once

#include <csetjmp>

// The way out of libraries in C that must not return from their error handlers. A step that calls
// such a library runs in run(); an error handler calls leave(), which brings run() to its end.
// No exception passes through frames of the library, and nothing that has a destructor may live in
// the step or in the handlers on the way, since it would not be called.
class QelCalledInC {
  public:
    // True when the step came to its end; false when it was left, with the reason in text().
    template <class Step>
    bool run(Step const & step) {
        if (setjmp(way_) != 0) return false;
        step();
        return true;
    }

    // Requires: called within run(). A text that is too long is cut.
    [[noreturn]] void leave(char const * text) noexcept;
    // With the system's text for an error number.
    [[noreturn]] void leaveWith(int error) noexcept;

    char const * text() const { return text_; }

  private:
    void setText(char const * text) noexcept;

    std::jmp_buf way_;
    char text_[256] = "";
};
