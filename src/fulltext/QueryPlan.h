// QueryPlan: a query over a snapshot: the terms that its words stand for in every segment, and what
// each counts.
//
// Threads: one at a time. It borrows query and snapshot, which must outlive it.
// Errors: Damaged when a segment is.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/Status.h"
#include "fulltext/Bm25.h"
#include "fulltext/Contents.h"
#include "fulltext/Deadline.h"
#include "fulltext/FragmentGatherer.h"
#include "fulltext/Matcher.h"
#include "fulltext/MemoryScorer.h"
#include "fulltext/Query.h"

namespace siftwell::fulltext {

// The order in which a matcher gives its documents. Any: the best ones early, if that can be.
enum class MatchOrder { Rising, Any };

class QueryPlan {
public:
    QueryPlan(const Query& query, const Snapshot& snapshot);

    // Looks everything up, in as many slices as it takes; whether it is done.
    Result<bool> prepare(const Deadline& deadline);

    // Once it is prepared: what matches in a segment, by its index; null when nothing does.
    Result<std::unique_ptr<Matcher>> matcherFor(std::size_t segment, MatchOrder order) const;

    std::optional<float> scoreInMemory(const MemoryDocument& document) const {
        return m_scorer.score(*document.text, m_weights, m_bm25);
    }

private:
    // A leaf in one segment.
    struct LeafTerms {
        std::vector<std::vector<TermNumber>> ofWord;
        GatheredPostings gathered;  // of a fragment that stands alone
    };

    static bool isTerm(const QueryLeaf& leaf) {
        return leaf.words.size() == 1 && leaf.words.front().match == TermMatch::Exact;
    }
    static bool isFragment(const QueryLeaf& leaf) {
        return leaf.words.size() == 1 && leaf.words.front().match != TermMatch::Exact;
    }

    Status lookUp(std::size_t segment, std::size_t leaf);
    Result<bool> gather(std::size_t segment, std::size_t leaf, const Deadline& deadline);
    void countInMemory();
    void computeWeights();
    Result<std::unique_ptr<Matcher>> matcherOf(const QueryNode& node, std::size_t segment) const;
    Result<std::unique_ptr<Matcher>> bestFirstMatcher(std::size_t leaf, std::size_t segment) const;
    Result<std::unique_ptr<Matcher>> leafMatcher(std::size_t leaf, std::size_t segment) const;
    Result<std::unique_ptr<Matcher>> phraseMatcher(std::size_t leaf, std::size_t segment) const;
    bool isAllTerms(const QueryNode& node) const;
    Result<std::unique_ptr<Matcher>> termsMatcher(const QueryNode& node, std::size_t segment) const;
    Result<std::unique_ptr<Matcher>> allMatcher(const QueryNode& node, std::size_t segment) const;
    Result<std::unique_ptr<Matcher>> anyMatcher(const QueryNode& node, std::size_t segment) const;
    Result<std::vector<PostingList>> listsOf(const std::vector<TermNumber>& terms,
                                             std::size_t segment) const;

    const Query& m_query;
    const Snapshot& m_snapshot;
    Bm25 m_bm25;
    MemoryScorer m_scorer;
    std::vector<std::vector<LeafTerms>> m_terms;                // [segment][leaf]
    std::vector<std::vector<std::uint64_t>> m_documentsOfWord;  // [leaf][word]
    std::vector<float> m_weights;                               // of each leaf
    std::size_t m_nextLeaf = 0;  // to look up: segment × leaves + leaf
    std::optional<FragmentGatherer> m_gatherer;
    bool m_isPrepared = false;
};

}  // namespace siftwell::fulltext
