// Snippets: what a page says around the words that were looked for.
//
// Threads: any. Errors: none; a text without any of the words shows its beginning. Cost: one pass
// over the text at most; it ends where all that is looked for stands together.
#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "index/QueryMatches.h"
#include "search/ResultRows.h"

namespace siftwell {

struct Snippet {
    struct Range {
        std::size_t begin = 0;  // bytes of the text
        std::size_t end = 0;

        bool operator==(const Range&) const = default;
    };

    // One line of well-formed UTF-8: blanks and control characters are single blanks, "…" stands
    // for what is left out.
    std::string text;
    std::vector<Range> matches;  // whole words, rising, apart from each other
};

class SnippetMaker {
public:
    // `query` in the engine's language.
    SnippetMaker(std::string_view query, const std::set<std::string>& stopWords)
        : m_query(query, stopWords) {}

    // At most `maxColumns` wide: one passage around most of what is looked for, or two when it does
    // not stand together.
    Snippet snippetOf(std::string_view readableText, std::size_t maxColumns) const;

    // From the index; none when the document is gone or cannot be read.
    std::optional<Snippet> snippetFor(const FoundRow& row, std::size_t maxColumns) const;

private:
    QueryMatches m_query;
};

}  // namespace siftwell
