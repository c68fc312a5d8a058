#include "sources/browsers/FirefoxHistory.h"

namespace siftwell {

Status readFirefoxVisits(BrowserDatabase& database, Date after, const TakeEntry& take) {
    const auto visits = database.columnsOf("moz_historyvisits", {"place_id", "visit_date"});
    const auto pages = database.columnsOf("moz_places", {"id", "url", "title"});
    if (!visits || !pages) return visits ? pages.status() : visits.status();
    // 4 is an embedded visit, 8 one in a frame, 7 a download.
    return database.takeVisits(
        latestVisitOfEachPage(
            {.visits = "moz_historyvisits",
             .page = "place_id",
             .date = "visit_date",
             .counts = visits->contains("visit_type") ? "coalesce(v.visit_type, 0) NOT IN (4, 7, 8)"
                                                      : "1",
             .pages = "moz_places",
             .shown = pages->contains("hidden") ? "coalesce(p.hidden, 0) = 0" : "1"}),
        kFirefoxDates, after, take);
}

}  // namespace siftwell
