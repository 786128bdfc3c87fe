#include "ZanSourceLocation.h"

#include <gtest/gtest.h>

#include <string>

namespace {

unsigned lineOfCaller(ZanSourceLocation where = ZanSourceLocation::current()) {
    return static_cast<unsigned>(where.line());
}
std::string fileOfCaller(ZanSourceLocation where = ZanSourceLocation::current()) {
    return where.file_name();
}

TEST(ZanSourceLocationTest, ADefaultArgumentNamesTheCaller) {
    EXPECT_EQ(static_cast<unsigned>(__LINE__), lineOfCaller());
    EXPECT_EQ(__FILE__, fileOfCaller());
}

}  // namespace
