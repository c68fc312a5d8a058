// PhraseMatcher: the documents in which words stand next to each other in a given order.
//
// Threads and errors as for every matcher.
#pragma once

#include <memory>
#include <vector>

#include "fulltext/Matcher.h"

namespace siftwell::fulltext {

// The documents of one word of a phrase, with its positions. A word that stands for several terms
// has those of all of them.
class PhraseWord {
public:
    // `lists` are those of its terms; `position` is its place in the phrase.
    PhraseWord(const std::vector<PostingList>& lists, std::uint32_t position);

    DocumentID document() const { return m_document; }
    void advanceTo(DocumentID target);
    std::uint32_t frequency() const;  // occurrences in document()
    // Where the phrase would have to begin for the word to stand where it does: rising, may repeat.
    const std::vector<std::uint32_t>& beginnings();
    std::uint64_t cost() const { return m_cost; }

    DocumentID lastOfBlockWith(DocumentID target);
    // Bounds the frequency part of the phrase in the block that was asked for last.
    float frequencyPartOfBlock(const Bm25& bm25);

    bool isDamaged() const;

private:
    std::vector<PostingIterator> m_terms;
    std::uint32_t m_position;
    DocumentID m_document = kNoDocument;
    std::uint64_t m_cost = 0;
    std::vector<std::uint32_t> m_beginnings;
    std::vector<std::uint32_t> m_positions;
};

class PhraseMatcher final : public Matcher {
public:
    // At least one word. `weight` is that of the whole phrase.
    PhraseMatcher(std::vector<PhraseWord> words, PostingList lengths, float weight,
                  const Bm25& bm25);

    DocumentID document() const override { return m_document; }
    void advanceTo(DocumentID target) override;
    float score() override;
    ScoreWindow windowFrom(DocumentID target) override;
    std::uint64_t cost() const override { return m_byRarity.front()->cost(); }
    void setThreshold(float threshold) override { m_threshold = threshold; }
    bool isDamaged() const override;

private:
    bool findCommon(DocumentID& target);
    bool mayBeatThreshold(DocumentID document) const;
    std::uint32_t countOccurrences();
    float scoreOf(DocumentID document, std::uint32_t occurrences) const {
        return m_weight * m_bm25.frequencyPart(occurrences, m_lengths.lengthOf(document));
    }

    std::vector<PhraseWord> m_words;
    std::vector<PhraseWord*> m_byRarity;
    PostingList m_lengths;
    float m_weight;
    Bm25 m_bm25;
    DocumentID m_document = kNoDocument;
    std::uint32_t m_occurrences = 0;
    float m_threshold = 0;
};

// How many of the numbers stand in all lists; each list rises.
std::uint32_t countCommon(std::vector<std::uint32_t> common,
                          const std::vector<const std::vector<std::uint32_t>*>& others);

}  // namespace siftwell::fulltext
