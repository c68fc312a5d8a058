// ShiiraBookmarks: the bookmarks of Shiira, a property list of folders and bookmarks.
//
// Threads: pure function. Errors: input is hostile; see PropertyListFormat.h for what is refused.
#pragma once

#include <string_view>

#include "base/Status.h"
#include "records/BrowserEntry.h"

namespace siftwell {

// The bookmarks in their order; none of them has a date. At most kMaxAddresses of Addresses.h.
Status readShiiraBookmarks(std::string_view bytes, const TakeEntry& take);

}  // namespace siftwell
