// SearchControl: the one search that is current, and the priority that goes with it.
//
// While a search runs, and for an idle period after it, the thread that started it holds the
// priority: background work waits at its next safe point.
//
// Threads: main; `currentSearch` any.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "base/RunLoop.h"
#include "fulltext/Search.h"
#include "index/IndexLocks.h"
#include "index/OpenIndex.h"

namespace siftwell {

struct RunningSearch {
    SKIndex index;
    std::unique_ptr<fulltext::Search> search;
};
using RunningSearches = std::shared_ptr<std::vector<RunningSearch>>;

// What is going on. A list that is not null is running.
struct CurrentSearch {
    bool isIdle = false;  // the period after a search, with the priority still held
    RunningSearches running;

    bool isNone() const { return !isIdle && running == nullptr; }
};

class SearchControl {
public:
    // Both outlive the object.
    SearchControl(IndexLocks& locks, RunLoop& mainLoop) : m_locks(locks), m_mainLoop(mainLoop) {}
    ~SearchControl();

    // Ends the current search and starts one in each of the indexes. An empty query starts none.
    RunningSearches start(const std::vector<SKIndex>& indexes, const std::string& query);

    CurrentSearch current() const;

    // Ends the current search; the priority is given back after so many seconds, at once with 0.
    void finishAfterIdlePeriod(std::chrono::seconds period);

private:
    void stopTimer();
    void dropRunning();
    void endIdlePeriod();

    IndexLocks& m_locks;
    RunLoop& m_mainLoop;
    RunLoop::TimerID m_timer = 0;
    mutable Mutex m_mutex;
    CurrentSearch m_current SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
