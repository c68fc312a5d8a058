// TypedArchive: reads the sequential archives of Mac OS X ("streamtyped", version 4, either byte
// order). Values follow each other behind their types; types, class names, objects and classes are
// written once and then referred to by their number.
//
// Threads: pure function. Errors: input is hostile. Objects and types nest at most 100 levels deep;
// time and memory are bounded by ObjectArchive::kMaxValues, whatever the bytes say.
#pragma once

#include <optional>
#include <string_view>

#include "sources/archives/ObjectArchive.h"

namespace siftwell {

// None when the bytes are no such archive. Reads up to `maxRoots` values; of a damaged archive
// those before the damage.
std::optional<ObjectArchive> readTypedArchive(std::string_view bytes, std::size_t maxRoots);

}  // namespace siftwell
