// The long form of the tests, which script/test --long asks for, does the same more often.
#pragma once

#include <cstdlib>

namespace siftwell {

inline int shortOrLong(int shortCount, int longCount) {
    return std::getenv("SIFTWELL_TEST_LONG") == nullptr ? shortCount : longCount;
}

}  // namespace siftwell
