#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "AttributeTextTesting.h"
#include "QelSimpleAttribute.h"

namespace {

QelStringList listOf(std::initializer_list<std::string> texts) {
    return {texts.begin(), texts.end()};
}

void expectBothWays(QelStringList const & value, std::string const & text) {
    EXPECT_EQ(text, attributeText(value));
    expectReads(value, text);
}

// The stream fails with `left` in the list, and `rest` is what was not read.
void expectCut(QelStringList const & left, std::string const & text,
               std::string const & rest = "") {
    SCOPED_TRACE(text);
    AttributeReading<QelStringList> const reading = readAttribute(text, listOf({"before", "it"}));
    EXPECT_TRUE(reading.failed);
    EXPECT_EQ(left, reading.value);
    EXPECT_EQ(rest, reading.rest);
}

TEST(QelSimpleAttributeTextListTest, AnEmptyListIsTwoBrackets) {
    expectBothWays({}, "[]");
    AttributeReading<QelStringList> const reading = readAttribute("[] x", listOf({"before"}));
    EXPECT_FALSE(reading.failed);
    EXPECT_EQ(QelStringList(), reading.value);
    EXPECT_EQ(" x", reading.rest);
}

TEST(QelSimpleAttributeTextListTest, ElementsAreBetweenQuotesWithCommasBetween) {
    expectBothWays(listOf({"a"}), "[\"a\"]");
    expectBothWays(listOf({""}), "[\"\"]");
    expectBothWays(listOf({"", "", ""}), "[\"\",\"\",\"\"]");
    expectBothWays(listOf({"a b", ",", "]", "[", "\n", "\xc3\xa4\xff"}),
                   "[\"a b\",\",\",\"]\",\"[\",\"\n\",\"\xc3\xa4\xff\"]");
    expectBothWays(listOf({std::string("\0x\0", 3), "y"}), std::string("[\"\0x\0\",\"y\"]", 11));
}

TEST(QelSimpleAttributeTextListTest, TheOldContentsGo) {
    QelStringList const before = listOf({"1", "2", "3"});
    EXPECT_EQ(listOf({"a"}), readAttribute("[\"a\"]", before).value);
    EXPECT_EQ(listOf({"a", "b"}), readAttribute("[\"a\",\"b\"]", before).value);
}

TEST(QelSimpleAttributeTextListTest, WhiteSpaceBetweenElementsIsSkipped) {
    expectReads(listOf({" a ", "b"}), " \n[ \t\" a \" ,\n\"b\" ] x", " x");
}

TEST(QelSimpleAttributeTextListTest, AnyCharacterOpensAnElement) {
    expectReads(listOf({"a", "b", "c"}), "['a\",xb\",]c\"]");
}

TEST(QelSimpleAttributeTextListTest, AnElementOf1023CharactersPasses) {
    std::string const longest(1023, 'x');
    expectBothWays(listOf({longest, "y", longest}),
                   "[\"" + longest + "\",\"y\",\"" + longest + "\"]");
}

TEST(QelSimpleAttributeTextListTest, ALongerElementIsWrittenWholeAndCutAndTheStreamFails) {
    for (std::size_t const length : {1024U, 1025U, 3000U}) {
        std::string const text(length, 'x');
        std::string const written = attributeText(listOf({"a", text, "b"}));
        EXPECT_EQ("[\"a\",\"" + text + "\",\"b\"]", written);
        expectCut(listOf({"a", std::string(1023, 'x')}), written, text.substr(1023) + "\",\"b\"]");
    }
}

TEST(QelSimpleAttributeTextListTest, AnElementWithADoubleQuoteComesBackUpToIt) {
    std::string const written = attributeText(listOf({"a\"b", "c"}));
    EXPECT_EQ("[\"a\"b\",\"c\"]", written);
    expectCut(listOf({"a"}), written, "\",\"c\"]");
}

TEST(QelSimpleAttributeTextListTest, WithoutABracketNothingMoreIsReadAndTheListIsEmpty) {
    expectCut({}, "x\"a\"]", "\"a\"]");
    expectCut({}, "]", "");
    expectCut({}, "\"a\"", "a\"");
    expectCut({}, "");
    expectCut({}, " \n");
}

TEST(QelSimpleAttributeTextListTest, WithoutItsEndTheListIsWhatThereIs) {
    expectCut({}, "[");
    expectCut({}, "[ ");
    expectCut(listOf({""}), "[\"");
    expectCut(listOf({"abc"}), "[\"abc");
    expectCut(listOf({"abc"}), "[\"abc\"");
    expectCut(listOf({"abc"}), "[\"abc\", ");
    expectCut(listOf({"abc", ""}), "[\"abc\",\"");
    expectCut(listOf({"abc", "d"}), "[\"abc\",\"d");
    expectCut(listOf({"abc"}), "[\"abc\";\"d\"]", "\"d\"]");
    expectCut(listOf({std::string(1023, 'x')}), "[\"" + std::string(1023, 'x'));
}

// A blank is no end of an empty list: the bracket behind it opens an element.
TEST(QelSimpleAttributeTextListTest, ABracketBehindABlankOpensAnElement) {
    expectCut(listOf({""}), "[ ]");
    expectReads(listOf({"a"}), "[ ]a\"]");
}

TEST(QelSimpleAttributeTextListTest, ThousandsOfElementsComeBack) {
    QelStringList list;
    std::string text = "[";
    for (int i = 0; i < 20000; ++i) {
        list.emplace_back(std::to_string(i));
        text += (i == 0 ? "\"" : ",\"") + std::to_string(i) + '"';
    }
    expectBothWays(list, text + ']');
}

}  // namespace
