#include "fulltext/PhraseMatcher.h"

#include <algorithm>
#include <iterator>

namespace siftwell::fulltext {

PhraseWord::PhraseWord(const std::vector<PostingList>& lists, std::uint32_t position)
    : m_position(position) {
    m_terms.reserve(lists.size());
    for (const PostingList& list : lists) {
        m_terms.emplace_back(list);
        m_cost += list.documents;
        m_document = std::min(m_document, m_terms.back().document());
    }
}

void PhraseWord::advanceTo(DocumentID target) {
    if (m_document >= target) return;
    m_document = kNoDocument;
    for (PostingIterator& term : m_terms) {
        term.advanceTo(target);
        m_document = std::min(m_document, term.document());
    }
}

std::uint32_t PhraseWord::frequency() const {
    std::uint32_t sum = 0;
    for (const PostingIterator& term : m_terms) {
        if (term.document() == m_document) sum += term.frequency();
    }
    return sum;
}

const std::vector<std::uint32_t>& PhraseWord::beginnings() {
    m_beginnings.clear();
    for (PostingIterator& term : m_terms) {
        if (term.document() != m_document) continue;
        term.readPositions(m_positions);
        for (const std::uint32_t position : m_positions) {
            if (position >= m_position) m_beginnings.push_back(position - m_position);
        }
    }
    if (m_terms.size() > 1) std::sort(m_beginnings.begin(), m_beginnings.end());
    return m_beginnings;
}

DocumentID PhraseWord::lastOfBlockWith(DocumentID target) {
    return m_terms.size() == 1 ? m_terms.front().lastOfBlockWith(target) : kNoDocument - 1;
}

float PhraseWord::frequencyPartOfBlock(const Bm25& bm25) {
    return m_terms.size() == 1 ? m_terms.front().frequencyPartOfBlock(bm25)
                               : Bm25::maxFrequencyPart();
}

bool PhraseWord::isDamaged() const {
    return std::any_of(m_terms.begin(), m_terms.end(),
                       [](const PostingIterator& term) { return term.isDamaged(); });
}

PhraseMatcher::PhraseMatcher(std::vector<PhraseWord> words, PostingList lengths, float weight,
                             const Bm25& bm25)
    : m_words(std::move(words)), m_lengths(lengths), m_weight(weight), m_bm25(bm25) {
    for (PhraseWord& word : m_words) m_byRarity.push_back(&word);
    std::sort(m_byRarity.begin(), m_byRarity.end(),
              [](const PhraseWord* a, const PhraseWord* b) { return a->cost() < b->cost(); });
    PhraseMatcher::advanceTo(kFirstDocumentID);
}

void PhraseMatcher::advanceTo(DocumentID target) {
    for (; findCommon(target); ++target) {
        m_occurrences = mayBeatThreshold(target) ? countOccurrences() : 0;
        if (m_occurrences > 0) {
            m_document = target;
            return;
        }
    }
    m_document = kNoDocument;
}

// Moves the target to the next document that holds all words; false at the end.
bool PhraseMatcher::findCommon(DocumentID& target) {
    for (std::size_t agreed = 0; agreed < m_byRarity.size();) {
        PhraseWord& word = *m_byRarity[agreed];
        word.advanceTo(target);
        if (word.document() == kNoDocument) return false;
        agreed = word.document() == target || agreed == 0 ? agreed + 1 : 0;
        target = word.document();
    }
    return true;
}

// A phrase is no more frequent than any of its words.
bool PhraseMatcher::mayBeatThreshold(DocumentID document) const {
    if (m_threshold <= 0) return true;
    std::uint32_t most = UINT32_MAX;
    for (const PhraseWord& word : m_words) most = std::min(most, word.frequency());
    return !cannotBeat(scoreOf(document, most), m_threshold);
}

std::uint32_t PhraseMatcher::countOccurrences() {
    std::vector<const std::vector<std::uint32_t>*> others;
    for (std::size_t i = 1; i < m_byRarity.size(); ++i) {
        others.push_back(&m_byRarity[i]->beginnings());
    }
    return countCommon(m_byRarity.front()->beginnings(), others);
}

std::uint32_t countCommon(std::vector<std::uint32_t> common,
                          const std::vector<const std::vector<std::uint32_t>*>& others) {
    std::vector<std::uint32_t> both;
    for (const auto* other : others) {
        both.clear();
        std::set_intersection(common.begin(), common.end(), other->begin(), other->end(),
                              std::back_inserter(both));
        common.swap(both);
    }
    return static_cast<std::uint32_t>(common.size());
}

float PhraseMatcher::score() { return scoreOf(m_document, m_occurrences); }

ScoreWindow PhraseMatcher::windowFrom(DocumentID target) {
    ScoreWindow window{kNoDocument - 1, Bm25::maxFrequencyPart()};
    for (PhraseWord& word : m_words) {
        const DocumentID last = word.lastOfBlockWith(target);
        if (last < target) return {kNoDocument - 1, 0};
        window.last = std::min(window.last, last);
        window.bound = std::min(window.bound, word.frequencyPartOfBlock(m_bm25));
    }
    window.bound *= m_weight;
    return window;
}

bool PhraseMatcher::isDamaged() const {
    return std::any_of(m_words.begin(), m_words.end(),
                       [](const PhraseWord& word) { return word.isDamaged(); });
}

}  // namespace siftwell::fulltext
