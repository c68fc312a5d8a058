// PropertyListPages: the property lists in which browsers of the Mac keep bookmarks and histories,
// in either form.
//
// Threads: pure functions. Errors: none when the bytes are no property list; a part of it that has
// not the form it should have is passed over. Input is hostile: see PropertyListFormat.h for the
// depth and the size of what is taken, and Addresses.h for the number of pages.
//
// `goOn` is asked before each container of theirs, be it a folder or a page.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "records/BatchEntry.h"
#include "sources/Addresses.h"

namespace siftwell {

// With titles. The date is that of the last visit, which newer versions do not keep; a page of the
// oldest layout (under "URL") has `fileDate` then, all others none.
std::optional<std::vector<BatchEntry>> safariBookmarks(std::string_view bytes, Date fileDate,
                                                       const GoOn& goOn);

// Those that were visited, with the date of the last visit.
std::optional<std::vector<BatchEntry>> caminoBookmarks(std::string_view bytes, const GoOn& goOn);

// With the date of the visit: 2001-01-01 where there is none.
std::optional<std::vector<BatchEntry>> omniWebHistory(std::string_view bytes, const GoOn& goOn);

}  // namespace siftwell
