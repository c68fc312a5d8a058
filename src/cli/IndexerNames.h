// The names of indexer classes, as they are typed.
//
// Threads: pure functions.
#pragma once

#include <string>

namespace siftwell {

bool isIndexerName(const std::string& name);

// Says that there is no such indexer, and which there are.
std::string explanationOfIndexer(const std::string& name);

}  // namespace siftwell
