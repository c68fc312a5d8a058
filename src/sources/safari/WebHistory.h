// WebHistory: histories as property lists, as older Safaris and iCab write them.
//
// Threads: pure function. Errors: a Status when the bytes are no property list. Input is hostile:
// see PropertyListFormat.h for the depth and the size of what is taken.
#pragma once

#include <string_view>

#include "base/Status.h"
#include "records/BrowserEntry.h"

namespace siftwell {

// Its pages in their order, each with the date of its last visit: 2001-01-01 where there is none.
// A property list that names a single page gives that one without a date. No titles.
Status readWebHistory(std::string_view bytes, const TakeEntry& take);

}  // namespace siftwell
