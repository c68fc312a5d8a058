// AnchorList: bookmarks and histories that were exported as a list of HTML anchors, and the dumps
// of the program itself, which have that form too.
//
// Threads: pure function. Errors: input is hostile; what is no address is passed over. Time is
// linear in the text; for the number of anchors see Addresses.h.
#pragma once

#include <string_view>
#include <vector>

#include "records/BatchEntry.h"
#include "sources/Addresses.h"

namespace siftwell {

// The anchors in their order, without those whose date is not later than `newerThan`. An anchor is
// whatever begins with "<a" in any letter case. Its address is as it stands in the tag: "&amp;" is
// not decoded; only what the program's own dumps escape is ("&#34;"). Its date is the latest of its
// attributes LAST_VISIT, ADD_DATE and LAST_MODIFIED (seconds since 1970) and LASTCHECKEDTIME
// (seconds since 2001).
std::vector<BatchEntry> anchorsInText(std::string_view text, Date newerThan, const GoOn& goOn);

}  // namespace siftwell
