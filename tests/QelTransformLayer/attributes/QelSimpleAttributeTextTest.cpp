#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

#include "AttributeTextTesting.h"
#include "ExpectError.h"
#include "QelColorSpaces.h"
#include "QelSimpleAttribute.h"
#include "UnitTesting.h"

namespace {

using Space = MoxSmartPtr<QelColorSpace>;

// ---- Numbers

template <class T>
void expectBothWays(T const & value, std::string const & text) {
    EXPECT_EQ(text, attributeText(value));
    expectReads(value, text);
}

// Its value stays.
template <class T>
void expectRefused(T const & value, std::string const & text) {
    expectFails(value, value, text);
}

template <class T>
void expectLimits(std::string const & least, std::string const & most, std::string const & below,
                  std::string const & above) {
    expectBothWays(std::numeric_limits<T>::min(), least);
    expectBothWays(std::numeric_limits<T>::max(), most);
    expectRefused<T>(7, below);
    expectRefused<T>(7, above);
}

TEST(QelSimpleAttributeTextTest, IntegersAreDecimalAndRefusedOutOfRange) {
    expectLimits<short>("-32768", "32767", "-32769", "32768");
    expectLimits<unsigned short>("0", "65535", "-1", "65536");
    expectLimits<int>("-2147483648", "2147483647", "-2147483649", "2147483648");
    expectLimits<unsigned int>("0", "4294967295", "-1", "4294967296");
    expectLimits<long>("-9223372036854775808", "9223372036854775807", "-9223372036854775809",
                       "9223372036854775808");
    expectLimits<unsigned long>("0", "18446744073709551615", "-1", "18446744073709551616");
    expectRefused(7L, "1" + std::string(4000, '0'));
}

template <class T>
void expectsDecimalsOf() {
    expectReads<T>(12, "12 34", " 34");
    expectReads<T>(12, " \t\n\v\f\r12,", ",");
    expectReads<T>(0, "0x10", "x10");
    expectReads<T>(10, "010");
    expectReads<T>(1, "1.5", ".5");
    expectReads<T>(1, "1,000", ",000");
    expectReads<T>(1, "1e2", "e2");
    expectReads<T>(3, std::string(5000, ' ') + std::string(5000, '0') + '3');
    for (char const * text : {"", " ", "x", "-", "+", "--1", "- 1", ".5", "\"1\"", "\xff", "ff"})
        expectRefused<T>(7, text);
}

TEST(QelSimpleAttributeTextTest, IntegersReadUpToWhatIsNoDigit) {
    expectsDecimalsOf<short>();
    expectsDecimalsOf<unsigned short>();
    expectsDecimalsOf<int>();
    expectsDecimalsOf<unsigned int>();
    expectsDecimalsOf<long>();
    expectsDecimalsOf<unsigned long>();
    expectsDecimalsOf<unsigned char>();
}

template <class T>
void expectsNoSign() {
    for (char const * text : {"-1", "+1", "-0", " +0", "\n-18446744073709551615"})
        expectRefused<T>(7, text);
}

TEST(QelSimpleAttributeTextTest, UnsignedNumbersHaveNoSign) {
    expectsNoSign<unsigned short>();
    expectsNoSign<unsigned int>();
    expectsNoSign<unsigned long>();
}

TEST(QelSimpleAttributeTextTest, SignedNumbersMayHaveOne) {
    expectReads<short>(5, "+5");
    expectReads(-5, "-5");
    expectReads(0L, "-0");
}

TEST(QelSimpleAttributeTextTest, AnUnsignedCharIsCutFromAnInt) {
    using Byte = unsigned char;
    expectBothWays<Byte>(0, "0");
    expectBothWays<Byte>(65, "65");
    expectBothWays<Byte>(255, "255");
    expectReads<Byte>(0, "256");
    expectReads<Byte>(44, "300");
    expectReads<Byte>(255, "-1");
    expectReads<Byte>(255, "2147483647");
    expectReads<Byte>(0, "-2147483648");
    expectRefused<Byte>(7, "2147483648");
    expectRefused<Byte>(7, "A");
}

TEST(QelSimpleAttributeTextTest, FloatingPointIsAtTheStreamsPrecision) {
    EXPECT_EQ("0.333333", attributeText(1.0 / 3));
    EXPECT_EQ("0.33", attributeText(1.0 / 3, 2));
    EXPECT_EQ("0.33333333333333331", attributeText(1.0 / 3, 17));
    EXPECT_EQ("0.1", attributeText(0.1F));
    EXPECT_EQ("1e+20", attributeText(1e20));
    EXPECT_EQ("1.5e-07", attributeText(1.5e-7F));
}

// It has digits then that a float does not hold.
TEST(QelSimpleAttributeTextTest, AFloatIsWrittenAsADouble) {
    EXPECT_EQ("0.10000000149011612", attributeText(0.1F, 17));
    EXPECT_EQ("16777216", attributeText(16777216.0F, 17));
}

template <class T>
void expectsFractions() {
    expectReads<T>(-2.5, "-2.5e0 x", " x");
    expectReads<T>(0.5, " +.5");
    expectReads<T>(5, "5.");
    expectReads<T>(1, "1,5", ",5");
    expectReads<T>(0, "0x10", "x10");
    expectReads<T>(0, "1e-5000");
    for (char const * text :
         {"", "x", "nan", "inf", "-inf", "infinity", "1e5000", "-1e5000", "1e", "1e+", ".", "e5"})
        expectRefused<T>(7, text);
}

TEST(QelSimpleAttributeTextTest, FloatingPointReadsButInfinityAndWhatIsNoNumber) {
    expectsFractions<float>();
    expectsFractions<double>();
    expectRefused(7.0F, "1e39");
    expectReads(1e39, "1e39");
    expectReads(std::numeric_limits<float>::denorm_min(), "1.40129846e-45");
    expectReads(std::numeric_limits<double>::max(), "1.7976931348623157e308");
}

TEST(QelSimpleAttributeTextTest, InfinityAndWhatIsNoNumberAreWrittenOnly) {
    for (double const number :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()}) {
        expectRefused(7.0, attributeText(number));
        expectRefused(7.0F, attributeText(static_cast<float>(number)));
    }
    EXPECT_EQ("-inf", attributeText(-std::numeric_limits<float>::infinity()));
}

