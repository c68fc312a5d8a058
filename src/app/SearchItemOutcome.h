// SearchItemOutcome: what a scan of an item changes in the list of search items.
//
// Threads: a pure function of its arguments.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "records/SearchItem.h"

namespace siftwell {

// Puts what the scan learned into the stored item. `scanned` is the working copy at its end, and
// `before` the item as it was stored when the scan began: what the user changed meanwhile stays. An
// item that is gone from the list stays gone. Answers the file to be deleted, if there is one.
std::optional<std::string> storeOutcome(const SearchItem& scanned, const SearchItem& before,
                                        std::vector<SearchItem>& items, Date now);

}  // namespace siftwell
