#include "QelTextForm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>

#include "ExpectError.h"
#include "UnitTesting.h"

namespace {

TEST(QelTextFormTest, ReadsUnsignedNumbersWithoutASign) {
    struct Case {
        char const * text;
        std::optional<unsigned> number;
    };
    for (Case const & each : {
             Case{"0", 0u},
             {" \n42x", 42u},
             {"007", 7u},
             {"4294967295", 4294967295u},
             {"4294967296", std::nullopt},
             {"99999999999999999999999", std::nullopt},
             {"-1", std::nullopt},
             {"-0", std::nullopt},
             {"+1", std::nullopt},
             {"", std::nullopt},
             {"x", std::nullopt},
         }) {
        SCOPED_TRACE(each.text);
        std::istringstream in(each.text);
        unsigned number = 77;
        EXPECT_EQ(each.number.has_value(), qelReadNumber(in, number));
        EXPECT_EQ(each.number.has_value(), !in.fail());
        EXPECT_EQ(each.number.value_or(number), number);
    }
}

TEST(QelTextFormTest, NumbersAreDecimalInTheClassicLocale) {
    GroupedLocale const grouped;
    std::istringstream in("1234 1.234 0x1f 1,5");
    in >> std::hex;
    unsigned whole = 0;
    double number = 0.0;
    EXPECT_TRUE(qelReadNumber(in, whole));
    EXPECT_EQ(1234u, whole);
    EXPECT_TRUE(qelReadNumber(in, number));
    EXPECT_EQ(1.234, number);
    EXPECT_TRUE(qelReadNumber(in, whole));
    EXPECT_EQ(0u, whole);
    EXPECT_EQ("x1f", qelReadWord(in, 10));
    EXPECT_TRUE(qelReadNumber(in, number));
    EXPECT_EQ(1.0, number);
}

TEST(QelTextFormTest, WordsEndAtTheirMost) {
    std::istringstream in("a_1B\xe9 rest");
    EXPECT_EQ("a_", qelReadWord(in, 2));
    EXPECT_EQ("1B", qelReadWord(in, 10));
    EXPECT_EQ("", qelReadWord(in, 10));
    EXPECT_EQ(0xe9, qelPeek(in));
}

TEST(QelTextFormTest, NothingReadsPastTheEnd) {
    std::istringstream in("ab");
    EXPECT_TRUE(qelSkip(in, 2));
    EXPECT_FALSE(in.fail());
    EXPECT_LT(qelPeek(in), 0);
    EXPECT_FALSE(in.fail());
    EXPECT_FALSE(qelTake(in, 'x'));
    EXPECT_EQ("", qelReadWord(in, 5));
    EXPECT_FALSE(in.fail());
    EXPECT_FALSE(qelSkip(in, 1));
    EXPECT_TRUE(in.fail());
    std::istringstream other("abc");
    EXPECT_TRUE(qelSkipPast(other, 'b'));
    EXPECT_TRUE(qelTake(other, 'c'));
    EXPECT_FALSE(qelSkipPast(other, 'b'));
    EXPECT_TRUE(other.fail());
}

TEST(QelTextFormTest, ExpectsTheVeryCharacters) {
    std::istringstream in(" \t[x= [x:");
    qelExpect(in, "[x=", "no");
    EXPECT_FALSE(in.fail());
    std::optional<ZanError> const error = errorOf([&] { qelExpect(in, "[x=", "no"); });
    ASSERT_TRUE(error);
    expectQelError(*error, QelErrorCode::invalidValue, "no");
    EXPECT_THAT(error->getFile(), testing::EndsWith("/QelTextFormTest.cpp"));
    EXPECT_TRUE(in.fail());
    EXPECT_FALSE(in.bad());
}

}  // namespace
