#include "ZanError.h"

#include <cerrno>
#include <cstring>
#include <ostream>

namespace {

char const * orEmpty(char const * text) {
    return text != nullptr ? text : "";
}

// strerror_r comes in two kinds: one returns the text, which need not be in the buffer, the other
// a status. Overloading picks the right one without asking the compiler which system it is on.
[[maybe_unused]] char const * textOf(char const * text, char const * /*buffer*/) {
    return text;
}
[[maybe_unused]] char const * textOf(int status, char const * buffer) {
    return status == 0 ? buffer : "Unknown error";
}

}  // namespace

bool ZanError::useLines = true;

ZanError::ZanError() : msg_("no error") {}

ZanError::ZanError(char const * component, int code, char const * file, int line)
    : component_(orEmpty(component)),
      code_(code),
      file_(orEmpty(file)),
      line_(line),
      msg_(component_ + " error " + std::to_string(code)) {}

ZanError::~ZanError() = default;

char const * ZanError::what() const noexcept {
    return msg_.c_str();
}

char const * ZanError::getMsg() const {
    return msg_.c_str();
}

ZanError & ZanError::setMsg(char const * text) {
    // Through a separate string, since the text may be a part of this error's own.
    return setMsg(std::string(orEmpty(text)));
}

ZanError & ZanError::setMsg(std::string const & text) {
    msg_ = text;
    return *this;
}

void ZanError::print(std::ostream & out) const {
    std::string all = component_.empty() ? "" : component_ + ' ';
    all += "error " + std::to_string(code_);
    if (useLines && !file_.empty()) all += " at " + file_ + ':' + std::to_string(line_);
    all += ": " + msg_;
    out.write(all.data(), static_cast<std::streamsize>(all.size()));
}

int ZanError::getSystemErrorCode() {
    return errno;
}

std::string ZanError::getSystemErrorMsg() {
    int const code = errno;
    char buffer[256] = "";
    std::string text = textOf(::strerror_r(code, buffer, sizeof buffer), buffer);
    errno = code;
    return text;
}
