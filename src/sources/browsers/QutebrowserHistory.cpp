#include "sources/browsers/QutebrowserHistory.h"

namespace siftwell {

// Its columns have no types, and early versions stored fractions of a second. The title is that of
// the visit which max() finds.
Status readQutebrowserVisits(BrowserDatabase& database, Date after, const TakeEntry& take) {
    const auto columns = database.columnsOf("History", {"url", "title", "atime"});
    if (!columns) return columns.status();
    const char* isLast = columns->contains("redirect") ? "coalesce(redirect, 0) = 0" : "1";
    constexpr DateCount kSeconds{1, kUnixEpoch};
    return database.takeVisits("SELECT " + textIn("url") + ", " + textIn("title") +
                                   ", max(CAST(atime AS INTEGER)) FROM History "
                                   "WHERE typeof(atime) IN ('integer', 'real') "
                                   "AND CAST(atime AS INTEGER) > ? AND " +
                                   isLast + " GROUP BY url",
                               kSeconds, after, take);
}

}  // namespace siftwell
