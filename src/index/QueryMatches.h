// QueryMatches: where in a text stands what a query asks for.
//
// Words are divided and folded as the engine does it, and parts of words, phrases and words that
// the query divides into several are found as it finds them. What is asked not to be there counts
// for nothing.
//
// Threads: any; immutable. Errors: none. Cost: linear in the text, whatever the query: no more than
// its first 32 words are looked for, and no more than the first 64 places of a phrase.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "fulltext/Query.h"
#include "text/Words.h"

namespace siftwell {

struct QueryMatch {
    std::size_t begin = 0;  // bytes of the text: whole words
    std::size_t end = 0;
    std::size_t part = 0;  // which of the query's words and phrases
};

class QueryMatches {
public:
    static constexpr std::size_t kMostParts = 32;

    // `query` in the engine's language.
    QueryMatches(std::string_view query, const std::set<std::string>& stopWords);

    // Words and phrases that are looked for.
    std::size_t parts() const { return m_parts.size(); }

    // Calls `take` with each match, in the order of their ends, while it answers true.
    void forEachIn(std::string_view text, const std::function<bool(const QueryMatch&)>& take) const;

private:
    static constexpr std::size_t kMostWords = kMostParts;  // no part is without one
    static constexpr std::size_t kMostPlaces = 64;

    using WordMask = std::uint32_t;  // a bit for each of the words
    struct Part {
        struct Word {
            WordMask bit = 0;
            std::size_t position = 0;  // behind the first one
        };
        std::vector<Word> words;
    };
    // The words of the text that were read last.
    struct Place {
        WordMask matching = 0;
        std::size_t begin = 0;
    };
    using Places = std::array<Place, kMostPlaces>;
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };

    void addWanted(const fulltext::QueryNode& node, const fulltext::Query& query);
    void addPart(const fulltext::QueryLeaf& leaf);
    WordMask bitOf(const fulltext::QueryWord& word);
    WordMask wordsMatching(std::string_view term) const;
    static bool endsAt(const Part& part, std::size_t place, const Places& places);

    std::vector<Part> m_parts;
    std::size_t m_words = 0;
    std::unordered_map<std::string, WordMask, Hash, std::equal_to<>> m_whole;
    std::vector<std::pair<fulltext::QueryWord, WordMask>> m_fragments;
};

}  // namespace siftwell
