// SafariHistoryDatabase: the visits in Safari's History.db.
//
// Threads: those of the database. Errors: throws "PLSqliteException" when the database is damaged,
// encrypted, locked or of another form; what was taken before stands.
#pragma once

#include <string>

#include "records/BrowserEntry.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

// Every visit later than the text of thresholdText(), as often as a page was visited, in the order
// of the database; without title. Visits that led elsewhere are left out: where they led to has a
// visit of its own.
//
// Dates have single precision, as in the indexes there are: 64 seconds in these years.
void readSafariVisits(PLSqliteDatabase& database, const std::string& laterThan,
                      const TakeEntry& take);

}  // namespace siftwell
