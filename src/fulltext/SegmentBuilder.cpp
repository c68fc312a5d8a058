#include "fulltext/SegmentBuilder.h"

#include <algorithm>
#include <bit>
#include <numeric>

#include "fulltext/Bytes.h"
#include "fulltext/Postings.h"
#include "fulltext/SegmentWriter.h"

namespace siftwell::fulltext {

namespace {

using Documents = std::span<const std::shared_ptr<const MemoryDocument>>;

// Where a term stands in a document.
struct Place {
    std::uint32_t document;  // index in the span
    std::uint32_t term;      // index in its text
};

// TermGatherer brings the equal terms of all documents together.
class TermGatherer {
public:
    explicit TermGatherer(Documents documents) : m_documents(documents) {
        numberTerms();
        groupPlaces();
    }

    std::size_t size() const { return m_terms.size(); }
    std::string_view text(std::uint32_t term) const { return m_terms[term].text; }

    std::span<const Place> places(std::uint32_t term) const {
        return std::span(m_places).subspan(m_terms[term].firstPlace, m_terms[term].placeCount);
    }

    // The numbers of all terms in the order of their bytes.
    std::vector<std::uint32_t> sorted() const;

private:
    struct Term {
        std::string_view text;
        std::uint64_t hash = 0;
        std::uint32_t placeCount = 0;
        std::uint32_t firstPlace = 0;
    };

    void numberTerms() {
        std::size_t total = 0;
        for (const auto& document : m_documents) total += document->text->termCount();
        m_numbers.reserve(total);
        m_slots.assign(std::bit_ceil(total / 4 + 1024), 0);
        for (const auto& document : m_documents) {
            for (std::size_t i = 0; i < document->text->termCount(); ++i) {
                const std::uint32_t term =
                    numberOf(document->text->term(i), document->text->hash(i));
                ++m_terms[term].placeCount;
                m_numbers.push_back(term);
            }
        }
    }

    std::uint32_t numberOf(std::string_view text, std::uint64_t hash) {
        if (m_terms.size() * 2 >= m_slots.size()) growTable();
        const std::size_t mask = m_slots.size() - 1;
        std::size_t at = hash & mask;
        for (; m_slots[at] != 0; at = (at + 1) & mask) {
            const Term& term = m_terms[m_slots[at] - 1];
            if (term.hash == hash && term.text == text) return m_slots[at] - 1;
        }
        m_terms.push_back({.text = text, .hash = hash});
        m_slots[at] = static_cast<std::uint32_t>(m_terms.size());
        return m_slots[at] - 1;
    }

    void growTable() {
        m_slots.assign(m_slots.size() * 2, 0);
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t term = 0; term < m_terms.size(); ++term) {
            std::size_t at = m_terms[term].hash & mask;
            while (m_slots[at] != 0) at = (at + 1) & mask;
            m_slots[at] = static_cast<std::uint32_t>(term + 1);
        }
    }

    void groupPlaces() {
        std::uint32_t sum = 0;
        for (Term& term : m_terms) {
            term.firstPlace = sum;
            sum += std::exchange(term.placeCount, 0);
        }
        m_places.resize(sum);
        const std::uint32_t* number = m_numbers.data();
        for (std::uint32_t document = 0; document < m_documents.size(); ++document) {
            const std::size_t count = m_documents[document]->text->termCount();
            for (std::uint32_t i = 0; i < count; ++i) {
                Term& term = m_terms[*number++];
                m_places[term.firstPlace + term.placeCount++] = {document, i};
            }
        }
    }

    Documents m_documents;
    std::vector<Term> m_terms;
    std::vector<std::uint32_t> m_slots;    // 1 + number of a term, 0 when free
    std::vector<std::uint32_t> m_numbers;  // of every term of every document, one after another
    std::vector<Place> m_places;           // grouped by term, in document order
};

// The first eight bytes as a number that sorts as they do.
std::uint64_t sortKey(std::string_view text) {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        key = key << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
    }
    return key;
}

std::vector<std::uint32_t> TermGatherer::sorted() const {
    struct Keyed {
        std::uint64_t key;
        std::uint32_t term;
    };
    std::vector<Keyed> order(m_terms.size());
    for (std::uint32_t term = 0; term < m_terms.size(); ++term) {
        order[term] = {sortKey(m_terms[term].text), term};
    }
    std::sort(order.begin(), order.end(), [this](const Keyed& a, const Keyed& b) {
        return a.key != b.key ? a.key < b.key : m_terms[a.term].text < m_terms[b.term].text;
    });
    std::vector<std::uint32_t> terms(order.size());
    std::transform(order.begin(), order.end(), terms.begin(),
                   [](const Keyed& keyed) { return keyed.term; });
    return terms;
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
    constexpr std::size_t kTermsBetweenPaces = 256;
    const TermGatherer gatherer(documents);
    SegmentWriter segment(output);
    PostingListWriter postings;
    std::string list;
    std::size_t sincePace = 0;
    for (const std::uint32_t term : gatherer.sorted()) {
        postings.begin(documents.front()->id);
        for (const Place& place : gatherer.places(term)) {
            const MemoryDocument& document = *documents[place.document];
            postings.add(document.id, document.text->frequency(place.term), document.text->words(),
                         document.text->positions(place.term));
        }
        list.clear();
        postings.finish(list);
        if (Status status = segment.addTerm(gatherer.text(term), postings.documents(), list);
            !status.isOk()) {
            return status;
        }
        if (++sincePace % kTermsBetweenPaces == 0 && !mayContinue()) {
            return Status(StatusCode::Busy, "The work was given up.");
        }
    }
    return segment.finish(describe(documents));
}

}  // namespace siftwell::fulltext