TEST(QelSimpleAttributeTextTest, ABoolIsOneOrZero) {
    expectBothWays(true, "1");
    expectBothWays(false, "0");
    expectReads(true, "\n01x", "x");
    for (bool const start : {false, true}) {
        for (char const * text : {"2", "-1", "10", "true", "false", "", "x"})
            expectRefused(start, text);
    }
}

// ---- Characters and texts

TEST(QelSimpleAttributeTextTest, ACharIsItself) {
    for (char const * text : {"x", "0", "\"", "[", "\xff", "\x7f"})
        expectBothWays(text[0], text);
    expectBothWays('\0', std::string(1, '\0'));
    expectReads('x', " \t\n\v\f\rxy", "y");
    expectReads('6', "65", "5");
}

TEST(QelSimpleAttributeTextTest, ACharOfWhiteSpaceIsWrittenOnly) {
    for (char const space : {' ', '\t', '\n', '\v', '\f', '\r'}) {
        EXPECT_EQ(std::string(1, space), attributeText(space));
        expectRefused('q', std::string(1, space));
    }
    expectRefused('q', "");
}

TEST(QelSimpleAttributeTextTest, TextsAreBetweenDoubleQuotesAsTheyAre) {
    std::string const nulls("\0a\0", 3);
    for (std::string const & text :
         {std::string(), std::string("a"), std::string("two words"), std::string("\n\r\t "),
          std::string("\\ \\n 'x' }"), nulls, std::string("\xc3\xa4\xe2\x82\xac\xff\x80")})
        expectBothWays(text, '"' + text + '"');
}

