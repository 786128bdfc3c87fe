#pragma once

#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "QelErrorCode.h"
#include "ZanError.h"

// The ZanError that `action` raises; a failure of the test, and nothing, when it raises none.
template <class Action>
std::optional<ZanError> errorOf(Action && action) {
    try {
        std::forward<Action>(action)();
    } catch (ZanError const & error) {
        return error;
    }
    ADD_FAILURE() << "no error was raised";
    return std::nullopt;
}

// What a status or an error must be: component QEL, that code, and no more than that text.
inline void expectQelError(ZanError const & error, int code, std::string const & text) {
    EXPECT_STREQ("QEL", error.getComponent());
    EXPECT_EQ(code, error.getErrcode());
    EXPECT_EQ("QEL error " + std::to_string(code) + '\n' + text, error.getMsg());
}

// Expects `action` to raise that error.
template <class Action>
void expectRaises(int code, std::string const & text, Action && action) {
    std::optional<ZanError> const error = errorOf(std::forward<Action>(action));
    if (error) expectQelError(*error, code, text);
}
