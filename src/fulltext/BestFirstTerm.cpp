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
    const auto isTooRare = [&] {
        return m_weight * m_bm25.frequencyPart(m_leastFrequency, 0) * kBoundSlack < threshold;
    };
    while (m_leastFrequency < kMostInteresting && isTooRare()) ++m_leastFrequency;
}

void BestFirstTerm::next() {
    if (m_postings.nextInBlock() && findInBlock()) return;
    openNextBlock();
}

// Goes on from the current document to one that is frequent enough; false when the block has none.
bool BestFirstTerm::findInBlock() {
    while (m_postings.frequency() < m_leastFrequency) {
        if (!m_postings.nextInBlock()) return false;
    }
    m_document = m_postings.document();
    return true;
}

void BestFirstTerm::openNextBlock() {
    m_document = kNoDocument;
    while (!m_blocks.empty() && m_blocks.front().bound * kBoundSlack >= m_threshold) {
        m_postings.goToBlock(m_blocks.front().number);
        std::pop_heap(m_blocks.begin(), m_blocks.end(), kComesLater);
        m_blocks.pop_back();
        if (m_postings.document() == kNoDocument || findInBlock()) return;
    }
}

}  // namespace siftwell::fulltext
