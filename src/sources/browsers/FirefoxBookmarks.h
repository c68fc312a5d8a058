// FirefoxBookmarks: the bookmarks in the places.sqlite of a browser of the Firefox family.
//
// Threads: those of the database. Errors: as BrowserDatabase says; what was handed over before
// stays handed over.
#pragma once

#include "sources/browsers/BrowserDatabase.h"

namespace siftwell {

// All bookmarks, in the order in which they were made; those that were imported, restored or came
// from another computer bear the dates that they had there. Tags are none, though they are stored
// as bookmarks of their own; neither are programs and queries of the browser. At most kMaxAddresses
// of Addresses.h.
Status readFirefoxBookmarks(BrowserDatabase& database, const TakeEntry& take);

}  // namespace siftwell
