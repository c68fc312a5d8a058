#include "confine/Limits.h"

#include <algorithm>

#include "confine/Failure.h"

namespace siftwell {

void limit(decltype(RLIMIT_AS) resource, rlim_t amount, rlim_t atLast) {
    rlimit limits{};
    require(getrlimit(resource, &limits), "read a limit");
    limits.rlim_max = std::min(limits.rlim_max, atLast);
    limits.rlim_cur = std::min(limits.rlim_max, amount);
    require(setrlimit(resource, &limits), "set a limit");
}

}  // namespace siftwell
