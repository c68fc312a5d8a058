#include "fulltext/QueryPlan.h"

#include <algorithm>

#include "fulltext/BestFirstTerm.h"
#include "fulltext/PhraseMatcher.h"
#include "fulltext/TermsMatcher.h"

namespace siftwell::fulltext {

QueryPlan::QueryPlan(const Query& query, const Snapshot& snapshot)
    : m_query(query),
      m_snapshot(snapshot),
      m_bm25(snapshot.documents, snapshot.words),
      m_scorer(query),
      m_terms(snapshot.segments.size()) {
    for (auto& leaves : m_terms) leaves.resize(query.leaves.size());
    m_documentsOfWord.reserve(query.leaves.size());
    for (const QueryLeaf& leaf : query.leaves) m_documentsOfWord.emplace_back(leaf.words.size());
}

Result<bool> QueryPlan::prepare(const Deadline& deadline) {
    const std::size_t leaves = m_query.leaves.size();
    for (; m_nextLeaf < m_terms.size() * leaves; ++m_nextLeaf) {
        const std::size_t segment = m_nextLeaf / leaves;
        const std::size_t leaf = m_nextLeaf % leaves;
        if (!m_gatherer) {
            if (deadline.isOver()) return false;
            if (Status status = lookUp(segment, leaf); !status.isOk()) return status;
        }
        if (isFragment(m_query.leaves[leaf])) {
            Result<bool> isDone = gather(segment, leaf, deadline);
            if (!isDone || !*isDone) return isDone;
        }
    }
    if (!m_isPrepared) {
        countInMemory();
        computeWeights();
        m_isPrepared = true;
    }
    return true;
}

Status QueryPlan::lookUp(std::size_t segment, std::size_t leaf) {
    const TermDictionary& dictionary = m_snapshot.segments[segment].segment->terms();
    LeafTerms& found = m_terms[segment][leaf];
    found.ofWord.clear();
    found.ofWord.reserve(m_query.leaves[leaf].words.size());
    for (std::size_t i = 0; i < m_query.leaves[leaf].words.size(); ++i) {
        const QueryWord& word = m_query.leaves[leaf].words[i];
        auto terms = dictionary.matches(word.word, word.match);
        if (!terms) return terms.status();
        if (!isFragment(m_query.leaves[leaf])) {
            for (const TermNumber term : *terms) {
                if (const auto entry = dictionary.entry(term)) {
                    m_documentsOfWord[leaf][i] += entry->documentFrequency;
                }
            }
        }
        found.ofWord.push_back(*std::move(terms));
    }
    return {};
}

Result<bool> QueryPlan::gather(std::size_t segment, std::size_t leaf, const Deadline& deadline) {
    LeafTerms& terms = m_terms[segment][leaf];
    if (!m_gatherer) m_gatherer.emplace(*m_snapshot.segments[segment].segment, terms.ofWord[0]);
    Result<bool> isDone = m_gatherer->run(deadline);
    if (!isDone || !*isDone) return isDone;
    terms.gathered = m_gatherer->take();
    m_gatherer.reset();
    m_documentsOfWord[leaf][0] += terms.gathered.size;
    return true;
}

void QueryPlan::countInMemory() {
    if (m_snapshot.memory.empty()) return;
    m_scorer.prepare();
    for (const auto& document : m_snapshot.memory) {
        if (document == nullptr) continue;
        for (std::size_t leaf = 0; leaf < m_query.leaves.size(); ++leaf) {
            for (std::size_t word = 0; word < m_documentsOfWord[leaf].size(); ++word) {
                if (m_scorer.holds(*document->text, leaf, word)) ++m_documentsOfWord[leaf][word];
            }
        }
    }
}

// A phrase weighs what its words do together.
void QueryPlan::computeWeights() {
    m_weights.reserve(m_documentsOfWord.size());
    for (const auto& documentsOfWord : m_documentsOfWord) {
        float weight = 0;
        for (const std::uint64_t documents : documentsOfWord) weight += m_bm25.weight(documents);
        m_weights.push_back(weight);
    }
}

Result<std::unique_ptr<Matcher>> QueryPlan::matcherFor(std::size_t segment,
                                                       MatchOrder order) const {
    if (!m_query.root) return std::unique_ptr<Matcher>();
    const QueryNode& root = *m_query.root;
    const bool isOneTerm = root.kind == QueryNode::Kind::Leaf && isTerm(m_query.leaves[root.leaf]);
    if (isOneTerm && order == MatchOrder::Any) return bestFirstMatcher(root.leaf, segment);
    return matcherOf(root, segment);
}

Result<std::unique_ptr<Matcher>> QueryPlan::bestFirstMatcher(std::size_t leaf,
                                                             std::size_t segment) const {
    const std::vector<TermNumber>& terms = m_terms[segment][leaf].ofWord.front();
    if (terms.empty()) return std::unique_ptr<Matcher>();
    const auto list = m_snapshot.segments[segment].segment->postings(terms.front());
    if (!list) return list.status();
    return std::unique_ptr<Matcher>(
        std::make_unique<BestFirstTerm>(*list, m_weights[leaf], m_bm25));
}

Result<std::unique_ptr<Matcher>> QueryPlan::matcherOf(const QueryNode& node,
                                                      std::size_t segment) const {
    switch (node.kind) {
        case QueryNode::Kind::Leaf:
            return leafMatcher(node.leaf, segment);
        case QueryNode::Kind::All:
            return isAllTerms(node) ? termsMatcher(node, segment) : allMatcher(node, segment);
        case QueryNode::Kind::Any:
            return anyMatcher(node, segment);
    }
    return std::unique_ptr<Matcher>();
}

Result<std::unique_ptr<Matcher>> QueryPlan::leafMatcher(std::size_t leaf,
                                                        std::size_t segment) const {
    if (m_query.leaves[leaf].words.size() > 1) return phraseMatcher(leaf, segment);
    const LeafTerms& terms = m_terms[segment][leaf];
    if (terms.ofWord[0].empty()) return std::unique_ptr<Matcher>();
    const auto list = m_snapshot.segments[segment].segment->postings(terms.ofWord[0].front());
    if (!list) return list.status();
    if (isFragment(m_query.leaves[leaf])) {
        return makeGatheredMatcher(terms.gathered, *list, m_weights[leaf], m_bm25);
    }
    return std::unique_ptr<Matcher>(std::make_unique<TermMatcher>(*list, m_weights[leaf], m_bm25));
}

Result<std::vector<PostingList>> QueryPlan::listsOf(const std::vector<TermNumber>& terms,
                                                    std::size_t segment) const {
    std::vector<PostingList> lists;
    for (const TermNumber term : terms) {
        const auto list = m_snapshot.segments[segment].segment->postings(term);
        if (!list) return list.status();
        lists.push_back(*list);
    }
    return lists;
}

Result<std::unique_ptr<Matcher>> QueryPlan::phraseMatcher(std::size_t leaf,
                                                          std::size_t segment) const {
    const LeafTerms& terms = m_terms[segment][leaf];
    std::vector<PhraseWord> words;
    PostingList lengths;
    for (std::size_t i = 0; i < terms.ofWord.size(); ++i) {
        if (terms.ofWord[i].empty()) return std::unique_ptr<Matcher>();
        const auto lists = listsOf(terms.ofWord[i], segment);
        if (!lists) return lists.status();
        words.emplace_back(*lists, m_query.leaves[leaf].words[i].position);
        lengths = lists->front();
    }
    return std::unique_ptr<Matcher>(
        std::make_unique<PhraseMatcher>(std::move(words), lengths, m_weights[leaf], m_bm25));
}

bool QueryPlan::isAllTerms(const QueryNode& node) const {
    const auto isOne = [this](const QueryNode& child) {
        return child.kind == QueryNode::Kind::Leaf && isTerm(m_query.leaves[child.leaf]);
    };
    return node.excluded.empty() && std::all_of(node.children.begin(), node.children.end(), isOne);
}

Result<std::unique_ptr<Matcher>> QueryPlan::termsMatcher(const QueryNode& node,
                                                         std::size_t segment) const {
    std::vector<WeightedList> terms;
    terms.reserve(node.children.size());
    for (const QueryNode& child : node.children) {
        const std::vector<TermNumber>& found = m_terms[segment][child.leaf].ofWord.front();
        if (found.empty()) return std::unique_ptr<Matcher>();
        const auto list = m_snapshot.segments[segment].segment->postings(found.front());
        if (!list) return list.status();
        terms.push_back({*list, m_weights[child.leaf], terms.size()});
    }
    return std::unique_ptr<Matcher>(std::make_unique<TermsMatcher>(std::move(terms), m_bm25));
}

Result<std::unique_ptr<Matcher>> QueryPlan::allMatcher(const QueryNode& node,
                                                       std::size_t segment) const {
    Matchers children;
    for (const QueryNode& child : node.children) {
        auto matcher = matcherOf(child, segment);
        if (!matcher || *matcher == nullptr) return matcher;
        children.push_back(*std::move(matcher));
    }
    Matchers excluded;
    for (const QueryNode& child : node.excluded) {
        auto matcher = matcherOf(child, segment);
        if (!matcher) return matcher;
        if (*matcher != nullptr) excluded.push_back(*std::move(matcher));
    }
    return std::unique_ptr<Matcher>(
        std::make_unique<AllMatcher>(std::move(children), std::move(excluded)));
}

Result<std::unique_ptr<Matcher>> QueryPlan::anyMatcher(const QueryNode& node,
                                                       std::size_t segment) const {
    Matchers children;
    for (const QueryNode& child : node.children) {
        auto matcher = matcherOf(child, segment);
        if (!matcher) return matcher;
        if (*matcher != nullptr) children.push_back(*std::move(matcher));
    }
    if (children.size() <= 1) {
        return children.empty() ? std::unique_ptr<Matcher>() : std::move(children.front());
    }
    return std::unique_ptr<Matcher>(std::make_unique<AnyMatcher>(std::move(children)));
}

}  // namespace siftwell::fulltext
