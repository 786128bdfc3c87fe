#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <iostream>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "AttributeTextTesting.h"
#include "QelColorSpaceRegistry.h"
#include "QelColorSpaces.h"
#include "QelSimpleAttribute.h"
#include "UnitTesting.h"
#include "ZanWideString.h"

namespace {

using Random = std::mt19937_64;

constexpr unsigned seed = 50117;

Random seeded() {
    std::cout << "seed " << seed << '\n';
    return Random(seed);
}

int below(Random & random, int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
}

// All bits at random, and numbers near zero as often.
template <class T>
T randomNumber(Random & random) {
    std::uint64_t const bits = random() >> (random() % 64);
    if constexpr (std::is_floating_point_v<T>) {
        if (bits % 4 == 0) return static_cast<T>(static_cast<std::int64_t>(random())) / 4;
        T number = 0;
        std::uint64_t const all = random();
        std::memcpy(&number, &all, sizeof(number));
        return number;
    } else {
        return static_cast<T>(bits % 2 == 0 ? bits : ~bits);
    }
}

// ---- There and back

constexpr int digitsOfDouble = std::numeric_limits<double>::max_digits10;

template <class T>
AttributeReading<T> thereAndBack(T const & value, T const & start, int precision) {
    return readAttribute(attributeText(value, precision), start);
}

template <class T>
void expectNumbersComeBack(Random & random) {
    for (int i = 0; i < 3000; ++i) {
        T const number = randomNumber<T>(random);
        SCOPED_TRACE(attributeText(number, digitsOfDouble));
        AttributeReading<T> const reading =
            thereAndBack<T>(number, 7, std::numeric_limits<T>::max_digits10);
        bool const reads = std::is_integral_v<T> || std::isfinite(static_cast<double>(number));
        ASSERT_EQ(!reads, reading.failed);
        ASSERT_EQ(reads ? number : T(7), reading.value);
    }
}

TEST(QelSimpleAttributeTextRandomTest, NumbersComeBack) {
    Random random = seeded();
    expectNumbersComeBack<unsigned char>(random);
    expectNumbersComeBack<short>(random);
    expectNumbersComeBack<unsigned short>(random);
    expectNumbersComeBack<int>(random);
    expectNumbersComeBack<unsigned int>(random);
    expectNumbersComeBack<long>(random);
    expectNumbersComeBack<unsigned long>(random);
    expectNumbersComeBack<float>(random);
    expectNumbersComeBack<double>(random);
}

TEST(QelSimpleAttributeTextRandomTest, CharsComeBackButWhiteSpace) {
    for (int code = 0; code < 256; ++code) {
        char const character = static_cast<char>(code);
        bool const reads = std::isspace(character, std::locale::classic()) == 0;
        AttributeReading<char> const reading = thereAndBack(character, 'q', 6);
        EXPECT_EQ(!reads, reading.failed) << code;
        EXPECT_EQ(reads ? character : 'q', reading.value) << code;
    }
}

TEST(QelSimpleAttributeTextRandomTest, ValuesComeBack) {
    Random random = seeded();
    for (int i = 0; i < 2000; ++i) {
        int const unit = builtInIds()[random() % builtInIds().size()];
        QelValue const value(randomNumber<double>(random), unit);
        // This one and what is no number do not read; see QelValueTextTest.
        if (!std::isfinite(value.value()) || (unit == QEL_UNIT_MIL && value == 1.0)) continue;
        AttributeReading<QelValue> const reading = thereAndBack(value, QelValue(), digitsOfDouble);
        ASSERT_FALSE(reading.failed);
        ASSERT_EQ(value.value(), reading.value.value());
        ASSERT_EQ(unit, reading.value.unit());
    }
}

MoxSmartPtr<QelColorSpace> randomSpace(Random & random) {
    double const min = std::floor(randomNumber<float>(random) / 1e30) / 8.0;
    if (!std::isfinite(min)) return MoxSmartPtr<QelColorSpace>();
    if (random() % 2 == 0) return new QelRGBColorSpace(3, min, std::fabs(min) + 0.1);
    return new QelCMYKColorSpace(below(random, 9), min, std::fabs(min) + 0.1);
}

TEST(QelSimpleAttributeTextRandomTest, ColoursAndTheirSpacesComeBackAtAnyPrecision) {
    Random random = seeded();
    for (int i = 0; i < 2000; ++i) {
        MoxSmartPtr<QelColorSpace> const space = randomSpace(random);
        QelColor const color =
            space ? QelColor(space, space->maxValue()) : QelColor(below(random, 5));
        AttributeReading<QelColor> const colors = thereAndBack(color, QelColor(7), 3);
        ASSERT_FALSE(colors.failed);
        ASSERT_EQ(color, colors.value);
        auto const spaces = thereAndBack<MoxSmartPtr<QelColorSpace>>(space, nullptr, 3);
        ASSERT_FALSE(spaces.failed);
        ASSERT_EQ(!space, !spaces.value);
        ASSERT_TRUE(!space || space->isEqual(*spaces.value));
    }
}

// Up to `longest` bytes, any but the double quote.
std::string randomText(Random & random, int longest) {
    std::string text(static_cast<std::size_t>(below(random, longest + 1)), '\0');
    for (char & character : text) {
        do {
            character = static_cast<char>(random());
        } while (character == '"');
    }
    return text;
}

TEST(QelSimpleAttributeTextRandomTest, TextsComeBack) {
    Random random = seeded();
    for (int i = 0; i < 3000; ++i) {
        std::string const text = randomText(random, 255);
        AttributeReading<std::string> const reading = thereAndBack<std::string>(text, "before", 6);
        ASSERT_FALSE(reading.failed) << text;
        ASSERT_EQ(text, reading.value);
    }
}

TEST(QelSimpleAttributeTextRandomTest, ListsComeBack) {
    Random random = seeded();
    for (int i = 0; i < 500; ++i) {
        QelStringList list;
        for (int j = below(random, 6); j > 0; --j)
            list.emplace_back(randomText(random, 1023));
        AttributeReading<QelStringList> const reading = thereAndBack(list, QelStringList(1), 6);
        ASSERT_FALSE(reading.failed);
        ASSERT_EQ(list, reading.value);
    }
}

// More than `longest` bytes.
std::string tooLongText(Random & random, int longest) {
    return std::string(static_cast<std::size_t>(longest + 1), 'x') + randomText(random, longest);
}

TEST(QelSimpleAttributeTextRandomTest, TextsThatAreTooLongAreCutAndTheStreamFails) {
    Random random = seeded();
    for (int i = 0; i < 1000; ++i) {
        std::string const text = tooLongText(random, 255);
        AttributeReading<std::string> const reading = thereAndBack<std::string>(text, "before", 6);
        ASSERT_TRUE(reading.failed) << text;
        ASSERT_EQ(text.substr(0, 255), reading.value);
        ASSERT_EQ(text.substr(255) + '"', reading.rest);
    }
}

TEST(QelSimpleAttributeTextRandomTest, TextsWithADoubleQuoteComeBackUpToTheFirst) {
    Random random = seeded();
    for (int i = 0; i < 1000; ++i) {
        std::string const front = randomText(random, 255);
        std::string const back = randomText(random, 300);
        AttributeReading<std::string> const reading =
            thereAndBack<std::string>(front + '"' + back, "before", 6);
        ASSERT_FALSE(reading.failed) << front << '"' << back;
        ASSERT_EQ(front, reading.value);
        ASSERT_EQ(back + '"', reading.rest);
    }
}

TEST(QelSimpleAttributeTextRandomTest, ListsWithATextThatIsTooLongAreCutThereAndTheStreamFails) {
    Random random = seeded();
    for (int i = 0; i < 500; ++i) {
        QelStringList list;
        for (int j = below(random, 4); j > 0; --j)
            list.emplace_back(randomText(random, 1023));
        QelStringList left = list;
        std::string const text = tooLongText(random, 1023);
        list.emplace_back(text);
        left.emplace_back(text.substr(0, 1023));
        list.emplace_back(randomText(random, 9));
        AttributeReading<QelStringList> const reading = thereAndBack(list, QelStringList(1), 6);
        ASSERT_TRUE(reading.failed);
        ASSERT_EQ(left, reading.value);
    }
}

bool isHigh(wchar_t character) {
    return character >= 0xD800 && character <= 0xDBFF;
}

bool isLow(wchar_t character) {
    return character >= 0xDC00 && character <= 0xDFFF;
}

// Any code points and surrogates, but no two of these that make a pair.
std::wstring randomWide(Random & random) {
    std::wstring text;
    for (int i = below(random, 40); i > 0; --i) {
        constexpr std::uint64_t ranges[][2] = {
            {0, 0x80}, {0, 0x10000}, {0xD7F0, 0x820}, {0x10000, 0x100000}, {0x10FFF0, 0x10}};
        auto const & range = ranges[random() % std::size(ranges)];
        auto const character = static_cast<wchar_t>(range[0] + random() % range[1]);
        bool const pairs = !text.empty() && isHigh(text.back()) && isLow(character);
        if (!pairs) text.push_back(character);
    }
    return text;
}

TEST(QelSimpleAttributeTextRandomTest, WideTextsComeBack) {
    Random random = seeded();
    for (int i = 0; i < 3000; ++i) {
        std::wstring const text = randomWide(random);
        AttributeReading<std::wstring> const reading =
            thereAndBack<std::wstring>(text, L"before", 6);
        ASSERT_FALSE(reading.failed);
        ASSERT_EQ(text, reading.value);
    }
}

// ---- Any text, against a reader that walks it character by character

// What is left of a text.
class Walk {
  public:
    explicit Walk(std::string const & text) : text_(text) {}

