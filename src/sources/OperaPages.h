// OperaPages: the history and the bookmarks of the Opera that had its own engine. Both are texts;
// which of them one is, its lines tell.
//
// Threads: pure function. Errors: input is hostile; what is no address is passed over. Time is
// linear in the text; for the number of pages see Addresses.h.
#pragma once

#include <string_view>
#include <vector>

#include "records/BatchEntry.h"
#include "sources/Addresses.h"

namespace siftwell {

// The pages in their order, each with its date unless that is 0 or not there.
//
// A visit is a title, an address, a time and "-1", each on a line of its own. The "-1" ends it
// wherever it stands: an address or title that contains it is cut there, and the rest begins the
// next visit. A bookmark's address ends at a quotation mark, ";" or ">", too.
std::vector<BatchEntry> operaPagesInText(std::string_view text, const GoOn& goOn);

}  // namespace siftwell
