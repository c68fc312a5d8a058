#include "sources/browsers/ChromeHistory.h"

namespace siftwell {

namespace {

// The low 8 bits say what kind of visit it is: 3 and 4 in a frame, 10 made up from a keyword. The
// number is stored as 32 bits with a sign.
constexpr const char* kCounts =
    "(v.transition & 0x20000000) != 0 AND (v.transition & 255) NOT IN (3, 4, 10)";

}  // namespace

Status readChromeVisits(BrowserDatabase& database, Date after, const TakeEntry& take) {
    const auto visits = database.columnsOf("visits", {"url", "visit_time"});
    const auto pages = database.columnsOf("urls", {"id", "url", "title"});
    if (!visits || !pages) return visits ? pages.status() : visits.status();
    return database.takeVisits(
        latestVisitOfEachPage(
            {.visits = "visits",
             .page = "url",
             .date = "visit_time",
             .counts = visits->contains("transition") ? kCounts : "1",
             .pages = "urls",
             .shown = pages->contains("hidden") ? "coalesce(p.hidden, 0) = 0" : "1"}),
        kChromeDates, after, take);
}

}  // namespace siftwell
