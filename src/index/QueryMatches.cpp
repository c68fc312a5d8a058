#include "index/QueryMatches.h"

#include <algorithm>

namespace siftwell {

using fulltext::Query;
using fulltext::QueryLeaf;
using fulltext::QueryNode;
using fulltext::QueryWord;

namespace {

Query parsed(std::string_view query, const std::set<std::string>& stopWords) {
    const fulltext::IndexSettings settings{.internalName = std::nullopt,
                                           .stopWords = {stopWords.begin(), stopWords.end()}};
    return fulltext::parseQuery(query, fulltext::TermFilter(settings));
}

}  // namespace

QueryMatches::QueryMatches(std::string_view query, const std::set<std::string>& stopWords) {
    const Query whole = parsed(query, stopWords);
    if (whole.root) addWanted(*whole.root, whole);
}

void QueryMatches::addWanted(const QueryNode& node, const Query& query) {
    if (node.kind == QueryNode::Kind::Leaf) return addPart(query.leaves[node.leaf]);
    for (const QueryNode& child : node.children) addWanted(child, query);
}

// A phrase that is too long counts by its beginning.
void QueryMatches::addPart(const QueryLeaf& leaf) {
    Part part;
    for (const QueryWord& word : leaf.words) {
        if (m_words >= kMostWords || word.position >= kMostPlaces) break;
        part.words.push_back({bitOf(word), word.position});
    }
    if (!part.words.empty()) m_parts.push_back(std::move(part));
}

QueryMatches::WordMask QueryMatches::bitOf(const QueryWord& word) {
    const WordMask bit = WordMask{1} << m_words;
    ++m_words;
    if (word.match == fulltext::TermMatch::Exact) {
        m_whole[word.word] |= bit;
    } else {
        m_fragments.emplace_back(word, bit);
    }
    return bit;
}

QueryMatches::WordMask QueryMatches::wordsMatching(std::string_view term) const {
    WordMask mask = 0;
    if (const auto whole = m_whole.find(term); whole != m_whole.end()) mask = whole->second;
    for (const auto& [word, bit] : m_fragments) {
        if (fulltext::matches(term, word)) mask |= bit;
    }
    return mask;
}

bool QueryMatches::endsAt(const Part& part, std::size_t place, const Places& places) {
    const std::size_t length = part.words.back().position;
    return place >= length &&
           std::all_of(part.words.begin(), part.words.end(), [&](const Part::Word& word) {
               const Place& of = places[(place - length + word.position) % kMostPlaces];
               return (of.matching & word.bit) != 0;
           });
}

void QueryMatches::forEachIn(std::string_view text,
                             const std::function<bool(const QueryMatch&)>& take) const {
    if (m_parts.empty()) return;
    Places places{};
    std::size_t place = 0;
    for (WordScanner scanner(text); scanner.next(); ++place) {
        const WordMask matching = wordsMatching(scanner.word());
        places[place % kMostPlaces] = {matching, scanner.begin()};
        if (matching == 0) continue;
        for (std::size_t i = 0; i < m_parts.size(); ++i) {
            if (!endsAt(m_parts[i], place, places)) continue;
            const std::size_t first = place - m_parts[i].words.back().position;
            const std::size_t begin = places[first % kMostPlaces].begin;
            if (!take({.begin = begin, .end = scanner.end(), .part = i})) return;
        }
    }
}

}  // namespace siftwell
