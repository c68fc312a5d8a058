// FirefoxBookmarkBackup: the copies of all bookmarks that a browser of the Firefox family makes
// every day in the folder "bookmarkbackups" of a profile, for profiles without a database.
//
// Threads: any. Errors: input is hostile; see MozLz4.h and BookmarkTree.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sources/browsers/BookmarkTree.h"

namespace siftwell {

// The path of the newest backup in the folder, by the day in its name and then by when it was
// changed: "bookmarks-2026-11-21_21_HASH.jsonlz4", or of older versions
// "bookmarks-2012-10-28.json".
std::optional<std::string> newestBookmarkBackup(const std::string& folder);

// The bookmarks in the bytes of a backup, packed or not. Tags are none.
Status readFirefoxBookmarkBackup(std::string_view bytes, const TakeEntry& take);

}  // namespace siftwell
