// CacheFolder: the files of a cache that keeps each entry in a file of its own.
//
// Threads: pure functions. Errors: the first, beside what could be listed.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "sources/caches/BrowserCache.h"

namespace siftwell {

// In rising order. `isEntry` is asked about each name.
BrowserCache::Listing entryFilesIn(const std::string& folder,
                                   const std::function<bool(std::string_view)>& isEntry);

// Whether these are so many hexadecimal digits.
bool isHexadecimal(std::string_view text, std::size_t digits);

}  // namespace siftwell
