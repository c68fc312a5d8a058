#include "Workload.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace siftwell::bench {

namespace {

constexpr std::size_t kRankedQueries = 200;
constexpr std::size_t kPhrases = 50;
constexpr std::size_t kFragments = 50;
constexpr std::size_t kMaxAttempts = 100'000;

// Words that every tokenizer reads alike.
bool isPlain(std::string_view word) {
    return word.size() >= 3 && word.size() <= 30 &&
           std::all_of(word.begin(), word.end(), [](char c) { return (c >= 'a' && c <= 'z'); });
}

std::vector<std::string_view> wordsOf(const Document& document) {
    std::vector<std::string_view> words;
    const std::string_view text = document.words;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        if (end > begin) words.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return words;
}

class WorkloadMaker {
public:
    explicit WorkloadMaker(const Corpus& corpus) : m_corpus(corpus) { countDocuments(); }

    Workload make() {
        Workload workload;
        for (std::size_t i = 0; i < kRankedQueries; ++i) {
            workload.ranked.push_back(rankedQuery(1 + i % 3));
        }
        for (std::size_t i = 0; i < kMaxAttempts && workload.phrases.size() < kPhrases; ++i) {
            const Words phrase = someWords(2 + i % 2);
            if (!phrase.empty()) workload.phrases.push_back(phrase);
        }
        for (std::size_t i = 0; i < kMaxAttempts && workload.fragments.size() < kFragments; ++i) {
            addFragment(workload);
        }
        return workload;
    }

private:
    void countDocuments() {
        for (const Document& document : m_corpus.documents) {
            std::unordered_set<std::string_view> seen;
            for (const std::string_view word : wordsOf(document)) {
                if (isPlain(word) && seen.insert(word).second) ++m_documents[word];
            }
        }
        for (const auto& [word, count] : m_documents) m_byFrequency.emplace_back(count, word);
        std::sort(m_byFrequency.begin(), m_byFrequency.end());
    }

    std::size_t below(std::size_t end) { return end == 0 ? 0 : m_random() % end; }

    // Of all numbers of documents that a word may be in, each power of two is as likely.
    std::string_view wordOfAnyFrequency() {
        const double most = std::log2(static_cast<double>(m_byFrequency.back().first));
        const double power = most * static_cast<double>(below(1'000'000)) / 1e6;
        const auto least = static_cast<std::size_t>(std::exp2(power));
        const auto at = std::lower_bound(m_byFrequency.begin(), m_byFrequency.end(),
                                         std::pair(least, std::string_view()));
        const auto behind = static_cast<std::size_t>(m_byFrequency.end() - at);
        const std::size_t alike = std::min<std::size_t>(behind, 1 + behind / 8);
        return (at + static_cast<std::ptrdiff_t>(below(alike)))->second;
    }

    // The other words come from the first document, from some place on, that has the first one.
    Words rankedQuery(std::size_t size) {
        const std::string_view first = wordOfAnyFrequency();
        const std::string withBlank = std::string(first) + ' ';
        Words query{std::string(first)};
        const std::size_t start = below(m_corpus.documents.size());
        for (std::size_t i = 0; i < m_corpus.documents.size() && query.size() < size; ++i) {
            const Document& document = m_corpus.documents[(start + i) % m_corpus.documents.size()];
            if (document.words.find(withBlank) == std::string::npos) continue;
            const auto words = wordsOf(document);
            for (std::size_t k = 0; k < 1000 && query.size() < size; ++k) {
                const std::string_view word = words[below(words.size())];
                if (isPlain(word) && std::find(query.begin(), query.end(), word) == query.end()) {
                    query.emplace_back(word);
                }
            }
        }
        return query;
    }

    Words someWords(std::size_t size) {
        const auto words = wordsOf(m_corpus.documents[below(m_corpus.documents.size())]);
        if (words.size() < size) return {};
        const auto first = words.begin() + static_cast<std::ptrdiff_t>(below(words.size() - size));
        const auto last = first + static_cast<std::ptrdiff_t>(size);
        if (!std::all_of(first, last, isPlain)) return {};
        return {first, last};
    }

    bool isInSomeWord(const std::string& part) const {
        return std::any_of(m_byFrequency.begin(), m_byFrequency.end(), [&](const auto& entry) {
            return entry.second.find(part) != std::string_view::npos;
        });
    }

    void addFragment(Workload& workload) {
        const std::string_view word = wordOfAnyFrequency();
        const std::size_t size = 3 + below(3);
        if (word.size() <= size) return;
        const std::string part(word.substr(below(word.size() - size), size));
        if (!isInSomeWord({part.rbegin(), part.rend()})) workload.fragments.push_back(part);
    }

    const Corpus& m_corpus;
    std::mt19937_64 m_random{20'26};
    std::unordered_map<std::string_view, std::size_t> m_documents;
    std::vector<std::pair<std::size_t, std::string_view>> m_byFrequency;
};

}  // namespace

Workload chooseWorkload(const Corpus& corpus) { return WorkloadMaker(corpus).make(); }

}  // namespace siftwell::bench
