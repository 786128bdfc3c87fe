#include "QelError.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "ExpectError.h"

namespace {

static_assert(std::is_base_of_v<ZanError, QelError>);
static_assert(sizeof(QelError) == sizeof(ZanError), "adds no fields");

TEST(QelErrorTest, TextFollowsTheBaseTextOnALineOfItsOwn) {
    expectQelError(QelError(7, "Bad error index", "f.cpp", 3), 7, "Bad error index");
    expectQelError(QelError(7, std::string("Bad error index"), "f.cpp", 3), 7, "Bad error index");
    EXPECT_STREQ("QEL error 7\nBad error index", QelError(7, "Bad error index", "f", 3).getMsg());
    EXPECT_STREQ("QEL error 7\nBad error index", QelError(7, "Bad error index", "f", 3).what());
}

// QelError(7, (char const *)0, f, l) leaves the base message of ZanError untouched.
TEST(QelErrorTest, NullTextLeavesTheBaseText) {
    EXPECT_STREQ("QEL error 7", QelError(7, static_cast<char const *>(nullptr), "f", 1).getMsg());
}

TEST(QelErrorTest, EmptyStringLeavesTheBaseText) {
    EXPECT_STREQ("QEL error 7", QelError(7, std::string(), "f", 1).getMsg());
}

TEST(QelErrorTest, RecordsComponentCodeFileAndLine) {
    QelError const error(118, "text", "QelTile.cpp", 41);
    EXPECT_STREQ("QEL", error.getComponent());
    EXPECT_EQ(QelErrorCode::unsupportedDataType, error.getErrcode());
    EXPECT_STREQ("QelTile.cpp", error.getFile());
    EXPECT_EQ(41, error.getLine());
}

TEST(QelErrorTest, TextDoesNotCarryFileAndLine) {
    std::string const text = QelError(1, "text", "QelTile.cpp", 4711).getMsg();
    EXPECT_EQ(std::string::npos, text.find("QelTile"));
    EXPECT_EQ(std::string::npos, text.find("4711"));
}

TEST(QelErrorTest, CopyOfAnyErrorKeepsAllState) {
    ZanError other("Zan", 12, "z.cpp", 5);
    other.setMsg("changed");
    QelError const copy(other);
    EXPECT_STREQ("Zan", copy.getComponent());
    EXPECT_EQ(12, copy.getErrcode());
    EXPECT_STREQ("z.cpp", copy.getFile());
    EXPECT_EQ(5, copy.getLine());
    EXPECT_STREQ("changed", copy.getMsg());
}

// Code that stores errors by assignment must not have the text framed once more.
TEST(QelErrorTest, AssignmentKeepsTheText) {
    ZanError stored;
    stored = QelError(3, "text", "f", 1);
    EXPECT_STREQ("QEL error 3\ntext", stored.getMsg());
    EXPECT_EQ(QelErrorCode::misuse, stored.getErrcode());
}

TEST(QelErrorTest, RaiseThrowsByValueFromTheCallersPosition) {
    auto const line = static_cast<int>(ZanSourceLocation::current().line());
    try {
        qelRaise(9, "Invalid Layout option");
    } catch (QelError const & error) {
        EXPECT_STREQ("QEL error 9\nInvalid Layout option", error.getMsg());
        EXPECT_EQ(line + 2, error.getLine());
        EXPECT_NE(std::string::npos, std::string(error.getFile()).find("QelErrorTest.cpp"));
        return;
    }
    FAIL() << "no QelError was raised";
}

TEST(QelErrorTest, IsCaughtAsZanErrorAndAsStandardException) {
    EXPECT_THROW(qelRaise(1, "x"), ZanError);
    EXPECT_THROW(qelRaise(1, "x"), std::exception);
}

}  // namespace
