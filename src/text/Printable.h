// Texts from outside that are to be printed or logged.
//
// Threads: a pure function.
#pragma once

#include <string>
#include <string_view>

namespace siftwell {

// The text without what would move a terminal's cursor, change its colours or its direction.
std::string printable(std::string_view text);

}  // namespace siftwell
