#include "fulltext/Query.h"

#include <algorithm>
#include <utility>

#include "text/Utf8Prefix.h"
#include "text/Words.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kMaxQueryBytes = 64 << 10;
constexpr int kMaxDepth = 128;  // brackets nested deeper are left out
constexpr std::size_t kUsualParts = 4;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kOperators = "&|!()\"";

bool isOneOf(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

// A part of the query on the way up: asked for, or asked not to be there.
struct Part {
    QueryNode node;
    bool isNegated = false;
};

QueryNode nodeOf(QueryNode::Kind kind, std::vector<QueryNode> children,
                 std::vector<QueryNode> excluded = {}) {
    if (children.size() == 1 && excluded.empty()) return std::move(children.front());
    return {.kind = kind, .children = std::move(children), .excluded = std::move(excluded)};
}

void divide(std::vector<Part> parts, std::vector<QueryNode>& wanted,
            std::vector<QueryNode>& unwanted) {
    wanted.reserve(parts.size());
    for (Part& part : parts) (part.isNegated ? unwanted : wanted).push_back(std::move(part.node));
}

std::optional<Part> both(std::vector<Part> parts) {
    if (parts.empty()) return std::nullopt;
    if (parts.size() == 1) return std::move(parts.front());
    std::vector<QueryNode> wanted;
    std::vector<QueryNode> unwanted;
    divide(std::move(parts), wanted, unwanted);
    // Not a and not b: not (a or b).
    if (wanted.empty()) return Part{nodeOf(QueryNode::Kind::Any, std::move(unwanted)), true};
    return Part{nodeOf(QueryNode::Kind::All, std::move(wanted), std::move(unwanted)), false};
}

std::optional<Part> either(std::vector<Part> parts) {
    if (parts.empty()) return std::nullopt;
    if (parts.size() == 1) return std::move(parts.front());
    std::vector<QueryNode> wanted;
    std::vector<QueryNode> unwanted;
    divide(std::move(parts), wanted, unwanted);
    // Not a or not b: not (a and b).
    if (wanted.empty()) return Part{nodeOf(QueryNode::Kind::All, std::move(unwanted)), true};
    return Part{nodeOf(QueryNode::Kind::Any, std::move(wanted)), false};
}

class Parser {
public:
    Parser(std::string_view text, const TermFilter& filter, std::vector<QueryLeaf>& leaves)
        : m_text(text), m_filter(filter), m_leaves(leaves) {}

    std::optional<Part> parse() {
        std::optional<Part> first = readEither();
        if (isAtEnd()) return first;
        // A closing bracket without an opening one ends nothing.
        std::vector<Part> parts;
        if (first) parts.push_back(*std::move(first));
        for (++m_at; !isAtEnd();) {
            if (auto part = readEither()) parts.push_back(std::move(*part));
            if (!isAtEnd()) ++m_at;
        }
        return both(std::move(parts));
    }

private:
    bool isAtEnd() const { return m_at >= m_text.size(); }
    char current() const { return m_text[m_at]; }

    void skipBlanks() {
        while (!isAtEnd() && isOneOf(current(), kBlanks)) ++m_at;
    }

    // Up to the end of the text or a closing bracket.
    std::optional<Part> readEither() {
        std::optional<Part> first = readBoth();
        if (isAtEnd() || current() != '|') return first;
        std::vector<Part> parts;
        if (first) parts.push_back(*std::move(first));
        while (!isAtEnd() && current() == '|') {
            ++m_at;
            if (auto part = readBoth()) parts.push_back(std::move(*part));
        }
        return either(std::move(parts));
    }

    // Up to the end of the text, a closing bracket or a "|" that has something on its left.
    std::optional<Part> readBoth() {
        std::vector<Part> parts;
        parts.reserve(kUsualParts);
        for (;;) {
            skipBlanks();
            if (isAtEnd() || current() == ')') return both(std::move(parts));
            if (current() == '|') {
                if (!m_isBehindOperator) return both(std::move(parts));
                ++m_at;  // "a & | b": the second operator has lost its left side
            } else if (current() == '&') {
                m_isBehindOperator = !parts.empty();
                ++m_at;
            } else if (auto part = readNegatable()) {
                m_isBehindOperator = false;
                parts.push_back(std::move(*part));
            }
        }
    }

    std::optional<Part> readNegatable() {
        bool isNegated = false;
        while (!isAtEnd() && (current() == '!' || isOneOf(current(), kBlanks))) {
            isNegated ^= current() == '!';
            ++m_at;
        }
        if (isAtEnd() || isOneOf(current(), "&|)")) return std::nullopt;
        auto part = readSingle();
        if (part) part->isNegated ^= isNegated;
        return part;
    }

    std::optional<Part> readSingle() {
        if (current() == '(') return readBracket();
        if (current() == '"') return readQuotation();
        return readToken();
    }

    std::optional<Part> readBracket() {
        ++m_at;
        if (m_depth >= kMaxDepth) return std::nullopt;
        ++m_depth;
        auto part = readEither();
        --m_depth;
        if (!isAtEnd()) ++m_at;
        return part;
    }

    std::optional<Part> readQuotation() {
        const std::size_t end = m_text.find('"', m_at + 1);
        if (end == std::string_view::npos) {
            ++m_at;
            return std::nullopt;
        }
        const std::string_view phrase = m_text.substr(m_at + 1, end - m_at - 1);
        m_at = end + 1;
        return leafOf(phrase, false, false);
    }

    std::optional<Part> readToken() {
        const std::size_t begin = m_at;
        while (!isAtEnd() && !isOneOf(current(), kBlanks) && !isOneOf(current(), kOperators)) {
            ++m_at;
        }
        const std::string_view token = m_text.substr(begin, m_at - begin);
        return leafOf(token, token.starts_with('*'), token.ends_with('*'));
    }

    std::optional<Part> leafOf(std::string_view text, bool isOpenInFront, bool isOpenBehind) {
        QueryLeaf leaf;
        std::uint32_t position = 0;
        for (WordScanner scanner(text); scanner.next();) {
            leaf.words.push_back({std::string(scanner.word()), TermMatch::Exact, position++});
        }
        if (leaf.words.empty()) return std::nullopt;
        if (isOpenInFront) leaf.words.front().match = TermMatch::Suffix;
        if (isOpenBehind) {
            TermMatch& match = leaf.words.back().match;
            match = match == TermMatch::Suffix ? TermMatch::Anywhere : TermMatch::Prefix;
        }
        std::erase_if(leaf.words, [this](const QueryWord& word) {
            return word.match == TermMatch::Exact && !m_filter.isTerm(word.word);
        });
        if (leaf.words.empty()) return std::nullopt;
        const std::uint32_t first = leaf.words.front().position;
        for (QueryWord& word : leaf.words) word.position -= first;
        m_leaves.push_back(std::move(leaf));
        return Part{QueryNode{.kind = QueryNode::Kind::Leaf,
                              .leaf = m_leaves.size() - 1,
                              .children = {},
                              .excluded = {}},
                    false};
    }

    std::string_view m_text;
    const TermFilter& m_filter;
    std::vector<QueryLeaf>& m_leaves;
    std::size_t m_at = 0;
    int m_depth = 0;
    bool m_isBehindOperator = false;
};

}  // namespace

bool matches(std::string_view term, const QueryWord& word) {
    switch (word.match) {
        case TermMatch::Exact:
            return term == word.word;
        case TermMatch::Prefix:
            return term.starts_with(word.word);
        case TermMatch::Suffix:
            return term.ends_with(word.word);
        case TermMatch::Anywhere:
            return term.find(word.word) != std::string_view::npos;
    }
    return false;
}

Query parseQuery(std::string_view text, const TermFilter& filter) {
    Query query;
    auto part = Parser(utf8Prefix(text, kMaxQueryBytes), filter, query.leaves).parse();
    if (part && !part->isNegated) query.root = std::move(part->node);
    return query;
}

}  // namespace siftwell::fulltext
