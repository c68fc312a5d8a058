#include "sources/browsers/FalkonHistory.h"

namespace siftwell {

Status readFalkonVisits(BrowserDatabase& database, Date after, const TakeEntry& take) {
    const auto columns = database.columnsOf("history", {"url", "title", "date"});
    if (!columns) return columns.status();
    constexpr DateCount kMilliseconds{1000, kUnixEpoch};
    return database.takeVisits(
        "SELECT " + textIn("url") + ", " + textIn("title") +
            ", date FROM history WHERE typeof(date) = 'integer' AND date > ?",
        kMilliseconds, after, take);
}

}  // namespace siftwell
