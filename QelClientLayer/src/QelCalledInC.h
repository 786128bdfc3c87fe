#pragma once

#include <csetjmp>

// The way out of C libraries whose error handlers must not return. A step that calls such a library
// runs in run(); an error handler calls leave(), which ends run(). No exception passes through
// frames of the library. Nothing with a destructor may live in the step or in the handlers, since
// the destructor would not be called.
class QelCalledInC {
  public:
    // True when the step came to its end; false when it was left, with the reason in text().
    template <class Step>
    bool run(Step const & step) {
        if (setjmp(way_) != 0) return false;
        step();
        return true;
    }

    // Requires: called within run(). A text that is too long is truncated.
    [[noreturn]] void leave(char const * text) noexcept;
    // With the system's text for an error number.
    [[noreturn]] void leaveWith(int error) noexcept;

    char const * text() const { return text_; }

  private:
    void setText(char const * text) noexcept;

    std::jmp_buf way_;
    char text_[256] = "";
};
