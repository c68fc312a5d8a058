// SnippetLines: a snippet as a terminal shows it.
//
// Threads: a pure function.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "search/Snippet.h"

namespace siftwell {

// Two lines at most, of at most so many columns, without what would move a terminal's cursor; what
// was looked for is bold when that is asked for.
std::vector<std::string> snippetLines(const Snippet& snippet, std::size_t columns, bool isBold);

}  // namespace siftwell
