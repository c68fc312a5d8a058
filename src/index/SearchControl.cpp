#include "index/SearchControl.h"

#include <utility>

namespace siftwell {

SearchControl::~SearchControl() { finishAfterIdlePeriod(std::chrono::seconds(0)); }

RunningSearches SearchControl::start(const std::vector<SKIndex>& indexes,
                                     const std::string& query) {
    stopTimer();
    const bool hadPriority = !current().isNone();
    dropRunning();
    if (!hadPriority) m_locks.takePriority();
    auto searches = std::make_shared<std::vector<RunningSearch>>();
    if (!query.empty()) {
        for (const SKIndex& index : indexes) {
            searches->push_back({index, index->index->search(query)});
        }
    }
    MutexLock lock(m_mutex);
    m_current = {.isIdle = false, .running = searches};
    return searches;
}

CurrentSearch SearchControl::current() const {
    MutexLock lock(m_mutex);
    return m_current;
}

void SearchControl::finishAfterIdlePeriod(std::chrono::seconds period) {
    if (current().isNone()) return;
    stopTimer();
    dropRunning();
    if (period <= period.zero()) return endIdlePeriod();
    m_timer = m_mainLoop.startTimer(period, [this] { endIdlePeriod(); });
}

void SearchControl::stopTimer() {
    if (const RunLoop::TimerID timer = std::exchange(m_timer, 0)) m_mainLoop.cancelTimer(timer);
}

// Whoever still collects its hits notices that the search was cancelled.
void SearchControl::dropRunning() {
    RunningSearches running;
    {
        MutexLock lock(m_mutex);
        running = std::exchange(m_current.running, nullptr);
        m_current.isIdle = m_current.isIdle || running != nullptr;
    }
    if (running == nullptr) return;
    for (RunningSearch& search : *running) search.search->cancel();
}

void SearchControl::endIdlePeriod() {
    m_timer = 0;
    {
        MutexLock lock(m_mutex);
        m_current = {};
    }
    m_locks.releasePriority();
}

}  // namespace siftwell
