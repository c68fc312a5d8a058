// KeyedArchive: reads the keyed archives of Mac OS X, which are property lists: "$objects" holds
// every object once, and they refer to each other by their places.
//
// Threads: pure function. Errors: input is hostile; see PropertyListFormat.h for what is refused.
// References that lead nowhere are nothing.
#pragma once

#include <optional>
#include <string_view>

#include "sources/archives/ObjectArchive.h"

namespace siftwell {

// None when the bytes are no such archive of at most ObjectArchive::kMaxValues values. The roots
// are what was archived without a key ("$0", "$1", …), up to `maxRoots`.
std::optional<ObjectArchive> readKeyedArchive(std::string_view bytes, std::size_t maxRoots);

}  // namespace siftwell
