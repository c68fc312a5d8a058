// SIFTWELL_SANITIZED: defined in builds whose sanitizer looks after faults and exceptions itself.
#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SIFTWELL_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SIFTWELL_SANITIZED
#endif
#endif
