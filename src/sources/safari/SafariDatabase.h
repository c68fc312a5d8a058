// SafariDatabase: what the readers of Safari's databases have in common.
//
// Threads: those of the database, one at a time.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "base/Date.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

// Of the processor's, for all that is read of one database; half a million visits take two seconds.
inline constexpr std::chrono::milliseconds kSafariDatabaseTime = std::chrono::seconds(60);

// For reading the file itself, which its program may be writing; confined. Null when it cannot be
// opened. Nothing is left beside a file whose write-ahead log was merged.
std::shared_ptr<PLSqliteDatabase> openInPlace(const std::string& path,
                                              std::chrono::milliseconds time = kSafariDatabaseTime);

// The answer to a query. Throws "PLSqliteException" when it cannot be prepared.
std::unique_ptr<PLSqliteResultSet> rowsOf(PLSqliteDatabase& database, const std::string& query);

// A date as the databases are asked for what is later: "2026-11-20 06:48:00", in UTC by today's
// distance to it. In the other half of the year a zone with summer time is an hour off, so that
// what was read before is looked at again, or an hour later; this is on purpose, since the dates
// of earlier scans were made that way.
std::string thresholdText(Date date, Date now);

}  // namespace siftwell
