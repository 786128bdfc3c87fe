#pragma once

#include <string>

#include "QelError.h"

// Fixed wordings in which code that catches an exception reports it to its caller. All of them read
// errno, which a guarded block sets to 0 when it starts.

// System frame. The whole text is `sentence`, "System error code = ", the code, a newline,
// "System error string = " and the system's text; code unexpectedException (10).
[[noreturn]] QEL_API void qelRaiseSystemFrame(
    std::string const & sentence, ZanSourceLocation const & here = ZanSourceLocation::current());

// Last-error frame: raises unexpectedException (10) with "\nUnknown exception during ", `action`,
// "\nagainst ", `object` and qelLastErrorTail().
[[noreturn]] QEL_API void qelRaiseLastErrorFrame(
    std::string const & action, std::string const & object,
    ZanSourceLocation const & here = ZanSourceLocation::current());

// "\nWindows function GetLastError() returned error code value " and the code.
QEL_API std::string qelLastErrorTail();

// Rethrow frame. Extends the text of `error` by "\n[exception caught and rethrown near line ",
// the line, " in file ", the file and "]"; with ZanError::useLines false the line and the file
// read "XXX in file FFF". The caller goes on to throw a plain ZanError copy.
QEL_API void qelAddRethrowFrame(ZanError & error,
                                ZanSourceLocation const & here = ZanSourceLocation::current());

// Foreign-exception frame. Called in a catch (...) block around a render: raises renderFailed (203)
// with the text for the exception in flight, unless that is a ZanError, which passes unchanged.
// `sink` is the sink's name, `label` its label.
[[noreturn]] QEL_API void qelRaiseForeignFrame(
    std::string const & sink, std::string const & label,
    ZanSourceLocation const & here = ZanSourceLocation::current());
