#pragma once

// Names for clang's thread-safety attributes, empty for other compilers. They are macros because
// attributes cannot be named in any other way.

#if defined(__clang__)
#define ZAN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ZAN_THREAD_ATTRIBUTE(x)
#endif

#define ZAN_CAPABILITY(x) ZAN_THREAD_ATTRIBUTE(capability(x))
#define ZAN_SCOPED_CAPABILITY ZAN_THREAD_ATTRIBUTE(scoped_lockable)
#define ZAN_GUARDED_BY(x) ZAN_THREAD_ATTRIBUTE(guarded_by(x))
#define ZAN_PT_GUARDED_BY(x) ZAN_THREAD_ATTRIBUTE(pt_guarded_by(x))
#define ZAN_REQUIRES(...) ZAN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ZAN_ACQUIRE(...) ZAN_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ZAN_TRY_ACQUIRE(...) ZAN_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define ZAN_RELEASE(...) ZAN_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ZAN_NO_THREAD_SAFETY_ANALYSIS ZAN_THREAD_ATTRIBUTE(no_thread_safety_analysis)
