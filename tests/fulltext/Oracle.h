// Oracle: a slow and obvious search over stored texts, to compare the engine with.
#pragma once

#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "fulltext/Types.h"

namespace siftwell::fulltext {

using Random = std::mt19937;

inline int pick(Random& random, int below) {
    return std::uniform_int_distribution<int>(0, below - 1)(random);
}

inline std::vector<std::string> splitWords(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

// A query as a tree that can be written down in the query language.
struct OracleQuery {
    enum class Kind { Word, Prefix, Suffix, Anywhere, Phrase, All, Any, Not };
    Kind kind = Kind::Word;
    std::vector<std::string> words;
    std::vector<OracleQuery> parts;

    bool isLeaf() const { return kind <= Kind::Phrase; }

    std::string text() const {
        switch (kind) {
            case Kind::Word:
                return words[0];
            case Kind::Prefix:
                return words[0] + "*";
            case Kind::Suffix:
                return "*" + words[0];
            case Kind::Anywhere:
                return "*" + words[0] + "*";
            case Kind::Phrase:
                return '"' + joined(words, " ") + '"';
            case Kind::Not:
                return "!" + parts[0].text();
            case Kind::All:
                return "(" + joinedParts(" & ") + ")";
            case Kind::Any:
                return "(" + joinedParts(" | ") + ")";
        }
        return {};
    }

    static std::string joined(const std::vector<std::string>& parts, const char* between) {
        std::string result;
        for (const std::string& part : parts) result += (result.empty() ? "" : between) + part;
        return result;
    }

    std::string joinedParts(const char* between) const {
        std::vector<std::string> texts;
        for (const OracleQuery& part : parts) texts.push_back(part.text());
        return joined(texts, between);
    }

    // How often a leaf occurs.
    std::uint32_t frequency(const std::vector<std::string>& document) const {
        std::uint32_t count = 0;
        for (std::size_t at = 0; at < document.size(); ++at)
            count += occursAt(document, at) ? 1 : 0;
        return count;
    }

    bool matches(const std::vector<std::string>& document) const {
        const auto does = [&](const OracleQuery& part) { return part.matches(document); };
        if (isLeaf()) return frequency(document) > 0;
        if (kind == Kind::Not) return !does(parts[0]);
        if (kind == Kind::All) return std::all_of(parts.begin(), parts.end(), does);
        return std::any_of(parts.begin(), parts.end(), does);
    }

private:
    bool occursAt(const std::vector<std::string>& document, std::size_t at) const {
        const std::string& word = document[at];
        switch (kind) {
            case Kind::Word:
                return word == words[0];
            case Kind::Prefix:
                return word.starts_with(words[0]);
            case Kind::Suffix:
                return word.ends_with(words[0]);
            case Kind::Anywhere:
                return word.find(words[0]) != std::string::npos;
            default:
                break;
        }
        if (at + words.size() > document.size()) return false;
        return std::equal(words.begin(), words.end(),
                          document.begin() + static_cast<std::ptrdiff_t>(at));
    }
};

class Oracle {
public:
    void add(DocumentID id, const std::string& text) { m_documents[id] = splitWords(text); }
    void remove(DocumentID id) { m_documents.erase(id); }
    const std::map<DocumentID, std::vector<std::string>>& documents() const { return m_documents; }

    std::vector<DocumentID> matches(const OracleQuery& query) const {
        std::vector<DocumentID> found;
        for (const auto& [id, words] : m_documents) {
            if (query.matches(words)) found.push_back(id);
        }
        return found;
    }

    // BM25 over the documents that are there.
    std::map<DocumentID, double> scores(const OracleQuery& query) const {
        std::map<DocumentID, double> result;
        if (query.kind == OracleQuery::Kind::Not) return result;
        if (!query.isLeaf()) {
            for (const OracleQuery& part : query.parts) {
                for (const auto& [id, score] : scores(part)) result[id] += score;
            }
            std::erase_if(result, [&](const auto& entry) {
                return !query.matches(m_documents.at(entry.first));
            });
            return result;
        }
        const double leafWeight = weight(query);
        const double average = averageLength();
        for (const DocumentID id : matches(query)) {
            const std::vector<std::string>& document = m_documents.at(id);
            const double frequency = query.frequency(document);
            const double norm =
                1.2 * (0.25 + 0.75 * static_cast<double>(document.size()) / average);
            result[id] = leafWeight * frequency * 2.2 / (frequency + norm);
        }
        return result;
    }

private:
    double averageLength() const {
        double sum = 0;
        for (const auto& [id, words] : m_documents) sum += static_cast<double>(words.size());
        return sum / static_cast<double>(m_documents.size());
    }

    // A phrase weighs what its words do together.
    double weight(const OracleQuery& query) const {
        if (query.kind == OracleQuery::Kind::Phrase) {
            double sum = 0;
            for (const std::string& word : query.words) {
                sum += weight({.kind = OracleQuery::Kind::Word, .words = {word}});
            }
            return sum;
        }
        const auto found = static_cast<double>(matches(query).size());
        const auto all = static_cast<double>(m_documents.size());
        return std::log(1 + (all - found + 0.5) / (found + 0.5));
    }

    std::map<DocumentID, std::vector<std::string>> m_documents;
};

// A vocabulary in which some words are common and most are rare, with shared parts.
inline std::string randomWord(Random& random) {
    static const std::vector<std::string> kParts = {"ka", "lo", "mi", "ter", "an", "is", "o", "ux"};
    const int rarity = std::min(pick(random, 64), pick(random, 64));
    return kParts[static_cast<std::size_t>(rarity % 8)] +
           kParts[static_cast<std::size_t>(rarity / 8)];
}

inline std::string randomText(Random& random, int maxWords) {
    std::string text;
    for (int i = pick(random, maxWords) + 1; i > 0; --i) text += randomWord(random) + " ";
    return text;
}

// The same words as people write them: with capitals, and punctuation in between.
inline std::string written(Random& random, const std::string& words) {
    static constexpr const char* kBetween[] = {" ", ", ", ". ", " - ", "\n", "! ", " (", ") ", "/"};
    std::string text;
    for (std::string word : splitWords(words)) {
        if (pick(random, 4) == 0) word[0] = static_cast<char>(word[0] - 'a' + 'A');
        text += word + kBetween[pick(random, static_cast<int>(std::size(kBetween)))];
    }
    return text;
}

inline OracleQuery randomLeaf(Random& random) {
    using Kind = OracleQuery::Kind;
    OracleQuery query{.kind = static_cast<Kind>(pick(random, 5)), .words = {randomWord(random)}};
    if (query.kind == Kind::Phrase) {
        for (int i = pick(random, 2) + 1; i > 0; --i) query.words.push_back(randomWord(random));
    } else if (query.kind != Kind::Word) {
        query.words[0] = query.words[0].substr(static_cast<std::size_t>(pick(random, 2)), 2);
    }
    return query;
}

// "!" stands only beside something that is asked for: elsewhere it has another meaning than in
// logic.
inline OracleQuery randomQuery(Random& random, int depth) {
    using Kind = OracleQuery::Kind;
    if (depth == 0 || pick(random, 3) == 0) return randomLeaf(random);
    OracleQuery query{.kind = pick(random, 2) == 0 ? Kind::All : Kind::Any};
    for (int i = pick(random, 3) + 1; i > 0; --i)
        query.parts.push_back(randomQuery(random, depth - 1));
    if (query.kind == Kind::All && pick(random, 3) == 0) {
        query.parts.push_back({.kind = Kind::Not, .parts = {randomQuery(random, depth - 1)}});
    }
    return query;
}

}  // namespace siftwell::fulltext