TEST(QelSimpleAttributeTextTest, ATextWithADoubleQuoteComesBackUpToIt) {
    EXPECT_EQ("\"a\"b\"", attributeText<std::string>("a\"b"));
    expectReads<std::string>("a", "\"a\"b\"", "b\"");
    EXPECT_EQ("\"\"\"", attributeText<std::string>("\""));
    expectReads<std::string>("", "\"\"\"", "\"");
}

TEST(QelSimpleAttributeTextTest, AnyCharacterOpensAText) {
    expectReads<std::string>("abc", "'abc\"");
    expectReads<std::string>("bc\nd", " \t\nabc\nd\" \"e\"", " \"e\"");
    expectReads<std::string>("  x", "\"  x\"");
    expectReads<std::string>("", "x\"");
}

TEST(QelSimpleAttributeTextTest, ATextOf255CharactersPasses) {
    std::string const text(255, 'x');
    expectBothWays(text, '"' + text + '"');
    expectReads(text, '"' + text + "\"more", "more");
}

TEST(QelSimpleAttributeTextTest, ATextOf300CharactersIsCutAt255AndTheStreamFails) {
    std::string text;
    for (int i = 0; i < 300; ++i)
        text += static_cast<char>('a' + i % 26);
    std::string const written = attributeText(text);
    EXPECT_EQ('"' + text + '"', written);
    AttributeReading<std::string> const reading = readAttribute<std::string>(written, "before");
    EXPECT_TRUE(reading.failed);
    EXPECT_EQ(text.substr(0, 255), reading.value);
    EXPECT_EQ(text.substr(255) + '"', reading.rest);
    expectFails<std::string>("before", text.substr(0, 255), '"' + text.substr(0, 256) + '"');
}

TEST(QelSimpleAttributeTextTest, ATextWithoutItsEndFailsWithWhatThereIs) {
    expectFails<std::string>("before", "abc", "\"abc");
    expectFails<std::string>("before", "", "\"");
    expectFails<std::string>("before", std::string(255, 'x'), '"' + std::string(255, 'x'));
    expectFails<std::string>("before", std::string(254, 'x'), '"' + std::string(254, 'x'));
    expectRefused<std::string>("before", "");
    expectRefused<std::string>("before", " \n");
}

// ---- Types with stream operators of their own

TEST(QelSimpleAttributeTextTest, AValueIsItsOwnText) {
    expectBothWays(inches(2.5), "2.5 inches");
    expectBothWays(QelValue(1.0, QEL_UNIT_PICA), "1 pica");
    EXPECT_EQ("0.33333333333333331 pixels", attributeText(pixels(1.0 / 3), 17));
    expectReads(QelValue(2.0, QEL_UNIT_WIDTH_RELATIVE), "\n2 width relative units, 3", ", 3");
}

// Not == on values, which is within a tolerance.
TEST(QelSimpleAttributeTextTest, AValueIsReadToTheLastDigit) {
    QelValue const read = readAttribute("0.33333333333333331 hours", QelValue()).value;
    EXPECT_EQ(1.0 / 3, read.value());
    EXPECT_EQ(QEL_UNIT_HOUR, read.unit());
}

TEST(QelSimpleAttributeTextTest, AColourIsItsOwnText) {
    expectBothWays(QelColor(Space(new QelRGBColorSpace()), 1.0, 2.0, 3.5),
                   "QelColor[QelRGBColorSpace[b=3, min=0, max=255]:<1,2,3.5>]");
    expectBothWays(QelColor(2), "QelColor[<0,0>]");
    expectBothWays(QelColor(0), "QelColor[<>]");
    expectReads(QelColor(0), " NULL.", ".");
}

TEST(QelSimpleAttributeTextTest, AColourSpaceIsItsOwnText) {
    std::string const text = "QelCMYKColorSpace[b=4, min=0.5, max=9]";
    EXPECT_EQ(text, attributeText(Space(new QelCMYKColorSpace(4, 0.5, 9.0))));
    AttributeReading<Space> const reading = readAttribute(text + '.', Space());
    ASSERT_TRUE(reading.value);
    EXPECT_TRUE(reading.value->isEqual(QelCMYKColorSpace(4, 0.5, 9.0)));
    EXPECT_FALSE(reading.failed);
    EXPECT_EQ(".", reading.rest);
}

