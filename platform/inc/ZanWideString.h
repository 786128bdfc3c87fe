#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "QelExport.h"

// Conversion between narrow text, which is UTF-8, and wide text, which is one code point per
// character. Neither direction can fail: a byte that does not decode becomes U+DC00 plus the byte
// (U+DC80 to U+DCFF) and comes back as that byte, so that any byte string survives a round trip. A
// wide character that is no code point (a lone surrogate other than these, or above U+10FFFF)
// becomes U+FFFD in UTF-8. Independent of the locale.

// Narrow to wide.
QEL_API std::wstring ZanATOW(std::string_view text);

// Wide to narrow. Both functions do the same, for two kinds of callers: those that pass on a
// `char const *` and those that keep the string.
QEL_API std::string ZanWTOA(std::wstring_view text);
QEL_API std::string ZanWTOS(std::wstring_view text);

// Writes `text` to `out` as UTF-8, unformatted. Returns `out`.
QEL_API std::ostream & ZanPutWString(std::ostream & out, std::wstring_view text);
