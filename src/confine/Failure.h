// How a program ends that cannot confine itself.
#pragma once

#include <cerrno>

namespace siftwell {

constexpr int kNotConfined = 125;  // exit status
constexpr int kNotRun = 126;
constexpr int kNotFound = 127;

// Writes a line on the error output.
[[noreturn]] void fail(const char* what, int error, int exitStatus = kNotConfined);

// Of a system call.
inline void require(long result, const char* what) {
    if (result < 0) fail(what, errno);
}

}  // namespace siftwell
