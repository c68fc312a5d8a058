#include "fulltext/Matcher.h"

namespace siftwell::fulltext {

namespace {

bool isAnyDamaged(const Matchers& matchers) {
    return std::any_of(matchers.begin(), matchers.end(),
                       [](const auto& matcher) { return matcher->isDamaged(); });
}

}  // namespace

void TermMatcher::advanceTo(DocumentID target) {
    while (m_threshold > 0 && target <= kLastDocumentID) {
        const ScoreWindow window = windowFrom(target);
        if (!cannotBeat(window.bound, m_threshold)) {
            m_postings.advanceTo(target);
            // The walk may have left the block that was asked about.
            if (document() <= window.last || document() == kNoDocument) return;
            target = document();
        } else if (window.last == kLastPossible) {
            target = kNoDocument;
        } else {
            target = window.last + 1;
        }
    }
    m_postings.advanceTo(target);
}

ScoreWindow TermMatcher::windowFrom(DocumentID target) {
    const DocumentID last = m_postings.lastOfBlockWith(target);
    if (last < target) return {kLastPossible, 0};
    return {last, m_weight * m_postings.frequencyPartOfBlock(m_bm25)};
}

AllMatcher::AllMatcher(Matchers children, Matchers excluded)
    : m_children(std::move(children)), m_excluded(std::move(excluded)) {
    for (const auto& child : m_children) m_byRarity.push_back(child.get());
    std::sort(m_byRarity.begin(), m_byRarity.end(),
              [](const Matcher* a, const Matcher* b) { return a->cost() < b->cost(); });
    AllMatcher::advanceTo(kFirstDocumentID);
}

void AllMatcher::advanceTo(DocumentID target) {
    while (target <= kLastDocumentID) {
        if (m_threshold > 0 && target > m_windowLast) {
            const ScoreWindow window = windowFrom(target);
            if (cannotBeat(window.bound, m_threshold)) {
                if (window.last == kLastPossible) break;
                target = window.last + 1;
                continue;
            }
            m_windowLast = window.last;
        }
        if (!findFrom(target)) break;
        if (m_threshold <= 0 || m_document <= m_windowLast) return;
        target = m_document;
    }
    m_document = kNoDocument;
}

// Finds the first document from `target` on that all children have and no excluded one; false at
// the end.
bool AllMatcher::findFrom(DocumentID target) {
    for (std::size_t agreed = 0; agreed < m_byRarity.size();) {
        Matcher& child = *m_byRarity[agreed];
        child.advanceTo(target);
        if (child.document() == kNoDocument) return false;
        if (child.document() == target || agreed == 0) {
            target = child.document();
            ++agreed;
        } else {
            target = child.document();
            agreed = 0;
        }
        if (agreed == m_byRarity.size() && isExcluded(target)) {
            ++target;
            agreed = 0;
        }
    }
    m_document = target;
    return true;
}

bool AllMatcher::isExcluded(DocumentID document) {
    return std::any_of(m_excluded.begin(), m_excluded.end(), [document](const auto& matcher) {
        matcher->advanceTo(document);
        return matcher->document() == document;
    });
}

float AllMatcher::score() {
    float sum = 0;
    for (const auto& child : m_children) sum += child->score();
    return sum;
}

ScoreWindow AllMatcher::windowFrom(DocumentID target) {
    ScoreWindow window{kLastPossible, 0};
    for (const auto& child : m_children) {
        const ScoreWindow part = child->windowFrom(target);
        window.last = std::min(window.last, part.last);
        window.bound += part.bound;
    }
    return window;
}

bool AllMatcher::isDamaged() const { return isAnyDamaged(m_children) || isAnyDamaged(m_excluded); }

AnyMatcher::AnyMatcher(Matchers children) {
    for (auto& child : children) m_children.push_back({.matcher = std::move(child)});
    for (Child& child : m_children) m_byBound.push_back(&child);
    advanceAll(kFirstDocumentID);
}

void AnyMatcher::advanceTo(DocumentID target) {
    if (m_threshold <= 0) return advanceAll(target);
    while (target <= kLastDocumentID) {
        if (target > m_windowLast) openWindow(target);
        if (m_essential < m_byBound.size() && advanceInWindow(target)) return;
        if (m_windowLast == kLastPossible) break;
        target = m_windowLast + 1;
    }
    m_document = kNoDocument;
}

void AnyMatcher::advanceAll(DocumentID target) {
    m_document = kNoDocument;
    for (Child& child : m_children) {
        child.matcher->advanceTo(target);
        m_document = std::min(m_document, child.matcher->document());
    }
}

// Bounds the scores up to the end of the shortest block. A child whose next document lies behind
// adds nothing.
void AnyMatcher::openWindow(DocumentID target) {
    m_windowLast = kLastPossible;
    for (Child& child : m_children) {
        const DocumentID from = std::max(target, child.matcher->document());
        child.bound = 0;
        if (from == kNoDocument) continue;
        const ScoreWindow window = child.matcher->windowFrom(from);
        child.bound = window.bound;
        m_windowLast = std::min(m_windowLast, window.last);
    }
    for (Child& child : m_children) {
        if (child.matcher->document() > m_windowLast) child.bound = 0;
    }
    divideChildren();
}

// Documents that only the children with the lowest bounds have cannot beat the threshold.
void AnyMatcher::divideChildren() {
    std::sort(m_byBound.begin(), m_byBound.end(),
              [](const Child* a, const Child* b) { return a->bound < b->bound; });
    m_otherBound = 0;
    for (m_essential = 0; m_essential < m_byBound.size(); ++m_essential) {
        const float sum = m_otherBound + m_byBound[m_essential]->bound;
        if (!cannotBeat(sum, m_threshold)) break;
        m_otherBound = sum;
    }
}

// Stops at a document of the window that may beat the threshold; false when there is none left.
bool AnyMatcher::advanceInWindow(DocumentID target) {
    for (;;) {
        const DocumentID candidate = firstOfEssential(target);
        if (candidate > m_windowLast) return false;
        if (canBeat(candidate)) {
            m_document = candidate;
            return true;
        }
        target = candidate + 1;
        if (target > m_windowLast) return false;
    }
}

DocumentID AnyMatcher::firstOfEssential(DocumentID target) {
    DocumentID first = kNoDocument;
    for (std::size_t i = m_essential; i < m_byBound.size(); ++i) {
        m_byBound[i]->matcher->advanceTo(target);
        first = std::min(first, m_byBound[i]->matcher->document());
    }
    return first;
}

// Adds the children's scores to the bounds of those that were not looked at, the likeliest first.
bool AnyMatcher::canBeat(DocumentID document) {
    float sum = 0;
    for (std::size_t i = m_essential; i < m_byBound.size(); ++i) {
        Matcher& matcher = *m_byBound[i]->matcher;
        if (matcher.document() == document) sum += matcher.score();
    }
    float others = m_otherBound;
    for (std::size_t i = m_essential; i > 0; --i) {
        if (cannotBeat(sum + others, m_threshold)) return false;
        Matcher& matcher = *m_byBound[i - 1]->matcher;
        others -= m_byBound[i - 1]->bound;
        matcher.advanceTo(document);
        if (matcher.document() == document) sum += matcher.score();
    }
    return !cannotBeat(sum, m_threshold);
}

float AnyMatcher::score() {
    float sum = 0;
    for (Child& child : m_children) {
        if (child.matcher->document() == m_document) sum += child.matcher->score();
    }
    return sum;
}

ScoreWindow AnyMatcher::windowFrom(DocumentID target) {
    ScoreWindow window{kLastPossible, 0};
    for (Child& child : m_children) {
        const ScoreWindow part = child.matcher->windowFrom(target);
        window.last = std::min(window.last, part.last);
        window.bound += part.bound;
    }
    return window;
}

std::uint64_t AnyMatcher::cost() const {
    std::uint64_t sum = 0;
    for (const Child& child : m_children) sum += child.matcher->cost();
    return sum;
}

bool AnyMatcher::isDamaged() const {
    return std::any_of(m_children.begin(), m_children.end(),
                       [](const Child& child) { return child.matcher->isDamaged(); });
}

}  // namespace siftwell::fulltext
