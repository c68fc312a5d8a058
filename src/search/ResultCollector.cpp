#include "search/ResultCollector.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace siftwell {

namespace {

// A person sees what is found within a tenth of a second as there at once.
constexpr std::chrono::milliseconds kLongRound(40);
// Thirty slow searches that take turns have their first rows all at the same late moment.
constexpr std::chrono::milliseconds kTimeForFirstRows(80);

}  // namespace

ResultCollector::ResultCollector(const CollectionRequest& request, const ResultRowMaker& maker,
                                 SWNotifier& notifier, const Worker& worker)
    : m_request(request),
      m_maker(maker),
      m_notifier(notifier),
      m_worker(worker),
      m_running(request.searchArray->size()),
      m_delivered(std::chrono::steady_clock::now()) {
    std::iota(m_running.begin(), m_running.end(), std::size_t{0});
    m_batch.searchArray = request.searchArray;
}

void ResultCollector::collect() {
    while (!isOver() && m_worker.keepWaitingForResults()) {
        performRound();
        if (!m_worker.keepWaitingForResults()) return;
        deliverRows();
        if (!isOver()) m_worker.waitForNextRound();
    }
}

void ResultCollector::performRound() {
    const std::vector<std::size_t> running = std::exchange(m_running, {});
    for (const std::size_t position : running) {
        if (m_rows >= kMostRows || !m_worker.keepWaitingForResults()) return;
        takeHits(position);
        if (std::chrono::steady_clock::now() - m_delivered > kLongRound) deliverRows();
    }
}

void ResultCollector::takeHits(std::size_t position) {
    const RunningSearch& running = (*m_request.searchArray)[position];
    const auto matches = running.search->findMatches(kMostHitsOfRound, timeForHits());
    if (!matches) return m_notifier.reportError(matches.status().message(), 9, "", "");
    if (matches->isMoreToCome) m_running.push_back(position);
    for (const fulltext::Hit& hit : matches->hits) {
        if (!m_worker.keepWaitingForResults()) return;
        FoundRow row = m_maker.rowFor({running.index, hit});
        if (isWanted(row)) append(std::move(row));
    }
}

// None, once there are rows: what is found so far is taken.
std::chrono::nanoseconds ResultCollector::timeForHits() const {
    const std::chrono::nanoseconds none(0);
    if (m_rows > 0) return none;
    return std::max(none, m_delivered + kTimeForFirstRows - std::chrono::steady_clock::now());
}

bool ResultCollector::isWanted(const FoundRow& row) const {
    if (row.url.empty() || !m_request.limits.isInside(row.moment.value_or(m_request.moment))) {
        return false;
    }
    return !m_request.sources || row.source.empty() || m_request.sources->contains(row.source);
}

void ResultCollector::append(FoundRow row) {
    m_batch.maxRelevance = std::max(m_batch.maxRelevance, row.score);
    m_batch.resultArray.push_back(std::move(row));
    ++m_rows;
}

void ResultCollector::deliverRows() {
    if (m_batch.resultArray.empty()) return;
    m_delivered = std::chrono::steady_clock::now();
    m_worker.deliver({.searchArray = m_request.searchArray,
                      .resultArray = std::exchange(m_batch.resultArray, {}),
                      .maxRelevance = m_batch.maxRelevance});
}

}  // namespace siftwell
