// Search hands out the documents that match a query, best first, a few at a time.
//
// It keeps looking at what the index held when it began, while documents are added, removed or
// compacted away.
//
// Threads: one at a time, in which all work is done; cancel() may be called from any other.
// Errors: Damaged when a segment is; what was handed out before is right.
#pragma once

#include <atomic>
#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/Contents.h"
#include "fulltext/Query.h"
#include "fulltext/QueryPlan.h"
#include "fulltext/Ranking.h"

namespace siftwell::fulltext {

class Search {
public:
    Search(Snapshot snapshot, std::string_view query, const TermFilter& filter);

    struct Matches {
        std::vector<Hit> hits;
        bool isMoreToCome =
            false;  // hits of this search were not handed out yet, or may not have been
    };

    // The next `max` hits, or none yet when the time is over before they are found. Work goes on in
    // slices of 5 ms; a time limit of 0 is one slice. The first call finds its hits without scoring
    // what cannot be among them; the next one scores everything, once.
    Result<Matches> findMatches(std::size_t max, std::chrono::nanoseconds timeLimit);

    // Ends the work that is under way. Later calls find nothing more.
    void cancel() { m_isCancelled.store(true, std::memory_order_relaxed); }

private:
    Result<Matches> findFirst(std::size_t max, const Deadline& deadline);
    Result<Matches> findFurther(std::size_t max, const Deadline& deadline);

    const Snapshot m_snapshot;
    const Query m_query;
    QueryPlan m_plan;
    std::optional<Ranking> m_ranking;
    std::size_t m_handedOut = 0;
    bool m_isFirstDone = false;
    std::optional<std::vector<Hit>> m_all;  // once everything was scored
    std::atomic<bool> m_isCancelled = false;
};

}  // namespace siftwell::fulltext
