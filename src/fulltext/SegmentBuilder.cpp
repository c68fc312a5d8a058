#include "fulltext/SegmentBuilder.h"

#include <algorithm>
#include <memory>
#include <numeric>

#include "fulltext/Postings.h"
#include "fulltext/SegmentWriter.h"

namespace siftwell::fulltext {

namespace {

using Documents = std::span<const std::shared_ptr<const MemoryDocument>>;

// A term in a document.
struct Place {
    std::uint32_t document;  // index in the span
    std::uint32_t frequency;
    std::uint32_t positionsAt;  // in its text
    std::uint32_t positionsSize;
};

// TermGatherer brings the equal terms of all documents together.
//
// The documents name their terms by the slots of a few tables. Words that several tables hold
// become one term when all are sorted.
class TermGatherer {
public:
    explicit TermGatherer(Documents documents) : m_documents(documents) {
        countPlaces();
        sortWords();
        numberTerms();
        groupPlaces();
    }

    // Terms are numbered in the order of their bytes.
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_texts.size()); }
    std::string_view text(std::uint32_t term) const { return m_texts[term]; }

    // In the order of the documents. Those of the next terms are on their way into the cache.
    std::span<const Place> places(std::uint32_t term) const {
        constexpr std::uint32_t kAhead = 32;
        const std::uint32_t begin = m_ends[term] - m_counts[term];
        const std::size_t end = std::min<std::size_t>(m_ends[term] + kAhead, m_placeCount);
        for (std::size_t i = begin + kAhead; i < end; ++i) {
            __builtin_prefetch(positions(m_places[i]).data());
        }
        return {&m_places[begin], m_counts[term]};
    }
    std::string_view positions(const Place& place) const {
        return {m_positions[place.document] + place.positionsAt, place.positionsSize};
    }

private:
    // A table that documents refer to.
    struct Source {
        const TermTable* table;
        // By slot: in how many documents the word is; then the number of its term.
        std::vector<std::uint32_t> ofSlot;
    };

    // A word of one of the tables.
    struct Word {
        std::uint64_t key;
        std::uint32_t source;
        TermTable::Slot slot;
    };

    Source& sourceOf(const TermTable& table);
    void countPlaces();
    void sortWords();
    void numberTerms();
    void groupPlaces();

    std::string_view textOf(const Word& word) const {
        return m_sources[word.source].table->word(word.slot);
    }

    Documents m_documents;
    std::vector<Source> m_sources;
    std::vector<Word> m_words;
    std::vector<std::string_view> m_texts;  // by term
    std::vector<std::uint32_t> m_counts;    // by term: of its places
    std::vector<std::uint32_t> m_ends;      // by term: of its places in m_places
    std::unique_ptr<Place[]> m_places;      // not initialized before they are set
    std::size_t m_placeCount = 0;
    std::vector<const char*> m_positions;  // by document: its texts' positions
};

// Documents that follow each other mostly refer to the same table.
TermGatherer::Source& TermGatherer::sourceOf(const TermTable& table) {
    const auto found = std::find_if(m_sources.rbegin(), m_sources.rend(),
                                    [&](const Source& s) { return s.table == &table; });
    if (found != m_sources.rend()) return *found;
    return m_sources.emplace_back(Source{&table, std::vector<std::uint32_t>(table.slots())});
}

void TermGatherer::countPlaces() {
    for (const auto& document : m_documents) {
        std::vector<std::uint32_t>& counts = sourceOf(document->text->table()).ofSlot;
        for (const TermTable::Slot slot : document->text->slots()) ++counts[slot];
    }
}

// By their first two bytes at first, which leaves short runs to sort.
void TermGatherer::sortWords() {
    constexpr std::size_t kRuns = 1 << 16;
    const auto runOf = [](const Word& word) { return static_cast<std::size_t>(word.key >> 48); };
    std::vector<Word> words;
    std::vector<std::uint32_t> ends(kRuns + 1);  // of the run before each one, and of the last
    for (std::uint32_t source = 0; source < m_sources.size(); ++source) {
        const std::vector<std::uint32_t>& counts = m_sources[source].ofSlot;
        for (TermTable::Slot slot = 0; slot < counts.size(); ++slot) {
            if (counts[slot] == 0) continue;
            words.push_back({m_sources[source].table->sortKey(slot), source, slot});
            ++ends[runOf(words.back()) + 1];
        }
    }
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    m_words.resize(words.size());
    for (const Word& word : words) m_words[ends[runOf(word)]++] = word;
    auto begin = m_words.begin();
    for (const std::uint32_t end : ends) {
        std::sort(begin, m_words.begin() + end, [this](const Word& a, const Word& b) {
            return a.key != b.key ? a.key < b.key : textOf(a) < textOf(b);
        });
        begin = m_words.begin() + end;
    }
}

void TermGatherer::numberTerms() {
    std::uint64_t before = 0;
    for (const Word& word : m_words) {
        const std::string_view text = textOf(word);
        if (word.key != before || m_texts.empty() || m_texts.back() != text) {
            m_texts.push_back(text);
            m_counts.push_back(0);
        }
        before = word.key;
        std::uint32_t& ofSlot = m_sources[word.source].ofSlot[word.slot];
        m_counts.back() += ofSlot;
        ofSlot = static_cast<std::uint32_t>(m_texts.size() - 1);
    }
}

void TermGatherer::groupPlaces() {
    m_ends.resize(m_counts.size());
    std::exclusive_scan(m_counts.begin(), m_counts.end(), m_ends.begin(), std::uint32_t{0});
    m_placeCount = m_counts.empty() ? 0 : m_ends.back() + m_counts.back();
    m_places.reset(new Place[m_placeCount]);
    for (std::uint32_t document = 0; document < m_documents.size(); ++document) {
        const InvertedText& text = *m_documents[document]->text;
        const std::vector<std::uint32_t>& terms = sourceOf(text.table()).ofSlot;
        m_positions.push_back(text.positions());
        for (std::uint32_t i = 0; i < text.slots().size(); ++i) {
            const std::string_view positions = text.positions(i);
            m_places[m_ends[terms[text.slots()[i]]]++] = {
                document, text.frequency(i),
                static_cast<std::uint32_t>(positions.data() - m_positions[document]),
                static_cast<std::uint32_t>(positions.size())};
        }
    }
}

std::vector<SegmentDocument> describe(Documents documents) {
    std::vector<SegmentDocument> result;
    result.reserve(documents.size());
    for (const auto& document : documents) {
        result.push_back({.id = document->id,
                          .words = document->text->words(),
                          .place = document->place,
                          .keyHash = document->keyHash});
    }
    return result;
}

}  // namespace

Result<std::string> buildSegment(Documents documents, Spool& output,
                                 const ContinueCallback& mayContinue) {
    constexpr std::uint32_t kTermsBetweenPaces = 256;
    const TermGatherer terms(documents);
    const std::vector<SegmentDocument> described = describe(documents);
    SegmentWriter segment(output);
    PostingListWriter postings;
    for (std::uint32_t term = 0; term < terms.size(); ++term) {
        postings.begin(documents.front()->id);
        for (const Place& place : terms.places(term)) {
            const SegmentDocument& document = described[place.document];
            postings.add(document.id, place.frequency, document.words, terms.positions(place));
        }
        if (Status status =
                segment.addTerm(terms.text(term), postings.documents(), postings.finish());
            !status.isOk()) {
            return status;
        }
        if (term % kTermsBetweenPaces == 0 && !mayContinue()) {
            return Status(StatusCode::Busy, "The work was given up.");
        }
    }
    return segment.finish(described);
}

}  // namespace siftwell::fulltext
