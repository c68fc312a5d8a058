// FirefoxHistory: the visits in the places.sqlite of a browser of the Firefox family.
//
// Threads: those of the database. Errors: as BrowserDatabase says; what was handed over before
// stays handed over.
#pragma once

#include "sources/browsers/BrowserDatabase.h"

namespace siftwell {

// One entry for each page that is shown and was visited after the date: its latest visit that
// counts, in any order. Visits inside of pages and downloads do not count; redirects do, since it
// is the source of one that is hidden, not the page it led to.
Status readFirefoxVisits(BrowserDatabase& database, Date after, const TakeEntry& take);

}  // namespace siftwell
