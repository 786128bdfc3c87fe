#pragma once

#include <cstddef>
#include <functional>

#include <gtest/gtest.h>
#include <pthread.h>

#include "../platform/Sanitized.h"

// A stack that a call for each of 100,000 things would overflow, however little each call takes,
// and that unoptimised or watched code gets by with all the same.
#if defined(__OPTIMIZE__)
inline constexpr std::size_t smallStack = sanitized ? std::size_t{1} << 20 : std::size_t{1} << 18;
#else
inline constexpr std::size_t smallStack = std::size_t{1} << 20;
#endif

// Runs `body` on a thread of its own, with such a stack, and waits for its end.
inline void runOnSmallStack(std::function<void()> const & body) {
    pthread_attr_t attributes;
    ASSERT_EQ(0, ::pthread_attr_init(&attributes));
    ASSERT_EQ(0, ::pthread_attr_setstacksize(&attributes, smallStack));
    auto const run = [](void * what) -> void * {
        (*static_cast<std::function<void()> const *>(what))();
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(
        0, ::pthread_create(&thread, &attributes, run, const_cast<std::function<void()> *>(&body)));
    EXPECT_EQ(0, ::pthread_join(thread, nullptr));
    ::pthread_attr_destroy(&attributes);
}
