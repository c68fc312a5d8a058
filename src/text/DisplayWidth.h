// How much room a character takes on a terminal.
//
// Threads: any. Errors: none.
#pragma once

#include <cstddef>

namespace siftwell {

// In columns: 2 for the wide characters of East Asia, 0 for what joins the character before it, and
// 1 for all others.
std::size_t columnsOf(char32_t character);

}  // namespace siftwell
