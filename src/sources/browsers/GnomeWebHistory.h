// GnomeWebHistory: the visits in the ephy-history.db of GNOME Web.
//
// Threads: those of the database. Errors: as BrowserDatabase says; what was handed over before
// stays handed over.
#pragma once

#include "sources/browsers/BrowserDatabase.h"

namespace siftwell {

// One entry for each page that was visited after the date: its latest visit, in any order.
Status readGnomeWebVisits(BrowserDatabase& database, Date after, const TakeEntry& take);

}  // namespace siftwell
