#include "QelPixelCount.h"

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"

namespace {

template <class Number>
void expectRefused(Number count, std::string const & shown) {
    expectRaises(QelErrorCode::invalidValue,
                 "pixel count " + shown + " is not from 0 to 4294967295",
                 [&] { qelPixelCount(count); });
}

TEST(QelPixelCountTest, IsTheNumberItselfOfAnyType) {
    EXPECT_EQ(0U, qelPixelCount(0));
    EXPECT_EQ(255U, qelPixelCount(std::uint8_t{255}));
    EXPECT_EQ(2147483647U, qelPixelCount(2147483647));
    EXPECT_EQ(4294967295U, qelPixelCount(4294967295U));
    EXPECT_EQ(4294967295U, qelPixelCount(std::int64_t{4294967295}));
    EXPECT_EQ(4294967295U, qelPixelCount(std::uint64_t{4294967295}));
}

TEST(QelPixelCountTest, WhatDoesNotFitIsRefused) {
    expectRefused(-1, "-1");
    expectRefused(std::int8_t{-128}, "-128");
    expectRefused(std::numeric_limits<long>::min(), "-9223372036854775808");
    expectRefused(std::int64_t{4294967296}, "4294967296");
    expectRefused(std::numeric_limits<std::uint64_t>::max(), "18446744073709551615");
}

static_assert(!QelFloatingAmong<int, unsigned, char>);
static_assert(QelFloatingAmong<float>);
static_assert(QelFloatingAmong<int, double>);
static_assert(QelFloatingAmong<long double, int>);

}  // namespace
