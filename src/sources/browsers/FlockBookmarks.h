// FlockBookmarks: the bookmarks of Flock, whose second generation keeps them as the Firefox family
// does (see FirefoxBookmarks.h) and whose third as the Chrome family does, in a file "Bookmarks".
//
// Threads: pure function. Errors: input is hostile; see BookmarkTree.h.
#pragma once

#include "sources/browsers/BookmarkTree.h"

namespace siftwell {

// The bookmarks in the bytes of that file.
Status readFlockBookmarks(std::string_view bytes, const TakeEntry& take);

}  // namespace siftwell
