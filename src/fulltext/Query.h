// Query: what a person asked for, read from the query language.
//
//   w1 & w2, or a blank between   both            w*, *w, *w*    begins with, ends with, contains
//   w1 | w2                       either          "w1 w2 w3"     next to each other, in this order
//   !w                            not             ( … )          grouping
//
// "&" binds tighter than "|". Nothing is an error: an operator, bracket or quotation mark that
// lacks its partner is read as if left out, as a person who is still typing expects. "!" needs
// something beside it that is asked for: beside alternatives only, or alone, it is left out, or
// finds nothing. A word that divides into several ("e-mail") is their phrase. Words that are never
// indexed are left out; inside a phrase they keep their place.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fulltext/TermDictionary.h"
#include "fulltext/TermFilter.h"

namespace siftwell::fulltext {

struct QueryWord {
    std::string word;  // folded
    TermMatch match = TermMatch::Exact;
    std::uint32_t position = 0;  // in the phrase; the first word has 0

    bool operator==(const QueryWord&) const = default;
};

// Whether a word of a text, folded, is one that is asked for.
bool matches(std::string_view term, const QueryWord& word);

// One word, or a phrase of several.
struct QueryLeaf {
    std::vector<QueryWord> words;

    bool operator==(const QueryLeaf&) const = default;
};

struct QueryNode {
    enum class Kind {
        Leaf,
        All,  // every child, and none of the excluded
        Any,  // at least one child
    };
    Kind kind = Kind::Leaf;
    std::size_t leaf = 0;  // index in Query::leaves
    std::vector<QueryNode> children;
    std::vector<QueryNode> excluded;
};

struct Query {
    std::vector<QueryLeaf> leaves;
    std::optional<QueryNode> root;  // none: finds nothing
};

Query parseQuery(std::string_view text, const TermFilter& filter);

}  // namespace siftwell::fulltext
