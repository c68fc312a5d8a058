// Any text as a query. Its tree is sound; and a query of ASCII letters, written down again from
// its tree, is understood as the same tree.

#include <algorithm>
#include <string>

#include "Require.h"
#include "fulltext/Query.h"
#include "text/Folding.h"
#include "text/Words.h"

namespace {

using namespace siftwell;
using namespace siftwell::fulltext;
using fuzz::require;

using Kind = QueryNode::Kind;

// Every leaf stands in the tree once, except that nothing stands in none.
void checkTree(const QueryNode& node, std::vector<int>& uses) {
    if (node.kind == Kind::Leaf) {
        require(node.leaf < uses.size() && ++uses[node.leaf] == 1);
        require(node.children.empty() && node.excluded.empty());
        return;
    }
    require(node.children.size() + node.excluded.size() > 1 && !node.children.empty());
    require(node.kind == Kind::All || node.excluded.empty());
    for (const QueryNode& child : node.children) checkTree(child, uses);
    for (const QueryNode& child : node.excluded) checkTree(child, uses);
}

void checkLeaf(const QueryLeaf& leaf) {
    require(!leaf.words.empty() && leaf.words.front().position == 0);
    for (std::size_t i = 0; i < leaf.words.size(); ++i) {
        const QueryWord& word = leaf.words[i];
        require(!word.word.empty() && word.word.size() <= kMaxWordBytes);
        require(folded(word.word) == word.word);
        require(i == 0 || leaf.words[i - 1].position < word.position);
    }
}

bool isSame(const QueryNode& a, const Query& ofA, const QueryNode& b, const Query& ofB) {
    const auto same = [&](const QueryNode& x, const QueryNode& y) {
        return isSame(x, ofA, y, ofB);
    };
    return a.kind == b.kind && (a.kind != Kind::Leaf || ofA.leaves[a.leaf] == ofB.leaves[b.leaf]) &&
           std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(),
                      same) &&
           std::equal(a.excluded.begin(), a.excluded.end(), b.excluded.begin(), b.excluded.end(),
                      same);
}

std::string written(const QueryLeaf& leaf) {
    const auto isOpen = [](const QueryWord& word, TermMatch side) {
        return word.match == side || word.match == TermMatch::Anywhere;
    };
    std::string text = isOpen(leaf.words.front(), TermMatch::Suffix) ? "*" : "";
    for (const QueryWord& word : leaf.words)
        text += (&word == &leaf.words[0] ? "" : "-") + word.word;
    return text + (isOpen(leaf.words.back(), TermMatch::Prefix) ? "*" : "");
}

std::string written(const QueryNode& node, const Query& query) {
    if (node.kind == Kind::Leaf) return written(query.leaves[node.leaf]);
    std::string text;
    for (const QueryNode& child : node.children) {
        if (!text.empty()) text += node.kind == Kind::Any ? "|" : " ";
        text += written(child, query);
    }
    for (const QueryNode& child : node.excluded) text += " !" + written(child, query);
    return "(" + text + ")";
}

int depthOf(const QueryNode& node) {
    int depth = 0;
    for (const QueryNode& child : node.children) depth = std::max(depth, depthOf(child) + 1);
    for (const QueryNode& child : node.excluded) depth = std::max(depth, depthOf(child) + 1);
    return depth;
}

void checkWrittenDown(const Query& query) {
    constexpr int kMaxDepth = 100;  // brackets that are nested deeper than 128 are left out
    if (depthOf(*query.root) > kMaxDepth) return;
    const TermFilter everyWord{IndexSettings()};
    const Query again = parseQuery(written(*query.root, query), everyWord);
    require(again.root && isSame(*query.root, query, *again.root, again));
}

void checkQuery(std::string_view text, const TermFilter& filter) {
    const Query query = parseQuery(text, filter);
    require(query.leaves.size() <= text.size());
    for (const QueryLeaf& leaf : query.leaves) checkLeaf(leaf);
    if (!query.root) return;
    std::vector<int> uses(query.leaves.size());
    checkTree(*query.root, uses);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TermFilter everyWord{IndexSettings()};
    static const TermFilter longWords{IndexSettings{.minimumTermLength = 3, .stopWords = {"the"}}};
    const std::string_view text = fuzz::asText(data, size);
    checkQuery(text, everyWord);
    checkQuery(text, longWords);
    const Query query = parseQuery(text, everyWord);
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return c >= 0; });
    if (query.root && isAscii) checkWrittenDown(query);
    return 0;
}
