#include "ptstring.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using Text = ptstring<char>;

char const * const longText = "a text that is too long for the buffer inside a string";

TEST(ptstringTest, NullAndNothingAreEmpty) {
    Text const texts[] = {Text(), Text(static_cast<char const *>(nullptr)), Text(""),
                          Text(std::string())};
    for (Text const & text : texts) {
        EXPECT_TRUE(text.empty());
        EXPECT_EQ(0U, text.length());
        EXPECT_STREQ("", text.c_str());
        EXPECT_EQ("", text.str());
        EXPECT_TRUE(text == Text());
    }
}

TEST(ptstringTest, ConvertsToAndFromStdString) {
    Text const text = std::string("author");
    std::string const back = text;
    EXPECT_EQ("author", back);
    EXPECT_EQ(6U, text.length());
    EXPECT_FALSE(text.empty());
    EXPECT_STREQ("author", text.c_str());
}

TEST(ptstringTest, KeepsEmbeddedNulls) {
    std::string const withNull("a\0b", 3);
    Text const text = withNull;
    EXPECT_EQ(3U, text.length());
    EXPECT_EQ(withNull, text.str());
}

TEST(ptstringTest, CopiesShareUntilOneIsAssigned) {
    Text const first = longText;
    Text second = first;
    EXPECT_EQ(first.c_str(), second.c_str()) << "a copy has characters of its own";
    second = "other";
    EXPECT_STREQ(longText, first.c_str());
    EXPECT_STREQ("other", second.c_str());
}

TEST(ptstringTest, ACopyOutlivesItsOriginal) {
    Text copy;
    {
        Text const original = longText;
        copy = original;
    }
    EXPECT_STREQ(longText, copy.c_str());
}

TEST(ptstringTest, SelfAssignmentKeepsTheText) {
    Text text = longText;
    Text const & self = text;
    text = self;
    EXPECT_STREQ(longText, text.c_str());
    text = text.c_str() + 2;
    EXPECT_STREQ(longText + 2, text.c_str());
}

TEST(ptstringTest, ComparesByText) {
    EXPECT_TRUE(Text("a") == Text("a"));
    EXPECT_TRUE(Text("a") == "a");
    EXPECT_TRUE(Text("a") == std::string("a"));
    EXPECT_TRUE(Text("a") != Text("b"));
    EXPECT_TRUE(Text("a") < Text("b"));
    EXPECT_FALSE(Text("b") < Text("a"));
    EXPECT_FALSE(Text("a") < Text("a"));
    EXPECT_TRUE(Text() < Text("a"));
}

TEST(ptstringTest, WideCharactersWorkToo) {
    ptstring<wchar_t> const text = L"breit";
    EXPECT_EQ(L"breit", text.str());
    EXPECT_EQ(5U, text.length());
}

TEST(ptstringTest, SharersMayBeUsedByDifferentThreads) {
    Text const shared = longText;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([own = shared]() mutable {
            for (int k = 0; k < 1000; ++k) {
                Text const copy = own;
                ASSERT_STREQ(longText, copy.c_str());
            }
            own = "gone";
        });
    }
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_STREQ(longText, shared.c_str());
}

}  // namespace
