#pragma once

#include <string>

#include "QelErrorCode.h"
#include "ZanError.h"
#include "ZanSourceLocation.h"

// The only exception class that the library itself raises: component "QEL", an integer code that
// a client may test through getErrcode(), and the text "QEL error CODE", a newline and the raising
// site's own text. Thrown by value, caught as ZanError &.
class QEL_API QelError : public ZanError {
  public:
    // A copy of any error; the text stays as it is.
    explicit QelError(ZanError const & error);

    // A null text, or an empty string, leaves the base text "QEL error CODE" alone.
    QelError(int code, char const * text, char const * file, int line);
    QelError(int code, std::string const & text, char const * file, int line);

    ~QelError() override;
};

// Raises QelError(code, text) from the caller's source position.
[[noreturn]] QEL_API void qelRaise(int code, std::string const & text,
                                   ZanSourceLocation const & here = ZanSourceLocation::current());
