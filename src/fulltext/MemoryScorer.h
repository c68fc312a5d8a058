// MemoryScorer matches a query with documents that stand in no segment yet, one by one.
//
// Threads: one at a time. Errors: none.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "fulltext/Bm25.h"
#include "fulltext/MemoryDocument.h"
#include "fulltext/Query.h"

namespace siftwell::fulltext {

class MemoryScorer {
public:
    // The query outlives the scorer.
    explicit MemoryScorer(const Query& query) : m_query(query) {}

    // Once, before documents are asked about.
    void prepare();

    // Whether the document holds the word at all.
    bool holds(const InvertedText& text, std::size_t leaf, std::size_t word) const;

    // None when the document does not match. `weights` has one for each leaf of the query.
    std::optional<float> score(const InvertedText& text, const std::vector<float>& weights,
                               const Bm25& bm25) const;

private:
    std::optional<float> scoreOf(const QueryNode& node, const InvertedText& text,
                                 const std::vector<float>& weights, const Bm25& bm25) const;
    std::uint32_t frequencyOf(std::size_t leaf, const InvertedText& text) const;
    std::uint32_t phraseFrequency(const QueryLeaf& leaf, std::size_t leafNumber,
                                  const InvertedText& text) const;
    // Calls `visit` with the index of every term of the text that the word stands for.
    template <typename Visit>
    void forEachTerm(const InvertedText& text, std::size_t leaf, std::size_t word,
                     Visit visit) const;

    const Query& m_query;
    std::vector<std::vector<WordKey>> m_keys;  // of each word of each leaf
};

}  // namespace siftwell::fulltext
