// Limits of this process, and of what it becomes.
#pragma once

#include <sys/resource.h>

namespace siftwell {

// Lower ones stay. At the first amount the process is told, at the last it is held to it.
void limit(decltype(RLIMIT_AS) resource, rlim_t amount, rlim_t atLast);

}  // namespace siftwell
