#include "fulltext/BestFirstTerm.h"

#include <algorithm>

namespace siftwell::fulltext {

namespace {

// Equal bounds in the order of the documents.
constexpr auto kComesLater = [](const auto& a, const auto& b) {
    return a.bound != b.bound ? a.bound < b.bound : a.number > b.number;
};

}  // namespace

BestFirstTerm::BestFirstTerm(const PostingList& list, float weight, const Bm25& bm25)
    : m_list(list), m_postings(list), m_weight(weight), m_bm25(bm25) {
    m_blocks.reserve(m_postings.blockCount());
    for (std::uint32_t block = 0; block < m_postings.blockCount(); ++block) {
        m_blocks.push_back({weight * m_postings.frequencyPartOfBlock(block, bm25), block});
    }
    std::make_heap(m_blocks.begin(), m_blocks.end(), kComesLater);
    openNextBlock();
}

// A document that scores as high as the threshold may still rank before others that do, by its
// number.
void BestFirstTerm::setThreshold(float threshold) {
    constexpr std::uint32_t kMostInteresting = 64;
    m_threshold = threshold;
    m_leastPart = m_weight > 0 ? threshold / m_weight : 0;
    const auto isTooRare = [&] {
        return m_weight * m_bm25.frequencyPart(m_leastFrequency, 0) * kBoundSlack < threshold;
    };
    while (m_leastFrequency < kMostInteresting && isTooRare()) ++m_leastFrequency;
}

void BestFirstTerm::next() {
    if (m_postings.nextInBlock() && findInBlock()) return;
    openNextBlock();
}

// Goes on from the current document to one that may reach the threshold; false when the block has
// none. Most documents are passed over here.
bool BestFirstTerm::findInBlock() {
    do {
        const std::uint32_t frequency = m_postings.frequency();
        if (frequency < m_leastFrequency) continue;
        const DocumentID document = m_postings.document();
        const std::uint32_t length = m_list.lengthOf(document);
        if (!m_bm25.mayReach(m_leastPart, frequency, length)) continue;
        m_document = document;
        m_score = m_weight * m_bm25.frequencyPart(frequency, length);
        return true;
    } while (m_postings.nextInBlock());
    return false;
}

void BestFirstTerm::openNextBlock() {
    m_document = kNoDocument;
    while (!m_blocks.empty() && m_blocks.front().bound * kBoundSlack >= m_threshold) {
        m_postings.goToBlock(m_blocks.front().number);
        m_postings.prefetchLengths();
        std::pop_heap(m_blocks.begin(), m_blocks.end(), kComesLater);
        m_blocks.pop_back();
        if (m_postings.document() == kNoDocument || findInBlock()) return;
    }
}

}  // namespace siftwell::fulltext
