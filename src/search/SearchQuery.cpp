#include "search/SearchQuery.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "text/Alphanumeric.h"
#include "text/Folding.h"

namespace siftwell {

namespace {

std::vector<std::string> wordsOf(std::string_view text, const std::set<std::string>& stopWords) {
    std::string reduced(text);
    reduceToAlphanumeric(reduced, {});
    std::istringstream stream(reduced);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        if (!stopWords.contains(word)) words.push_back(word);
    }
    return words;
}

std::string joined(const std::vector<std::string>& words, std::string_view between) {
    std::string result = words.front();
    for (std::size_t i = 1; i < words.size(); ++i) {
        result += between;
        result += words[i];
    }
    return result;
}

}  // namespace

std::string skSearchQuery(std::string_view searchQuery, SearchType searchType,
                          const std::set<std::string>& stopWords) {
    const std::vector<std::string> words = wordsOf(searchQuery, stopWords);
    if (searchType == SearchType::Raw || words.empty()) return std::string(searchQuery);
    switch (searchType) {
        case SearchType::AllWords:
            return joined(words, " & ");
        case SearchType::AllFragments:
            return "*" + joined(words, "* & *") + "*";
        case SearchType::AnyWord:
            return joined(words, " | ");
        default:
            return "*" + joined(words, "* | *") + "*";
    }
}

bool isOnlyStopWords(std::string_view searchQuery, const std::set<std::string>& stopWords) {
    const std::vector<std::string> words = wordsOf(searchQuery, {});
    return !words.empty() && std::all_of(words.begin(), words.end(), [&](const std::string& word) {
        return stopWords.contains(folded(word));
    });
}

}  // namespace siftwell