TEST(QelSimpleAttributeTextTest, NoColourSpaceIsNull) {
    EXPECT_EQ("NULL", attributeText(Space()));
    EXPECT_FALSE(readAttribute("NULL", Space(new QelRGBColorSpace())).value);
}

// ---- Failures

// The value's own reader raises: nothing changes, and nobody is called.
template <class T>
void expectErrorPasses(T const & start, std::string const & text, int code,
                       std::string const & refusal) {
    SCOPED_TRACE(text);
    WatchedAttribute<T> const attribute(start);
    std::uint32_t const stamp = attribute->timestamp();
    std::istringstream in(text);
    expectRaises(code, refusal, [&] { attribute->readValue(in); });
    EXPECT_TRUE(in.fail());
    EXPECT_EQ(start, attribute.value());
    EXPECT_EQ(0, attribute.changes());
    EXPECT_EQ(stamp, attribute->timestamp());
}

TEST(QelSimpleAttributeTextTest, AnErrorOfTheValuesOwnReaderPassesAndNothingChanges) {
    for (char const * text : {"", "2", "2 furlongs", "inches", "nan inches"}) {
        expectErrorPasses(inches(7.0), text, QelErrorCode::invalidValue, "Bad unit for QelValue");
    }
    QelColor const color(Space(new QelRGBColorSpace()), 7.0);
    for (char const * text : {"", "QelColor", "QelColor[<1,2", "QelColor[<1,x>]"}) {
        expectErrorPasses(color, text, QelErrorCode::invalidValue, "Invalid QelColor value");
    }
    expectErrorPasses(Space(new QelRGBColorSpace()), "QelRGBColorSpace[b=x]",
                      QelErrorCode::invalidValue, "Invalid QelColorSpace value");
    expectErrorPasses(Space(new QelRGBColorSpace()), "NUL", QelErrorCode::invalidValue,
                      "Invalid QelColorSpace value");
}

TEST(QelSimpleAttributeTextTest, AColourThatItsSpaceRefusesChangesNothing) {
    WatchedAttribute<QelColor> const attribute(QelColor(1));
    std::istringstream in("QelColor[QelRGBColorSpace[b=3, min=0, max=255]:<1,2>]");
    expectRaises(QelErrorCode::countsDiffer,
                 "Cannot set color space RGB(3 bands) into QelColor with 2 bands",
                 [&] { attribute->readValue(in); });
    EXPECT_EQ(QelColor(1), attribute.value());
    EXPECT_EQ(0, attribute.changes());
}

// Raises attributeLocked (21) for a locked attribute, and consumes nothing; not even the bits of
// the stream change.
template <class T>
void expectLockedFirst(T const & value, std::string const & text) {
    SCOPED_TRACE(text);
    WatchedAttribute<T> const attribute(value);
    attribute->lock();
    std::istringstream in(text);
    expectRaises(QelErrorCode::attributeLocked, "watched", [&] { attribute->readValue(in); });
    EXPECT_TRUE(in.good());
    EXPECT_EQ(0, in.tellg());
    EXPECT_EQ(0, attribute.changes());
    EXPECT_EQ(value, attribute.value());
    EXPECT_EQ(attributeText(value), attributeText(attribute.value()));
    attribute->unlock();
    attribute->readValue(in);
    EXPECT_FALSE(in.fail());
    EXPECT_EQ(1, attribute.changes());
}

TEST(QelSimpleAttributeTextTest, ALockedAttributeIsRefusedBeforeAnythingIsConsumed) {
    expectLockedFirst('a', " b");
    expectLockedFirst<unsigned char>(1, " 2");
    expectLockedFirst<short>(1, " 2");
    expectLockedFirst<unsigned long>(1, " 2");
    expectLockedFirst(1.0F, " 2");
    expectLockedFirst(1.0, " 2");
    expectLockedFirst(true, " 0");
    expectLockedFirst(inches(1.0), " 2 meters");
    expectLockedFirst(QelColor(1), " NULL");
    expectLockedFirst(Space(), " NULL");
    expectLockedFirst<std::string>("a", " \"b\"");
    expectLockedFirst<std::wstring>(L"a", " L\"\"");
    expectLockedFirst<QelStringList>({ptstring<char>("a")}, " [\"b\"]");
}

