#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>

#include "AttributeTextTesting.h"
#include "QelSimpleAttribute.h"

namespace {

using Wide = std::wstring;

// Characters that no compiler lets one write.
Wide wideOf(std::initializer_list<std::uint32_t> characters) {
    Wide text;
    for (std::uint32_t const character : characters)
        text.push_back(static_cast<wchar_t>(character));
    return text;
}

void expectBothWays(Wide const & value, std::string const & text) {
    EXPECT_EQ(text, attributeText(value));
    expectReads(value, text);
}

// Fails, the value stays, and `rest` is what was not read.
void expectRefused(std::string const & text, std::string const & rest = "") {
    SCOPED_TRACE(text);
    AttributeReading<Wide> const reading = readAttribute<Wide>(text, L"before");
    EXPECT_TRUE(reading.failed);
    EXPECT_EQ(L"before", reading.value);
    EXPECT_EQ(rest, reading.rest);
}

TEST(QelSimpleAttributeTextWideTest, UnitsHaveFourHexadecimalDigits) {
    expectBothWays(L"A", "L\"0x0041\"");
    expectBothWays(L"A\"b", "L\"0x0041,0x0022,0x0062\"");
    expectBothWays(wideOf({0, 1, 0xFFFF, 0xABCD}), "L\"0x0000,0x0001,0xffff,0xabcd\"");
    expectBothWays(L" \n", "L\"0x0020,0x000a\"");
}

TEST(QelSimpleAttributeTextWideTest, NoCharactersAreNoUnits) {
    expectBothWays(L"", "L\"\"");
    AttributeReading<Wide> const reading = readAttribute<Wide>(" L\"\"\"", L"before");
    EXPECT_EQ(L"", reading.value);
    EXPECT_EQ("\"", reading.rest);
}

TEST(QelSimpleAttributeTextWideTest, CharactersBeyond16BitsArePairs) {
    expectBothWays(wideOf({0x10000}), "L\"0xd800,0xdc00\"");
    expectBothWays(wideOf({0x1F600, 'x'}), "L\"0xd83d,0xde00,0x0078\"");
    expectBothWays(wideOf({0x10FFFF}), "L\"0xdbff,0xdfff\"");
    expectBothWays(wideOf({0x10000, 0x10FFFF}), "L\"0xd800,0xdc00,0xdbff,0xdfff\"");
}

TEST(QelSimpleAttributeTextWideTest, LoneSurrogatesComeBack) {
    expectBothWays(wideOf({0xD800}), "L\"0xd800\"");
    expectBothWays(wideOf({0xDBFF, 'x'}), "L\"0xdbff,0x0078\"");
    expectBothWays(wideOf({0xDC00, 0xD800}), "L\"0xdc00,0xd800\"");
    expectBothWays(wideOf({0xDFFF, 0xDC80}), "L\"0xdfff,0xdc80\"");
    expectBothWays(wideOf({0xD7FF, 0xDC00}), "L\"0xd7ff,0xdc00\"");
    expectBothWays(wideOf({0xD800, 0xE000}), "L\"0xd800,0xe000\"");
    expectBothWays(wideOf({0xD800, 0xDBFF, 0xDBFF}), "L\"0xd800,0xdbff,0xdbff\"");
}

TEST(QelSimpleAttributeTextWideTest, TwoSurrogatesThatMakeAPairComeBackAsOneCharacter) {
    EXPECT_EQ("L\"0xd800,0xdc00\"", attributeText(wideOf({0xD800, 0xDC00})));
    expectReads(wideOf({0xD800, 0x10000, 0xDC00}), "L\"0xd800,0xd800,0xdc00,0xdc00\"");
}

TEST(QelSimpleAttributeTextWideTest, WhatIsNoCodePointIsReplaced) {
    EXPECT_EQ("L\"0xfffd,0x0041,0xfffd\"", attributeText(wideOf({0x110000, 'A', 0xFFFFFFFFU})));
}

TEST(QelSimpleAttributeTextWideTest, UnitsReadInAnyUsualForm) {
    expectReads<Wide>(L"AZ", "L\"41,0X5a\"");
    expectReads<Wide>(L"AZ", "L\"0x000041,05A\"");
    expectReads<Wide>(L"AZ", " \n\tL\" 0x41 \n,\t5A \"x", "x");
}

TEST(QelSimpleAttributeTextWideTest, AfterLOnlyADoubleQuoteIsTaken) {
    expectRefused("L0x0041\"", "0x0041\"");
    expectRefused("L \"0x0041\"", " \"0x0041\"");
    expectRefused("LL\"\"", "L\"\"");
    expectRefused("L");
}

TEST(QelSimpleAttributeTextWideTest, AnyOtherFirstCharacterLeavesTheValue) {
    expectRefused("l\"0x0041\"", "\"0x0041\"");
    expectRefused("'abc'", "abc'");
    expectRefused("0x0041", "x0041");
    expectRefused("[\"a\"]", "\"a\"]");
    expectRefused("");
    expectRefused(" \n");
}

TEST(QelSimpleAttributeTextWideTest, UnitsThatDoNotReadLeaveTheValue) {
    expectRefused("L\"0x10000\"", "\"");
    expectRefused("L\"0x0041,0x12345,0x0041\"", ",0x0041\"");
    expectRefused("L\"-1\"", "-1\"");
    expectRefused("L\"+1\"", "+1\"");
    expectRefused("L\"0x0041,\"", "\"");
    expectRefused("L\",0x0041\"", ",0x0041\"");
    expectRefused("L\"0x\"", "\"");
    expectRefused("L\"g\"", "g\"");
}

TEST(QelSimpleAttributeTextWideTest, UnitsWithoutTheirEndLeaveTheValue) {
    expectRefused("L\"");
    expectRefused("L\"0x0041");
    expectRefused("L\"0x0041,");
    expectRefused("L\"0x0041;0x0042\"", "0x0042\"");
    expectRefused("L\"0x0041 0x0042\"", "x0042\"");
}

TEST(QelSimpleAttributeTextWideTest, ALongTextComesBackWhole) {
    Wide text;
    for (std::uint32_t i = 0; i < 5000; ++i)
        text.push_back(static_cast<wchar_t>(i * 11));  // ends below the surrogates
    std::string const written = attributeText(text);
    EXPECT_EQ(3 + 5000U * 7 - 1, written.size());
    EXPECT_TRUE(readAttribute<Wide>(written, L"").value == text);
}

// ---- The narrow form

TEST(QelSimpleAttributeTextWideTest, ANarrowTextIsConverted) {
    expectReads<Wide>(L"ab c", "\"ab c\" x", " x");
    expectReads<Wide>(L"", "\"\"");
    expectReads<Wide>(L"L0x0041", " \n\"L0x0041\"");
    expectReads<Wide>(wideOf({0xE4, 0x20AC, 0x1F600}), "\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\"");
    expectReads(wideOf({'a', 0, 'b'}), std::string("\"a\0b\"", 5));
}

TEST(QelSimpleAttributeTextWideTest, BytesThatAreNoUtf8AreEscaped) {
    expectReads(wideOf({0xDCFF, 'a', 0xDCC3}), "\"\xff\x61\xc3\"");
}

TEST(QelSimpleAttributeTextWideTest, ANarrowTextOf255CharactersPasses) {
    expectReads(Wide(255, L'x'), '"' + std::string(255, 'x') + '"');
}

TEST(QelSimpleAttributeTextWideTest, ALongerNarrowTextIsCutAndTheStreamFails) {
    AttributeReading<Wide> const reading =
        readAttribute<Wide>('"' + std::string(300, 'x') + '"', L"before");
    EXPECT_TRUE(reading.failed);
    EXPECT_EQ(Wide(255, L'x'), reading.value);
    EXPECT_EQ(std::string(45, 'x') + '"', reading.rest);
}

TEST(QelSimpleAttributeTextWideTest, ANarrowTextWithoutItsEndFailsWithWhatThereIs) {
    expectFails<Wide>(L"before", L"abc", "\"abc");
    expectFails<Wide>(L"before", L"", "\"");
}

}  // namespace
