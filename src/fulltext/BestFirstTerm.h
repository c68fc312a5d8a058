// BestFirstTerm: the documents of one segment that hold one term, block by block, the block with
// the highest bound first.
//
// The best documents so come early, and the walk ends at the first block that holds no better ones.
// Documents do not rise: it stands alone, not below another matcher.
//
// Threads and errors as for every matcher.
#pragma once

#include <cstdint>
#include <vector>

#include "fulltext/Matcher.h"

namespace siftwell::fulltext {

class BestFirstTerm final : public Matcher {
public:
    BestFirstTerm(const PostingList& list, float weight, const Bm25& bm25);

    DocumentID document() const override { return m_document; }
    void next() override;
    void advanceTo(DocumentID) override {}  // has no meaning here
    float score() override { return m_score; }
    ScoreWindow windowFrom(DocumentID) override { return {}; }
    std::uint64_t cost() const override { return m_list.documents; }
    void setThreshold(float threshold) override;
    bool isDamaged() const override { return m_postings.isDamaged(); }

private:
    struct Block {
        float bound;
        std::uint32_t number;
    };

    void openNextBlock();
    bool findInBlock();

    PostingList m_list;
    PostingIterator m_postings;
    float m_weight;
    Bm25 m_bm25;
    std::vector<Block> m_blocks;  // a heap of those to come
    DocumentID m_document = kNoDocument;
    float m_score = 0;  // of the document
    float m_threshold = 0;
    float m_leastPart = 0;               // frequency part that reaches it
    std::uint32_t m_leastFrequency = 1;  // of documents that may reach it
};

}  // namespace siftwell::fulltext
