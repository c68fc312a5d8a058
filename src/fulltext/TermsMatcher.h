// TermsMatcher: the documents of one segment that hold every one of several terms.
//
// What AllMatcher does for any children, faster for the commonest kind: a document is given up as
// soon as the terms that were not looked at yet cannot bring its score above the threshold.
//
// Threads and errors as for every matcher.
#pragma once

#include <cstdint>
#include <vector>

#include "fulltext/Matcher.h"

namespace siftwell::fulltext {

// One of the terms.
struct WeightedList {
    PostingList list;
    float weight = 0;
    std::size_t place = 0;  // in the query
};

class TermsMatcher final : public Matcher {
public:
    // At least one term. Scores are added in the order of the query.
    TermsMatcher(std::vector<WeightedList> terms, const Bm25& bm25);

    DocumentID document() const override { return m_document; }
    void advanceTo(DocumentID target) override {
        if (m_document < target) findFrom(target);
    }
    float score() override;
    ScoreWindow windowFrom(DocumentID target) override;
    std::uint64_t cost() const override { return m_terms.front().list.documents; }
    void setThreshold(float threshold) override;
    bool isDamaged() const override;

private:
    struct Term {
        Term(const WeightedList& weighted, DocumentID from)
            : list(weighted.list),
              weight(weighted.weight),
              place(weighted.place),
              postings(weighted.list, from) {}

        PostingList list;
        float weight;
        std::size_t place;
        PostingIterator postings;
        float bound = 0;      // of its part of the scores, in the window
        float restBound = 0;  // of the parts of the terms behind
    };

    void findFrom(DocumentID target);
    bool openWindow(DocumentID& target);
    void computeLeastPart();
    void passOverHopeless();
    DocumentID nextIfNot(DocumentID document);

    std::vector<Term> m_terms;    // the rarest first
    std::vector<float> m_scores;  // of document(), by place in the query
    Bm25 m_bm25;
    DocumentID m_document = 0;
    DocumentID m_windowLast = 0;  // documents up to here may beat the threshold
    float m_threshold = 0;
    float m_leastPart = 0;  // of the rarest term, in the window: with less, no document can beat it
};

}  // namespace siftwell::fulltext
