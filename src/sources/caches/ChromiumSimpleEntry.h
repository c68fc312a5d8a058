// The files of the Chrome family's simple cache: one for each entry, and one that tells when each
// was used last.
//
// Threads: pure functions. Errors: input is hostile; what is damaged, or does not agree with its
// checksums, is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "base/Date.h"
#include "records/CachedPage.h"
#include "sources/caches/ByteSource.h"

namespace siftwell {

// A file "<16 digits>_0". `lastUsed` is what else is known about that.
std::optional<CachedPage> readChromiumSimpleEntry(const ByteSource& file, Date lastUsed);

// When entries were used last, by the number that their files are named after.
using ChromiumSimpleIndex = std::unordered_map<std::uint64_t, Date>;
std::optional<ChromiumSimpleIndex> readChromiumSimpleIndex(std::string_view bytes);

}  // namespace siftwell
