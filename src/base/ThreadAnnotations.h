// Names for clang's thread-safety attributes; other compilers ignore them.
#pragma once

#if defined(__clang__)
#define SW_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define SW_THREAD_ATTRIBUTE(x)
#endif

#define SW_CAPABILITY(name) SW_THREAD_ATTRIBUTE(capability(name))
#define SW_SCOPED_CAPABILITY SW_THREAD_ATTRIBUTE(scoped_lockable)
#define SW_GUARDED_BY(lock) SW_THREAD_ATTRIBUTE(guarded_by(lock))
#define SW_REQUIRES(...) SW_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define SW_EXCLUDES(...) SW_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define SW_ACQUIRE(...) SW_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define SW_TRY_ACQUIRE(...) SW_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define SW_RELEASE(...) SW_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
