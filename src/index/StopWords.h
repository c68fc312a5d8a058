// The words that are not indexed.
#pragma once

#include <set>
#include <string>

#include "base/Paths.h"

namespace siftwell {

// One on each line of the resource "StopWords.txt"; none when it is not there.
std::set<std::string> readStopWords(const Paths& paths);

}  // namespace siftwell
