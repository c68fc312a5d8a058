#include "fulltext/Search.h"

#include <algorithm>

namespace siftwell::fulltext {

namespace {

constexpr std::chrono::milliseconds kSlice(5);

}  // namespace

Search::Search(Snapshot snapshot, std::string_view query, const TermFilter& filter)
    : m_snapshot(std::move(snapshot)),
      m_query(parseQuery(query, filter)),
      m_plan(m_query, m_snapshot) {}

Result<Search::Matches> Search::findMatches(std::size_t max, std::chrono::nanoseconds timeLimit) {
    if (max == 0 || m_isCancelled.load(std::memory_order_relaxed)) return Matches();
    const Deadline deadline(std::max<std::chrono::nanoseconds>(timeLimit, kSlice), m_isCancelled);
    const Result<bool> isPrepared = m_plan.prepare(deadline);
    if (!isPrepared) return isPrepared.status();
    Result<Matches> matches = Matches{.hits = {}, .isMoreToCome = true};
    if (*isPrepared) {
        matches = m_isFirstDone ? findFurther(max, deadline) : findFirst(max, deadline);
    }
    if (m_isCancelled.load(std::memory_order_relaxed)) return Matches();
    return matches;
}

Result<Search::Matches> Search::findFirst(std::size_t max, const Deadline& deadline) {
    if (!m_ranking) m_ranking.emplace(m_plan, m_snapshot, max);
    const Result<bool> isDone = m_ranking->run(deadline);
    if (!isDone) return isDone.status();
    if (!*isDone) return Matches{.hits = {}, .isMoreToCome = true};
    Matches matches{.hits = m_ranking->takeHits(), .isMoreToCome = false};
    matches.isMoreToCome = m_ranking->hasLeftOut();
    if (!matches.isMoreToCome) m_all = matches.hits;
    m_handedOut = matches.hits.size();
    m_isFirstDone = true;
    m_ranking.reset();
    return matches;
}

Result<Search::Matches> Search::findFurther(std::size_t max, const Deadline& deadline) {
    if (!m_all) {
        if (!m_ranking) m_ranking.emplace(m_plan, m_snapshot, Ranking::kAll);
        const Result<bool> isDone = m_ranking->run(deadline);
        if (!isDone) return isDone.status();
        if (!*isDone) return Matches{.hits = {}, .isMoreToCome = true};
        m_all = m_ranking->takeHits();
        m_ranking.reset();
    }
    const std::size_t begin = std::min(m_handedOut, m_all->size());
    const std::size_t count = std::min(max, m_all->size() - begin);
    const auto first = m_all->begin() + static_cast<std::ptrdiff_t>(begin);
    m_handedOut = begin + count;
    return Matches{.hits = {first, first + static_cast<std::ptrdiff_t>(count)},
                   .isMoreToCome = m_handedOut < m_all->size()};
}

}  // namespace siftwell::fulltext
