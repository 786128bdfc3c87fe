#include "QelError.h"

QelError::QelError(ZanError const & error) : ZanError(error) {}

QelError::QelError(int code, char const * text, char const * file, int line)
    : ZanError("QEL", code, file, line) {
    if (text != nullptr) setMsg(std::string(getMsg()) + '\n' + text);
}

QelError::QelError(int code, std::string const & text, char const * file, int line)
    : ZanError("QEL", code, file, line) {
    if (!text.empty()) setMsg(std::string(getMsg()) + '\n' + text);
}

QelError::~QelError() = default;

void qelRaise(int code, std::string const & text, ZanSourceLocation const & here) {
    throw QelError(code, text, here.file_name(), static_cast<int>(here.line()));
}
