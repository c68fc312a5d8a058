// FalkonHistory: the visits in the browsedata.db of Falkon.
//
// Threads: those of the database. Errors: as BrowserDatabase says; what was handed over before
// stays handed over.
#pragma once

#include "sources/browsers/BrowserDatabase.h"

namespace siftwell {

// One entry for each page that was visited after the date, with its latest visit, in any order.
Status readFalkonVisits(BrowserDatabase& database, Date after, const TakeEntry& take);

}  // namespace siftwell
