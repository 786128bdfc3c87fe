#include "QelSimpleAttribute.h"

#include <cstdint>
#include <iomanip>
#include <string_view>
#include <type_traits>

#include "QelTextForm.h"
#include "ZanWideString.h"

namespace {

void fail(std::istream & in) {
    in.setstate(std::ios_base::failbit);
}

// Stream operators write and read it; negative numbers, which they would wrap round, are refused.
template <class Number>
bool readInteger(std::istream & in, Number & number) {
    qelSkipSpace(in);
    int const first = qelPeek(in);
    if (std::is_unsigned_v<Number> && (first == '-' || first == '+')) fail(in);
    return static_cast<bool>(in >> number);
}

// Reads up to the double quote, and consumes it. Sets failbit for more than Longest characters, or
// no such quote; `text` is then what was read.
template <int Longest>
void readToQuote(std::istream & in, std::string & text) {
    char characters[Longest + 1];
    in.getline(characters, sizeof(characters), '"');
    // getline() counts the quote, too.
    bool const whole = in.good();
    text.assign(characters, static_cast<std::size_t>(in.gcount()) - (whole ? 1 : 0));
    if (!whole) fail(in);
}

constexpr bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUnit(std::wstring & text, std::uint32_t unit) {
    std::uint32_t const before = text.empty() ? 0 : static_cast<std::uint32_t>(text.back());
    if (isLowSurrogate(unit) && isHighSurrogate(before)) {
        text.pop_back();
        unit = 0x10000 + ((before - 0xD800) << 10) + (unit - 0xDC00);
    }
    text.push_back(static_cast<wchar_t>(unit));
}

std::u16string utf16Of(std::wstring const & text) {
    std::u16string units;
    for (wchar_t const wide : text) {
        auto const character = static_cast<std::uint32_t>(wide);
        if (character > 0x10FFFF) {
            units.push_back(0xFFFD);
        } else if (character > 0xFFFF) {
            units.push_back(static_cast<char16_t>(0xD7C0 + (character >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
        } else {
            units.push_back(static_cast<char16_t>(character));
        }
    }
    return units;
}

// The units after L" and the last quote.
bool readUnits(std::istream & in, std::wstring & text) {
    if (qelTake(in, '"')) return true;
    char next = ',';
    while (next == ',') {
        std::uint16_t unit = 0;
        if (!(in >> std::hex) || !readInteger(in, unit) || !(in >> next)) return false;
        appendUnit(text, unit);
    }
    return next == '"';
}

void writeText(std::ostream & out, std::string_view text) {
    out << '"' << text << '"';
}

}  // namespace

QelPlainFormat::QelPlainFormat(std::ios & stream)
    : stream_(stream),
      flags_(stream.flags()),
      fill_(stream.fill(' ')),
      width_(stream.width(0)),
      locale_(stream.getloc()) {
    stream.flags((flags_ & std::ios_base::unitbuf) | std::ios_base::dec | std::ios_base::skipws);
    // Setting a buffer's locale flushes it, even if the locale is the same.
    if (locale_ != std::locale::classic()) stream.imbue(std::locale::classic());
}

QelPlainFormat::~QelPlainFormat() {
    stream_.flags(flags_);
    stream_.fill(fill_);
    stream_.width(width_);
    if (locale_ != std::locale::classic()) stream_.imbue(locale_);
}

template <QelAttributeNumber T>
void QelNumberText<T>::write(std::ostream & out, T const & value) {
    if constexpr (std::same_as<T, unsigned char>) {
        out << static_cast<int>(value);
    } else if constexpr (std::same_as<T, float>) {
        out << static_cast<double>(value);
    } else {
        out << value;
    }
}

template <QelAttributeNumber T>
void QelNumberText<T>::read(std::istream & in, T & value) {
    if constexpr (std::same_as<T, unsigned char>) {
        int number = 0;
        if (readInteger(in, number)) value = static_cast<unsigned char>(number);
    } else if constexpr (std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>) {
        T number = 0;
        if (readInteger(in, number)) value = number;
    } else {
        T read = value;
        if (in >> read) value = read;
    }
}

template struct QelNumberText<char>;
template struct QelNumberText<unsigned char>;
template struct QelNumberText<short>;
template struct QelNumberText<unsigned short>;
template struct QelNumberText<int>;
template struct QelNumberText<unsigned int>;
template struct QelNumberText<long>;
template struct QelNumberText<unsigned long>;
template struct QelNumberText<float>;
template struct QelNumberText<double>;
template struct QelNumberText<bool>;

void QelAttributeText<std::string>::write(std::ostream & out, std::string const & value) {
    writeText(out, value);
}

void QelAttributeText<std::string>::read(std::istream & in, std::string & value) {
    char quote = '\0';
    if (in >> quote) readToQuote<longest>(in, value);
}

void QelAttributeText<std::wstring>::write(std::ostream & out, std::wstring const & value) {
    out << "L\"" << std::hex << std::setfill('0');
    char const * between = "";
    for (std::uint16_t const unit : utf16Of(value)) {
        out << between << "0x" << std::setw(4) << unit;
        between = ",";
    }
    out << '"';
}

void QelAttributeText<std::wstring>::read(std::istream & in, std::wstring & value) {
    std::wstring wide;
    std::string narrow;
    char first = '\0';
    in >> first;
    if (in && first == '"') {
        readToQuote<QelAttributeText<std::string>::longest>(in, narrow);
        value = ZanATOW(narrow);
    } else if (in && first == 'L' && qelTake(in, '"') && readUnits(in, wide)) {
        value = std::move(wide);
    } else {
        fail(in);
    }
}

void QelAttributeText<QelStringList>::write(std::ostream & out, QelStringList const & value) {
    out << '[';
    char const * between = "";
    for (ptstring<char> const & text : value) {
        out << between;
        writeText(out, text.str());
        between = ",";
    }
    out << ']';
}

void QelAttributeText<QelStringList>::read(std::istream & in, QelStringList & value) {
    value.clear();
    char next = '\0';
    if (!(in >> next) || next != '[') return fail(in);
    if (qelTake(in, ']')) return;
    do {
        std::string text;
        if (!(in >> next)) return;
        readToQuote<longest>(in, text);
        value.push_back(text);
        if (!(in >> next)) return;
    } while (next == ',');
    if (next != ']') fail(in);
}

template class QelSimpleAttribute<char>;
template class QelSimpleAttribute<unsigned char>;
template class QelSimpleAttribute<short>;
template class QelSimpleAttribute<unsigned short>;
template class QelSimpleAttribute<int>;
template class QelSimpleAttribute<unsigned int>;
template class QelSimpleAttribute<long>;
template class QelSimpleAttribute<unsigned long>;
template class QelSimpleAttribute<float>;
template class QelSimpleAttribute<double>;
template class QelSimpleAttribute<bool>;
template class QelSimpleAttribute<QelValue>;
template class QelSimpleAttribute<QelColor>;
template class QelSimpleAttribute<MoxSmartPtr<QelColorSpace>>;
template class QelSimpleAttribute<std::string>;
template class QelSimpleAttribute<std::wstring>;
template class QelSimpleAttribute<QelStringList>;
