// From the words a person types to a query in the engine's language.
//
// Threads: pure functions.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace siftwell {

// How the words are combined. The numbers are kept in settings.
enum class SearchType {
    AllWords = 0,
    AllFragments = 1,  // each word may be a part of a longer one
    AnyWord = 2,
    AnyFragment = 3,
    Raw = 4,  // the engine's own query language
};

// Letters and digits of the text make the words; stop words are left out. A text that has no other
// words is passed on as it was typed.
std::string skSearchQuery(std::string_view searchQuery, SearchType searchType,
                          const std::set<std::string>& stopWords);

// Whether the text has words, and no index holds any of them.
bool isOnlyStopWords(std::string_view searchQuery, const std::set<std::string>& stopWords);

}  // namespace siftwell
