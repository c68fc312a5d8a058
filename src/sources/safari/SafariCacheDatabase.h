// SafariCacheDatabase: the pages in a Cache.db, as Safari and other programs of the Mac keep them.
//
// Bodies lie in the database or, the longer ones, in files of the folder "fsCachedData" beside it.
// A body in the database is taken up to the length that confined databases have, one in a file up
// to kMaxCachedBytes; longer ones are passed over.
//
// Threads: those of the database. Errors: throws "PLSqliteException" when the database is damaged
// or locked; what was taken before stands.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/Date.h"
#include "records/CachedObject.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

inline constexpr std::size_t kMaxCachedBytes = std::size_t{64} << 20;

struct SafariCacheEntry {
    std::int64_t entryID = 0;
    std::optional<Date> date;  // its time stamp, which is in UTC
    CachedURLResponse response;
};
using TakeCacheEntry = std::function<bool(SafariCacheEntry)>;

// Hands over what has a time stamp later than the text of thresholdText(), one after the other,
// until it answers no. A database without these tables has nothing: it is another program's, or
// one of the oldest layout, which kept bodies elsewhere. How many rows were looked at,
// kMaxAddresses at most.
std::size_t readSafariCache(PLSqliteDatabase& database, const std::string& folder,
                            const std::string& laterThan, const TakeCacheEntry& take);

// An entry's response with the body that stands beside it. Newer layouts keep no body there, and
// files are not looked at: then this throws, or hands over nothing.
void readBackSafariCache(PLSqliteDatabase& database, std::int64_t entryID,
                         const std::function<void(CachedURLResponse)>& take);

// The bytes of a file in a cache; none when it cannot be read or is longer than kMaxCachedBytes.
std::optional<std::string> bytesOfCachedFile(const std::string& path);

}  // namespace siftwell
