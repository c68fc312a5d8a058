// BrowserItems: from the browsers that were found on this computer to search items, none of them
// twice.
//
// An item is there when one of the same indexer leads to the same file, by whatever name and way.
//
// Threads: pure functions of the file system.
#pragma once

#include <string>
#include <vector>

#include "base/Paths.h"
#include "records/SearchItem.h"
#include "sources/browsers/BrowserDiscovery.h"

namespace siftwell {

struct BrowserItem {
    enum class State { New, Off, On };

    // The one in the list; or a new one, which is off.
    SearchItem item;
    State state = State::New;
};

struct BrowserItems {
    BrowserProfile profile;
    std::vector<BrowserItem> items;  // one for each source of the profile
};

// "Firefox", "Chromium (Snap)".
std::string browserName(const BrowserProfile& profile);

// New items have names that no other one of them has, none in the list, and no built-in item:
// "Chromium History", or, where that does not tell enough, "Chromium History (Snap, Work)". They
// are in English in every language, since a name is also that of the pages in the index.
std::vector<BrowserItems> browserItems(const std::vector<BrowserProfile>& profiles,
                                       const std::vector<SearchItem>& list, const Paths& paths);
// Of the browsers of this user.
std::vector<BrowserItems> browserItems(const std::vector<SearchItem>& list, const Paths& paths);

// The list with those items that were missing. One that is there is switched on where the given one
// is on. Caches come in at the front, then histories, then bookmarks: a scan begins its items in
// this order, and what is in a cache need not be fetched.
std::vector<SearchItem> withMissingItems(std::vector<SearchItem> list,
                                         const std::vector<SearchItem>& items, const Paths& paths);

}  // namespace siftwell
