#include "ZanWideString.h"

#include <cstdint>
#include <ostream>

static_assert(sizeof(wchar_t) == 4, "a wide character holds a code point");

namespace {

// A byte B that does not decode is the wide character escape + B, a lone low surrogate, which no
// valid text can hold.
constexpr std::uint32_t escape = 0xDC00;
constexpr std::uint32_t firstEscaped = escape + 0x80;
constexpr std::uint32_t lastEscaped = escape + 0xFF;
constexpr std::uint32_t replacement = 0xFFFD;

constexpr bool isCodePoint(std::uint32_t value) {
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

// The kinds of UTF-8 sequences: `lead` is the first byte without its payload, `payload` the mask
// of the code point's bits in it, `least` the smallest code point that may be written so long.
struct Form {
    std::size_t length;
    std::uint8_t lead;
    std::uint8_t payload;
    std::uint32_t least;
};
constexpr Form forms[] = {
    {1, 0x00, 0x7F, 0x00},
    {2, 0xC0, 0x1F, 0x80},
    {3, 0xE0, 0x0F, 0x800},
    {4, 0xF0, 0x07, 0x10000},
};

Form const * formOfLead(std::uint8_t byte) {
    for (Form const & form : forms)
        if ((byte & ~form.payload) == form.lead) return &form;
    return nullptr;
}

Form const & formOfCodePoint(std::uint32_t codePoint) {
    std::size_t last = 0;
    while (last < 3 && codePoint >= forms[last + 1].least)
        ++last;
    return forms[last];
}

struct Decoded {
    std::uint32_t character;
    std::size_t bytes;
};

// The first item of the text, which is not empty: a code point, or one byte that does not decode.
Decoded decodeFirst(std::string_view text) {
    auto const first = static_cast<std::uint8_t>(text.front());
    Decoded const undecoded{escape + first, 1};
    Form const * const form = formOfLead(first);
    if (form == nullptr || text.size() < form->length) return undecoded;
    std::uint32_t codePoint = first & form->payload;
    for (char const c : text.substr(1, form->length - 1)) {
        auto const byte = static_cast<std::uint8_t>(c);
        if ((byte & 0xC0) != 0x80) return undecoded;
        codePoint = codePoint << 6 | (byte & 0x3FU);
    }
    if (codePoint < form->least || !isCodePoint(codePoint)) return undecoded;
    return {codePoint, form->length};
}

void appendByte(std::string & out, std::uint32_t byte) {
    out.push_back(static_cast<char>(static_cast<std::uint8_t>(byte)));
}

void appendCodePoint(std::string & out, std::uint32_t codePoint) {
    Form const & form = formOfCodePoint(codePoint);
    std::size_t shift = 6 * (form.length - 1);
    appendByte(out, form.lead | codePoint >> shift);
    while (shift > 0) {
        shift -= 6;
        appendByte(out, 0x80 | (codePoint >> shift & 0x3F));
    }
}

void appendWide(std::string & out, wchar_t wide) {
    auto const character = static_cast<std::uint32_t>(wide);
    if (character >= firstEscaped && character <= lastEscaped) {
        appendByte(out, character - escape);
    } else {
        appendCodePoint(out, isCodePoint(character) ? character : replacement);
    }
}

}  // namespace

std::wstring ZanATOW(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    while (!text.empty()) {
        Decoded const next = decodeFirst(text);
        wide.push_back(static_cast<wchar_t>(next.character));
        text.remove_prefix(next.bytes);
    }
    return wide;
}

std::string ZanWTOA(std::wstring_view text) {
    return ZanWTOS(text);
}

std::string ZanWTOS(std::wstring_view text) {
    std::string narrow;
    narrow.reserve(text.size());
    for (wchar_t const wide : text)
        appendWide(narrow, wide);
    return narrow;
}

std::ostream & ZanPutWString(std::ostream & out, std::wstring_view text) {
    std::string const narrow = ZanWTOS(text);
    return out.write(narrow.data(), static_cast<std::streamsize>(narrow.size()));
}
