#include "fulltext/MemoryScorer.h"

#include <algorithm>

#include "fulltext/Bytes.h"
#include "fulltext/PhraseMatcher.h"

namespace siftwell::fulltext {

void MemoryScorer::prepare() {
    m_keys.reserve(m_query.leaves.size());
    for (const QueryLeaf& leaf : m_query.leaves) {
        std::vector<WordKey>& keys = m_keys.emplace_back();
        keys.reserve(leaf.words.size());
        for (const QueryWord& word : leaf.words) keys.emplace_back(word.word);
    }
}

template <typename Visit>
void MemoryScorer::forEachTerm(const InvertedText& text, std::size_t leaf, std::size_t word,
                               Visit visit) const {
    const QueryWord& wanted = m_query.leaves[leaf].words[word];
    if (wanted.match == TermMatch::Exact) {
        if (const auto term = text.find(m_keys[leaf][word])) visit(*term);
        return;
    }
    for (std::size_t term = 0; term < text.termCount(); ++term) {
        if (matches(text.term(term), wanted)) visit(term);
    }
}

bool MemoryScorer::holds(const InvertedText& text, std::size_t leaf, std::size_t word) const {
    bool found = false;
    forEachTerm(text, leaf, word, [&found](std::size_t) { found = true; });
    return found;
}

std::optional<float> MemoryScorer::score(const InvertedText& text,
                                         const std::vector<float>& weights,
                                         const Bm25& bm25) const {
    if (!m_query.root) return std::nullopt;
    return scoreOf(*m_query.root, text, weights, bm25);
}

std::optional<float> MemoryScorer::scoreOf(const QueryNode& node, const InvertedText& text,
                                           const std::vector<float>& weights,
                                           const Bm25& bm25) const {
    if (node.kind == QueryNode::Kind::Leaf) {
        const std::uint32_t frequency = frequencyOf(node.leaf, text);
        if (frequency == 0) return std::nullopt;
        return weights[node.leaf] * bm25.frequencyPart(frequency, text.words());
    }
    float sum = 0;
    std::size_t found = 0;
    for (const QueryNode& child : node.children) {
        const auto part = scoreOf(child, text, weights, bm25);
        if (!part) continue;
        sum += *part;
        ++found;
    }
    const bool needsAll = node.kind == QueryNode::Kind::All;
    if (found < (needsAll ? node.children.size() : 1)) return std::nullopt;
    for (const QueryNode& excluded : node.excluded) {
        if (scoreOf(excluded, text, weights, bm25)) return std::nullopt;
    }
    return sum;
}

std::uint32_t MemoryScorer::frequencyOf(std::size_t leafNumber, const InvertedText& text) const {
    const QueryLeaf& leaf = m_query.leaves[leafNumber];
    if (leaf.words.size() > 1) return phraseFrequency(leaf, leafNumber, text);
    std::uint32_t sum = 0;
    forEachTerm(text, leafNumber, 0, [&](std::size_t term) { sum += text.frequency(term); });
    return sum;
}

std::uint32_t MemoryScorer::phraseFrequency(const QueryLeaf& leaf, std::size_t leafNumber,
                                            const InvertedText& text) const {
    std::vector<std::vector<std::uint32_t>> beginnings(leaf.words.size());
    for (std::size_t word = 0; word < leaf.words.size(); ++word) {
        forEachTerm(text, leafNumber, word, [&](std::size_t term) {
            std::uint32_t position = 0;
            for (ByteReader reader(text.positions(term)); reader.remaining() > 0;) {
                position += reader.varint32();
                if (position >= leaf.words[word].position) {
                    beginnings[word].push_back(position - leaf.words[word].position);
                }
            }
        });
        if (beginnings[word].empty()) return 0;
        std::sort(beginnings[word].begin(), beginnings[word].end());
    }
    std::vector<const std::vector<std::uint32_t>*> others;
    for (std::size_t word = 1; word < beginnings.size(); ++word)
        others.push_back(&beginnings[word]);
    return countCommon(std::move(beginnings.front()), others);
}

}  // namespace siftwell::fulltext
