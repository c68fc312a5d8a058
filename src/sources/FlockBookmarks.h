// FlockBookmarks: the bookmarks of Flock, whose second generation keeps them as the Firefox family
// does (see FirefoxBookmarks.h) and whose third as the Chrome family does, in a file "Bookmarks".
//
// Threads: pure function. Errors: input is hostile; see BookmarkTree.h.
#pragma once

#include "sources/BookmarkTree.h"

namespace siftwell {

// The bookmarks in the bytes of that file that were added after the date, or at a time that is not
// known.
Status readFlockBookmarks(std::string_view bytes, Date after, const TakeEntry& take);

}  // namespace siftwell
