// One file of Firefox's cache (cache2/entries): the body, what is known of it, and at the very end
// where the one ends and the other begins.
//
// Format versions 1 to 4 are read; encrypted entries (from version 4 on) are none. The checksums
// are not verified: where a file was not written to its end, its numbers do not agree.
//
// Threads: pure function. Errors: input is hostile; what is damaged is no page.
#pragma once

#include <optional>

#include "base/Date.h"
#include "records/CachedPage.h"
#include "sources/caches/ByteSource.h"

namespace siftwell {

std::optional<CachedPage> readFirefoxCacheEntry(const ByteSource& file, Date modified);

}  // namespace siftwell
