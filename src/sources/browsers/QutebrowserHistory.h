// QutebrowserHistory: the visits in the history.sqlite of qutebrowser.
//
// Threads: those of the database. Errors: as BrowserDatabase says; what was handed over before
// stays handed over.
#pragma once

#include "sources/browsers/BrowserDatabase.h"

namespace siftwell {

// One entry for each page that was visited after the date and led nowhere else: its latest visit,
// in any order.
Status readQutebrowserVisits(BrowserDatabase& database, Date after, const TakeEntry& take);

}  // namespace siftwell
