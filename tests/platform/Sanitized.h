#pragma once

// Whether the program is built with a sanitizer, which has a heap of its own.
#if defined(__has_feature)
inline constexpr bool sanitized =
    __has_feature(address_sanitizer) != 0 || __has_feature(thread_sanitizer) != 0;
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif
