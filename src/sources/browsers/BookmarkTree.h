// BookmarkTree: bookmarks that are kept as a tree of JSON objects, which have members of their own
// in each family of browsers.
//
// Threads: pure function. Errors: input is hostile; Damaged for what is no JSON or nests deeper
// than kMaxBookmarkDepth. Memory does not grow with the number of bookmarks: each is handed over
// where its object ends, and what was handed over before the damage stays handed over.
#pragma once

#include <cstddef>
#include <string_view>

#include "base/Status.h"
#include "sources/browsers/BrowserRows.h"

namespace siftwell {

inline constexpr std::size_t kMaxBookmarkDepth = 512;

// What the members of an object are called.
struct BookmarkNames {
    std::string_view address;
    std::string_view title;
    std::string_view date;  // a number, or the text of one
    DateCount dates;
    // An object with this member is left out with all that lies in it behind the member. Empty
    // where there is no such member.
    std::string_view hiddenKey;
    std::string_view hiddenValue;
};

// The objects with an address that isTakenBookmark(); at most kMaxAddresses of Addresses.h.
Status readBookmarkTree(std::string_view json, const BookmarkNames& names, const TakeEntry& take);

}  // namespace siftwell
