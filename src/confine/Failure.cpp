#include "confine/Failure.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace siftwell {

void fail(const char* what, int error, int exitStatus) {
    std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, what, std::strerror(error));
    std::_Exit(exitStatus);
}

}  // namespace siftwell
