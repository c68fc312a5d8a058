// Ranking goes through all documents that match a query and keeps the best.
//
// Threads: one at a time. It borrows plan and snapshot, which must outlive it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "base/Status.h"
#include "fulltext/Contents.h"
#include "fulltext/Deadline.h"
#include "fulltext/QueryPlan.h"

namespace siftwell::fulltext {

class Ranking {
public:
    static constexpr std::size_t kAll = static_cast<std::size_t>(-1);

    // Keeps `max` hits, at least one. Documents that cannot be among them are not scored.
    Ranking(const QueryPlan& plan, const Snapshot& snapshot, std::size_t max)
        : m_plan(plan), m_snapshot(snapshot), m_max(max) {
        m_hits.reserve(std::min(max, kUsualHits));
    }

    // Goes on until all are seen or the time is over; whether it is done.
    Result<bool> run(const Deadline& deadline);

    // Once it is done: best first.
    std::vector<Hit> takeHits();
    // Whether documents that match may have been left out.
    bool hasLeftOut() const { return m_hasLeftOut; }

private:
    static constexpr std::size_t kUsualHits = 16;

    Result<bool> rankSegment(const Deadline& deadline);
    void rankMemory();
    bool offer(const Hit& hit);  // whether it is kept
    void replaceWorst(const Hit& hit);
    bool isFull() const { return m_hits.size() >= m_max; }

    const QueryPlan& m_plan;
    const Snapshot& m_snapshot;
    std::size_t m_max;
    std::size_t m_segment = 0;
    std::unique_ptr<Matcher> m_matcher;  // of the segment, while it is under way
    std::vector<Hit> m_hits;             // a heap with the worst in front
    bool m_hasLeftOut = false;
    bool m_isMemoryDone = false;
};

}  // namespace siftwell::fulltext