    bool atEnd() const { return at_ == text_.size(); }
    char next() const { return atEnd() ? '\0' : text_[at_]; }
    bool isAt(char wanted) const { return !atEnd() && text_[at_] == wanted; }
    bool take(char wanted) {
        if (!isAt(wanted)) return false;
        ++at_;
        return true;
    }
    // The next one, white space skipped.
    std::optional<char> any() {
        while (!atEnd() && std::string_view(" \t\n\v\f\r").find(next()) != std::string::npos)
            ++at_;
        if (atEnd()) return std::nullopt;
        return text_[at_++];
    }
    void back() { --at_; }
    // Up to a double quote; false if there is none within `longest`.
    bool quoted(std::size_t longest, std::string & text) {
        text.clear();
        while (!atEnd() && !isAt('"') && text.size() < longest)
            text += text_[at_++];
        return take('"');
    }
    std::string rest() const { return text_.substr(at_); }

  private:
    std::string const & text_;
    std::size_t at_ = 0;
};

bool walk(Walk & text, std::string & value) {
    return text.any() && text.quoted(255, value);
}

bool walk(Walk & text, QelStringList & value) {
    value.clear();
    if (text.any() != '[') return false;
    if (text.take(']')) return true;
    for (;;) {
        if (!text.any()) return false;
        std::string element;
        bool const whole = text.quoted(1023, element);
        value.emplace_back(element);
        if (!whole) return false;
        std::optional<char> const separator = text.any();
        if (separator != ',') return separator == ']';
    }
}

int digitOf(char character, int base) {
    static std::string const digits = "0123456789abcdef";
    std::size_t const digit = digits.find(static_cast<char>(std::tolower(character)));
    return digit < static_cast<std::size_t>(base) ? static_cast<int>(digit) : -1;
}

// Digits of a base, of which there is one at least; too large a number ends up as a very large one.
std::optional<long double> walkDigits(Walk & text, int base) {
    std::optional<long double> number;
    for (; !text.atEnd() && digitOf(text.next(), base) >= 0; text.any())
        number = number.value_or(0) * base + digitOf(text.next(), base);
    return number;
}

std::optional<std::uint32_t> walkUnit(Walk & text) {
    if (!text.any()) return std::nullopt;
    text.back();
    if (text.take('0') && !text.take('x') && !text.take('X')) text.back();
    std::optional<long double> const number = walkDigits(text, 16);
    if (!number || *number > 0xFFFF) return std::nullopt;
    return static_cast<std::uint32_t>(*number);
}

bool walkUnits(Walk & text, std::wstring & value) {
    if (text.take('"')) return true;
    for (;;) {
        std::optional<std::uint32_t> const unit = walkUnit(text);
        if (!unit) return false;
        auto const character = static_cast<wchar_t>(*unit);
        if (!value.empty() && isHigh(value.back()) && isLow(character)) {
            value.back() = 0x10000 + (value.back() - 0xD800) * 0x400 + (character - 0xDC00);
        } else {
            value += character;
        }
        std::optional<char> const separator = text.any();
        if (separator != ',') return separator == '"';
    }
}

bool walk(Walk & text, std::wstring & value) {
    std::optional<char> const first = text.any();
    if (first == '"') {
        std::string narrow;
        bool const whole = text.quoted(255, narrow);
        value = ZanATOW(narrow);
        return whole;
    }
    std::wstring read;
    if (first != 'L' || !text.take('"') || !walkUnits(text, read)) return false;
    value = read;
    return true;
}

template <class T>
requires std::is_integral_v<T>
bool walk(Walk & text, T & value) {
    using Wide = std::conditional_t<std::is_same_v<T, unsigned char>, int, T>;
    if (!text.any()) return false;
    text.back();
    bool const negative = std::is_signed_v<Wide> && text.take('-');
    if (!negative && std::is_signed_v<Wide>) text.take('+');
    std::optional<long double> const digits = walkDigits(text, 10);
    if (!digits) return false;
    long double const number = negative ? -*digits : *digits;
    if (number < static_cast<long double>(std::numeric_limits<Wide>::min())) return false;
    if (number > static_cast<long double>(std::numeric_limits<Wide>::max())) return false;
    value = static_cast<T>(static_cast<Wide>(number));
    return true;
}

// Pieces of every form, numbers around the limits, long texts, and any characters.
std::string randomPieces(Random & random) {
    static std::vector<std::string> const pieces{"\"",
                                                 "\"",
                                                 "\"",
                                                 ",",
                                                 ",",
                                                 "[",
                                                 "]",
                                                 "L\"",
                                                 "L",
                                                 " ",
                                                 "\n",
                                                 "0",
                                                 "0x",
                                                 "a",
                                                 "-",
                                                 "+",
                                                 "0xd83d",
                                                 "0xde00",
                                                 "0x0041",
                                                 "10000",
                                                 "2147483648",
                                                 "65535",
                                                 "9223372036854775807",
                                                 "18446744073709551615",
                                                 std::string(254, 'y'),
                                                 std::string(255, 'y'),
                                                 std::string(1023, 'z'),
                                                 "[\"a\"",
                                                 ",\"b\"",
                                                 "]"};
    std::string text;
    for (int i = below(random, 9); i > 0; --i) {
        if (random() % 8 == 0) {
            text += static_cast<char>(random());
        } else {
            text += pieces[random() % pieces.size()];
        }
    }
    return text;
}

// The value and whether it reads; what is left, where it does.
template <class T>
void expectReadsAsWalked(std::string const & text, T const & start, int & reads) {
    Walk left(text);
    T walked = start;
    bool const whole = walk(left, walked);
    AttributeReading<T> const reading = readAttribute(text, start);
    ASSERT_EQ(!whole, reading.failed) << text;
    ASSERT_EQ(walked, reading.value) << text;
    ASSERT_EQ(whole ? left.rest() : reading.rest, reading.rest) << text;
    reads += whole ? 1 : 0;
}

template <class T>
void expectAnyTextReadsAsWalked(T const & start, std::string const & before = "") {
    Random random = seeded();
    int reads = 0;
    constexpr int tries = 20000;
    for (int i = 0; i < tries; ++i) {
        ASSERT_NO_FATAL_FAILURE(expectReadsAsWalked(before + randomPieces(random), start, reads));
    }
    EXPECT_GT(reads, tries / 100);
    EXPECT_LT(reads, tries * 99 / 100);
}

TEST(QelSimpleAttributeTextRandomTest, AnyTextReadsAsATextOrFails) {
    expectAnyTextReadsAsWalked<std::string>("before");
    expectAnyTextReadsAsWalked<std::string>("before", "\"");
}

TEST(QelSimpleAttributeTextRandomTest, AnyTextReadsAsAWideTextOrFails) {
    expectAnyTextReadsAsWalked<std::wstring>(L"before");
    expectAnyTextReadsAsWalked<std::wstring>(L"before", "L\"");
    expectAnyTextReadsAsWalked<std::wstring>(L"before", "L\"0xd83d,");
}

TEST(QelSimpleAttributeTextRandomTest, AnyTextReadsAsAListOrFails) {
    expectAnyTextReadsAsWalked<QelStringList>({ptstring<char>("before")}, "[");
    expectAnyTextReadsAsWalked<QelStringList>({ptstring<char>("before")}, "[\"");
}

TEST(QelSimpleAttributeTextRandomTest, AnyTextReadsAsAnIntegerOrFails) {
    expectAnyTextReadsAsWalked<unsigned char>(7);
    expectAnyTextReadsAsWalked<short>(7);
    expectAnyTextReadsAsWalked<unsigned short>(7);
    expectAnyTextReadsAsWalked<int>(7);
    expectAnyTextReadsAsWalked<unsigned int>(7);
    expectAnyTextReadsAsWalked<long>(7);
    expectAnyTextReadsAsWalked<unsigned long>(7);
}

}  // namespace
