#include "fulltext/GatheredPostings.h"

namespace siftwell::fulltext {

namespace {

// What both forms have in common.
class GatheredMatcher : public Matcher {
public:
    GatheredMatcher(const GatheredPostings& postings, const PostingList& lengths, float weight,
                    const Bm25& bm25)
        : m_postings(postings), m_lengths(lengths), m_weight(weight), m_bm25(bm25) {}

    std::uint64_t cost() const override { return m_postings.size; }
    bool isDamaged() const override { return false; }
    ScoreWindow windowFrom(DocumentID) override {
        return {kLastPossible, m_weight * Bm25::maxFrequencyPart()};
    }

protected:
    float scoreOf(DocumentID document, std::uint32_t frequency) const {
        return m_weight * m_bm25.frequencyPart(frequency, m_lengths.lengthOf(document));
    }
    // With a lower frequency part, no document scores as high as the threshold.
    float leastPartFor(float threshold) const { return m_weight > 0 ? threshold / m_weight : 0; }
    // Whether the document's may be as high; costs less than its score.
    bool mayReach(float leastPart, DocumentID document, std::uint32_t frequency) const {
        return leastPart <= 0 ||
               m_bm25.mayReach(leastPart, frequency, m_lengths.lengthOf(document));
    }
    // No document with so many occurrences scores above this.
    float boundOf(std::uint32_t frequency) const {
        return m_weight * m_bm25.frequencyPart(frequency, 0);
    }

    const GatheredPostings& m_postings;

private:
    PostingList m_lengths;
    float m_weight;
    Bm25 m_bm25;
};

class SparseMatcher final : public GatheredMatcher {
public:
    using GatheredMatcher::GatheredMatcher;

    DocumentID document() const override {
        return m_index < m_postings.documents.size() ? m_postings.documents[m_index] : kNoDocument;
    }
    void advanceTo(DocumentID target) override;
    float score() override { return scoreOf(document(), m_postings.frequencies[m_index]); }

private:
    std::size_t m_index = 0;
};

// Searches in growing steps.
void SparseMatcher::advanceTo(DocumentID target) {
    const auto& documents = m_postings.documents;
    std::size_t step = 1;
    std::size_t low = m_index;
    while (low < documents.size() && documents[low] < target) {
        m_index = low + 1;
        low += step;
        step *= 2;
    }
    const auto begin = documents.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(std::min(low, documents.size()));
    m_index = static_cast<std::size_t>(
        std::lower_bound(begin + static_cast<std::ptrdiff_t>(m_index), end, target) - begin);
}

class DenseMatcher final : public GatheredMatcher {
public:
    DenseMatcher(const GatheredPostings& postings, const PostingList& lengths, float weight,
                 const Bm25& bm25)
        : GatheredMatcher(postings, lengths, weight, bm25) {
        findFrom(0);
    }

    DocumentID document() const override { return m_document; }
    void advanceTo(DocumentID target) override {
        if (m_document < target) findFrom(target - m_postings.first);
    }
    float score() override {
        return scoreOf(m_document, m_postings.counts[m_document - m_postings.first]);
    }
    void setThreshold(float threshold) override;

private:
    void findFrom(std::size_t index);
    bool isAnyAmong(std::size_t index) const;

    static constexpr std::size_t kAtOnce = 16;

    DocumentID m_document = kNoDocument;
    std::uint32_t m_least = 1;  // occurrences that count
    float m_leastPart = 0;      // frequency part that counts
};

// Few documents with one or two occurrences can score high, however short they are.
void DenseMatcher::setThreshold(float threshold) {
    constexpr std::uint32_t kMostInteresting = 64;
    m_leastPart = leastPartFor(threshold);
    while (m_least < kMostInteresting && cannotBeat(boundOf(m_least), threshold)) ++m_least;
}

bool DenseMatcher::isAnyAmong(std::size_t index) const {
    const std::uint32_t* const counts = m_postings.counts.data() + index;
    unsigned any = 0;
    for (std::size_t i = 0; i < kAtOnce; ++i) any |= counts[i] >= m_least ? 1U : 0U;
    return any != 0;
}

void DenseMatcher::findFrom(std::size_t index) {
    const std::vector<std::uint32_t>& counts = m_postings.counts;
    for (; index < counts.size(); ++index) {
        while (index + kAtOnce <= counts.size() && !isAnyAmong(index)) index += kAtOnce;
        while (index < counts.size() && counts[index] < m_least) ++index;
        if (index == counts.size()) break;
        m_document = m_postings.first + static_cast<DocumentID>(index);
        if (mayReach(m_leastPart, m_document, counts[index])) return;
    }
    m_document = kNoDocument;
}

}  // namespace

std::unique_ptr<Matcher> makeGatheredMatcher(const GatheredPostings& postings,
                                             const PostingList& lengths, float weight,
                                             const Bm25& bm25) {
    if (postings.counts.empty()) {
        return std::make_unique<SparseMatcher>(postings, lengths, weight, bm25);
    }
    return std::make_unique<DenseMatcher>(postings, lengths, weight, bm25);
}

}  // namespace siftwell::fulltext
