#include "sources/browsers/GnomeWebHistory.h"

namespace siftwell {

namespace {

constexpr DateCount kMicroseconds{1'000'000, kUnixEpoch};
constexpr DateCount kSeconds{1, kUnixEpoch};

}  // namespace

// Frames are never recorded, and what the numbers of visit types mean has changed over time, so
// they say nothing. A page that is hidden from the overview is only not offered there any more.
Status readGnomeWebVisits(BrowserDatabase& database, Date after, const TakeEntry& take) {
    const auto visits = database.columnsOf("visits", {"url", "visit_time"});
    const auto pages = database.columnsOf("urls", {"id", "url", "title"});
    if (!visits || !pages) return visits ? pages.status() : visits.status();
    // The version that brought this column went over from seconds to microseconds.
    const DateCount& dates = pages->contains("sync_id") ? kMicroseconds : kSeconds;
    return database.takeVisits(latestVisitOfEachPage({.visits = "visits",
                                                      .page = "url",
                                                      .date = "visit_time",
                                                      .counts = "1",
                                                      .pages = "urls",
                                                      .shown = "1"}),
                               dates, after, take);
}

}  // namespace siftwell
