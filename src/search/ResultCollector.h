// ResultCollector takes the hits of the running searches in rounds and hands them over as rows.
//
// A round takes at most ten hits of every search, as the searches give them: rows are not in the
// order of their scores. What a round has found goes out at its end; a long round hands over what
// it has meanwhile. Until there is a row at all, the first searches get the time that they need.
//
// Threads: the worker's. Errors: a search that fails is reported with severity 9 and left.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/SWNotifier.h"
#include "search/DateLimits.h"
#include "search/ResultRows.h"
#include "search/SearchQuery.h"

namespace siftwell {

// What a worker is to collect.
struct CollectionRequest {
    RunningSearches searchArray;
    std::string query;      // in the engine's language
    std::string userQuery;  // as it was typed
    SearchType userType = SearchType::AllWords;
    DateLimits limits;
    Date moment;  // of the search; the date of what has none
    // The records' sources are to be among these. In the current format the choice of indexes has
    // seen to that already.
    std::optional<std::set<std::string>> sources;
};

struct SearchBatch {
    // The search that it belongs to; a batch that waits keeps no index open.
    std::weak_ptr<RunningSearches::element_type> searchArray;
    std::vector<FoundRow> resultArray;
    float maxRelevance = 0;  // the highest score of the search so far
    bool searchDone = false;
    bool hasFailed = false;  // the search was not done to the end
};

class ResultCollector {
public:
    static constexpr std::size_t kMostHitsOfRound = 10;  // of one index
    // Nobody reads that many rows, and they all stand in memory.
    static constexpr std::size_t kMostRows = 100'000;

    struct Worker {
        std::function<bool()> keepWaitingForResults;
        std::function<void(SearchBatch)> deliver;
        std::function<void()> waitForNextRound;
    };

    ResultCollector(const CollectionRequest& request, const ResultRowMaker& maker,
                    SWNotifier& notifier, const Worker& worker);

    // Ends when all is found or nobody waits any more.
    void collect();

private:
    void performRound();
    void takeHits(std::size_t position);
    std::chrono::nanoseconds timeForHits() const;
    bool isWanted(const FoundRow& row) const;
    void append(FoundRow row);
    void deliverRows();
    bool isOver() const { return m_running.empty() || m_rows >= kMostRows; }

    const CollectionRequest& m_request;
    const ResultRowMaker& m_maker;
    SWNotifier& m_notifier;
    const Worker& m_worker;
    std::vector<std::size_t> m_running;  // places of the searches that may find more
    SearchBatch m_batch;
    std::size_t m_rows = 0;
    std::chrono::steady_clock::time_point m_delivered;  // when rows were; first, when all began
};

}  // namespace siftwell
