#include "fulltext/TermsMatcher.h"

#include <algorithm>
#include <numeric>

namespace siftwell::fulltext {

TermsMatcher::TermsMatcher(std::vector<WeightedList> terms, const Bm25& bm25)
    : m_scores(terms.size()), m_bm25(bm25) {
    std::sort(terms.begin(), terms.end(), [](const WeightedList& a, const WeightedList& b) {
        const bool isRarer = a.list.documents < b.list.documents;
        return a.list.documents != b.list.documents ? isRarer : a.place < b.place;
    });
    m_terms.reserve(terms.size());
    for (const WeightedList& term : terms) {
        // No match comes before the rarest term's first document.
        m_terms.emplace_back(
            term, m_terms.empty() ? kFirstDocumentID : m_terms.front().postings.document());
    }
    m_terms.front().postings.prefetchLengths();
    findFrom(kFirstDocumentID);
}

void TermsMatcher::findFrom(DocumentID target) {
    PostingIterator& rarest = m_terms.front().postings;
    while (target <= kLastDocumentID) {
        if (m_threshold > 0 && target > m_windowLast && !openWindow(target)) continue;
        rarest.advanceTo(target);
        passOverHopeless();
        target = rarest.document();
        if (target == kNoDocument) break;
        if (m_threshold > 0 && target > m_windowLast) continue;
        const DocumentID next = nextIfNot(target);
        if (next == target) {
            m_document = target;
            return;
        }
        target = next;
    }
    m_document = kNoDocument;
}

// Bounds the scores up to the end of the shortest block from the target on. False, with the target
// behind the window, when nothing there can beat the threshold.
bool TermsMatcher::openWindow(DocumentID& target) {
    const ScoreWindow window = windowFrom(target);
    if (cannotBeat(window.bound, m_threshold)) {
        target = window.last == kLastPossible ? kNoDocument : window.last + 1;
        return false;
    }
    m_windowLast = window.last;
    float rest = 0;
    for (auto term = m_terms.rbegin(); term != m_terms.rend(); ++term) {
        term->restBound = rest;
        rest += term->bound;
    }
    computeLeastPart();
    return true;
}

void TermsMatcher::setThreshold(float threshold) {
    m_threshold = threshold;
    computeLeastPart();
}

void TermsMatcher::computeLeastPart() {
    const Term& rarest = m_terms.front();
    const float missing = m_threshold / kBoundSlack - rarest.restBound;
    m_leastPart = rarest.weight > 0 ? missing / rarest.weight : 0;
}

// Goes on, inside the window and the block, to a document that may beat the threshold if it holds
// the other terms. Most documents of the rarest term end here.
void TermsMatcher::passOverHopeless() {
    Term& rarest = m_terms.front();
    PostingIterator& postings = rarest.postings;
    while (postings.document() <= m_windowLast) {
        const std::uint32_t length = rarest.list.lengthOf(postings.document());
        if (m_bm25.mayReach(m_leastPart, postings.frequency(), length)) break;
        if (!postings.nextInBlock()) break;
    }
}

// The document itself when it holds all terms and may beat the threshold; else the first one
// behind it that may.
DocumentID TermsMatcher::nextIfNot(DocumentID document) {
    float sum = 0;
    for (Term& term : m_terms) {
        term.postings.advanceTo(document);
        if (term.postings.document() != document) return term.postings.document();
        const std::uint32_t length = term.list.lengthOf(document);
        const float score = term.weight * m_bm25.frequencyPart(term.postings.frequency(), length);
        m_scores[term.place] = score;
        sum += score;
        if (m_threshold > 0 && cannotBeat(sum + term.restBound, m_threshold)) return document + 1;
    }
    return document;
}

float TermsMatcher::score() { return std::accumulate(m_scores.begin(), m_scores.end(), 0.0F); }

ScoreWindow TermsMatcher::windowFrom(DocumentID target) {
    ScoreWindow window{kLastPossible, 0};
    for (Term& term : m_terms) {
        const DocumentID last = term.postings.lastOfBlockWith(target);
        if (last < target) return {kLastPossible, 0};
        term.bound = term.weight * term.postings.frequencyPartOfBlock(m_bm25);
        window.last = std::min(window.last, last);
        window.bound += term.bound;
    }
    return window;
}

bool TermsMatcher::isDamaged() const {
    return std::any_of(m_terms.begin(), m_terms.end(),
                       [](const Term& term) { return term.postings.isDamaged(); });
}

}  // namespace siftwell::fulltext