TEST(QelSimpleAttributeTextTest, ALockedAttributeIsRefusedOnABadStreamToo) {
    WatchedAttribute<int> const attribute(1);
    attribute->lock();
    std::istringstream in("x");
    in.setstate(std::ios_base::failbit);
    expectRaises(QelErrorCode::attributeLocked, "watched", [&] { attribute->readValue(in); });
    EXPECT_EQ(std::ios_base::failbit, in.rdstate());
}

TEST(QelSimpleAttributeTextTest, ALockedAttributeIsWritten) {
    WatchedAttribute<int> const attribute(5);
    attribute->lock();
    std::ostringstream out;
    attribute->writeValue(out);
    EXPECT_EQ("5", out.str());
}

// Fails without an error, keeps what an attribute is, and changes it all the same.
template <class T>
void expectFailsOn(std::ios_base::iostate state, T const & start, T const & left,
                   std::string const & text) {
    SCOPED_TRACE(text);
    WatchedAttribute<T> const attribute(start);
    std::uint32_t const stamp = attribute->timestamp();
    std::istringstream in(text);
    in.setstate(state);
    attribute->readValue(in);
    EXPECT_TRUE(in.fail());
    EXPECT_EQ(left, attribute.value());
    EXPECT_EQ(1, attribute.changes());
    EXPECT_NE(stamp, attribute->timestamp());
    EXPECT_EQ(text, restOf(in));
}

TEST(QelSimpleAttributeTextTest, AStreamThatFailedOrEndedBeforeGivesNothing) {
    for (std::ios_base::iostate const state :
         {std::ios_base::failbit, std::ios_base::badbit, std::ios_base::eofbit}) {
        expectFailsOn(state, 'a', 'a', "b");
        expectFailsOn<unsigned char>(state, 1, 1, "2");
        expectFailsOn(state, 1, 1, "2");
        expectFailsOn(state, 1U, 1U, "-2");
        expectFailsOn(state, 1.0F, 1.0F, "2");
        expectFailsOn(state, 1.0, 1.0, "2");
        expectFailsOn(state, true, true, "0");
        expectFailsOn<std::string>(state, "a", "a", "\"b\"");
        expectFailsOn<std::wstring>(state, L"a", L"a", "L\"\"");
        expectFailsOn<QelStringList>(state, {ptstring<char>("a")}, {}, "[\"b\"]");
    }
}

TEST(QelSimpleAttributeTextTest, AValueThatReadsSetsNoFailure) {
    std::istringstream in("5");
    WatchedAttribute<int> const attribute(0);
    attribute->readValue(in);
    EXPECT_EQ(std::ios_base::eofbit, in.rdstate());
}

TEST(QelSimpleAttributeTextTest, ValuesFollowEachOther) {
    std::istringstream in("1 -2\n\"a b\" L\"0x0041\" [\"x\",\"y\"]2.5 inches");
    WatchedAttribute<bool> const flag(false);
    WatchedAttribute<int> const number(0);
    WatchedAttribute<std::string> const text("");
    WatchedAttribute<std::wstring> const wide(L"");
    WatchedAttribute<QelStringList> const list({});
    WatchedAttribute<QelValue> const value(QelValue{});
    flag->readValue(in);
    number->readValue(in);
    text->readValue(in);
    wide->readValue(in);
    list->readValue(in);
    value->readValue(in);
    EXPECT_FALSE(in.fail());
    EXPECT_TRUE(flag.value());
    EXPECT_EQ(-2, number.value());
    EXPECT_EQ("a b", text.value());
    EXPECT_EQ(L"A", wide.value());
    EXPECT_EQ((QelStringList{ptstring<char>("x"), ptstring<char>("y")}), list.value());
    EXPECT_EQ(inches(2.5), value.value());
}

}  // namespace
