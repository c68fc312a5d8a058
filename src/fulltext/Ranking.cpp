#include "fulltext/Ranking.h"

#include <algorithm>

#include "base/Translate.h"

namespace siftwell::fulltext {

Result<bool> Ranking::run(const Deadline& deadline) {
    for (; m_segment < m_snapshot.segments.size(); ++m_segment) {
        if (m_matcher == nullptr) {
            auto matcher =
                m_plan.matcherFor(m_segment, m_max == kAll ? MatchOrder::Rising : MatchOrder::Any);
            if (!matcher) return matcher.status();
            m_matcher = *std::move(matcher);
            if (m_matcher == nullptr) continue;
            if (isFull()) m_matcher->setThreshold(m_hits.front().score);
        }
        Result<bool> isDone = rankSegment(deadline);
        if (!isDone || !*isDone) return isDone;
        m_matcher.reset();
    }
    if (!m_isMemoryDone) rankMemory();
    return true;
}

Result<bool> Ranking::rankSegment(const Deadline& deadline) {
    constexpr int kDocumentsBetweenLooks = 128;
    const LiveSegment& live = m_snapshot.segments[m_segment];
    Matcher& matcher = *m_matcher;
    for (int seen = 0; matcher.document() != kNoDocument; ++seen) {
        if (seen % kDocumentsBetweenLooks == kDocumentsBetweenLooks - 1 && deadline.isOver()) {
            return false;
        }
        const DocumentID document = matcher.document();
        const bool isKept = live.isLive(document) && offer({document, matcher.score()});
        if (isKept && isFull()) matcher.setThreshold(m_hits.front().score);
        matcher.next();
    }
    if (matcher.isDamaged()) {
        return Status(StatusCode::Damaged, _("The postings of the index are damaged."));
    }
    return true;
}

void Ranking::rankMemory() {
    for (const auto& document : m_snapshot.memory) {
        if (document == nullptr) continue;
        if (const auto score = m_plan.scoreInMemory(*document)) offer({document->id, *score});
    }
    m_isMemoryDone = true;
}

bool Ranking::offer(const Hit& hit) {
    if (!isFull()) {
        m_hits.push_back(hit);
        std::push_heap(m_hits.begin(), m_hits.end(), ranksBefore);
        return true;
    }
    m_hasLeftOut = true;
    if (!ranksBefore(hit, m_hits.front())) return false;
    replaceWorst(hit);
    return true;
}

// From the front of the heap the new hit goes down to where it belongs: half the work of taking the
// worst out and putting the new one in.
void Ranking::replaceWorst(const Hit& hit) {
    std::size_t place = 0;
    for (std::size_t below = 1; below < m_hits.size(); below = 2 * place + 1) {
        if (below + 1 < m_hits.size() && ranksBefore(m_hits[below], m_hits[below + 1])) ++below;
        if (!ranksBefore(hit, m_hits[below])) break;
        m_hits[place] = m_hits[below];
        place = below;
    }
    m_hits[place] = hit;
}

std::vector<Hit> Ranking::takeHits() {
    std::sort(m_hits.begin(), m_hits.end(), ranksBefore);
    // Once there were enough, documents may have been passed over unseen.
    m_hasLeftOut = m_hasLeftOut || isFull();
    return std::move(m_hits);
}

}  // namespace siftwell::fulltext
