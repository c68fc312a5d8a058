// ChromeHistory: the visits in the History of a browser of the Chrome family.
//
// Threads: those of the database. Errors: as BrowserDatabase says; what was handed over before
// stays handed over.
#pragma once

#include "sources/browsers/BrowserDatabase.h"

namespace siftwell {

// One entry for each page that is shown and was visited after the date: its latest visit that
// counts, in any order. A visit counts that ends its chain of redirects and happened neither inside
// of a page nor because a keyword was typed.
Status readChromeVisits(BrowserDatabase& database, Date after, const TakeEntry& take);

}  // namespace siftwell
