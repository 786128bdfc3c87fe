#include "QelCalledInC.h"

#include <cstdio>
#include <system_error>

void QelCalledInC::leave(char const * text) noexcept {
    setText(text);
    std::longjmp(way_, 1);
}

void QelCalledInC::leaveWith(int error) noexcept {
    // The string is destroyed at the end of the statement, before the jump.
    setText(std::generic_category().message(error).c_str());
    std::longjmp(way_, 1);
}

void QelCalledInC::setText(char const * text) noexcept {
    std::snprintf(text_, sizeof text_, "%s", text);
}
