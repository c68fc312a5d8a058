#include "fulltext/SegmentMerger.h"

#include <algorithm>
#include <queue>

#include "fulltext/PostingIterator.h"
#include "fulltext/Postings.h"
#include "fulltext/ShortListJoiner.h"

namespace siftwell::fulltext {

namespace {

// One segment on the way through its terms.
class Source {
public:
    explicit Source(const LiveSegment& input) : m_input(&input) {}

    // The first term, then the next one. False when the terms are damaged.
    bool readFirst() {
        const auto entry = terms().entry(0);
        if (!entry) return false;
        m_next = *entry;
        return readTerm();
    }
    bool readNext() {
        ++m_number;
        return readTerm();
    }

    bool isAtEnd() const { return m_number == terms().size(); }
    std::string_view term() const { return m_term; }
    const LiveSegment& input() const { return *m_input; }
    Result<PostingList> postings() const { return m_input->segment->postings(m_entry, m_next); }

    // Smallest term first; of equal terms the one of the earlier segment, whose documents come
    // first.
    bool comesBefore(const Source& other) const {
        if (m_sortKey != other.m_sortKey) return m_sortKey < other.m_sortKey;
        return m_term != other.m_term ? m_term < other.m_term : this < &other;
    }
    bool hasSameTerm(const Source& other) const {
        return m_sortKey == other.m_sortKey && m_term == other.m_term;
    }

private:
    const TermDictionary& terms() const { return m_input->segment->terms(); }

    bool readTerm() {
        if (isAtEnd()) return true;
        m_entry = m_next;
        const auto next = terms().entry(m_number + 1);
        const auto text = next ? terms().textBetween(m_entry, *next) : std::nullopt;
        if (!text) return false;
        m_next = *next;
        m_term = *text;
        m_sortKey = sortKeyOf(m_term);
        return true;
    }

    const LiveSegment* m_input;
    TermNumber m_number = 0;
    TermEntry m_entry;
    TermEntry m_next;
    std::string_view m_term;
    std::uint64_t m_sortKey = 0;
};

struct ComesLater {
    bool operator()(const Source* a, const Source* b) const { return b->comesBefore(*a); }
};

class Merger {
public:
    Merger(std::span<const LiveSegment> segments, Spool& output) : m_output(output) {
        m_sources.reserve(segments.size());
        for (const LiveSegment& segment : segments) m_sources.emplace_back(segment);
    }

    Result<std::string> run(const PlaceMapping& newPlace, const ContinueCallback& mayContinue) {
        if (Status status = gatherDocuments(newPlace); !status.isOk()) return status;
        if (m_documents.empty()) return std::string();
        if (Status status = mergeTerms(mayContinue); !status.isOk()) return status;
        return m_output.finish(m_documents);
    }

private:
    Status gatherDocuments(const PlaceMapping& newPlace);
    Status mergeTerms(const ContinueCallback& mayContinue);
    Status mergeTerm(std::span<Source* const> sources);
    Status joinShortLists(std::span<Source* const> sources);
    Status addPostings(const Source& source, const PostingList& list);
    bool isWhollyLive(const LiveSegment& input, const RawBlock& block) const {
        return block.first >= m_documents.front().id &&
               (input.removed == nullptr || !input.removed->containsAnyOf(block.first, block.last));
    }
    Status queueUnlessAtEnd(Source& source, bool isRight);
    static Status damaged(const Source& source) {
        return damagedFile(source.input().segment->file(), "the words of a segment are wrong");
    }

    std::vector<Source> m_sources;
    std::priority_queue<Source*, std::vector<Source*>, ComesLater> m_queue;
    std::vector<SegmentDocument> m_documents;
    std::vector<PostingList> m_lists;  // of the term that is being merged
    SegmentWriter m_output;
    PostingListWriter m_postings;
    ShortListJoiner m_joiner;
};

Status Merger::gatherDocuments(const PlaceMapping& newPlace) {
    for (const Source& source : m_sources) {
        const auto documents = source.input().segment->describeDocuments();
        if (!documents) return documents.status();
        for (SegmentDocument document : *documents) {
            if (!source.input().isLive(document.id)) continue;
            document.place = newPlace(document);
            m_documents.push_back(document);
        }
    }
    return {};
}

Status Merger::queueUnlessAtEnd(Source& source, bool isRight) {
    if (!isRight) return damaged(source);
    if (!source.isAtEnd()) m_queue.push(&source);
    return {};
}

Status Merger::mergeTerms(const ContinueCallback& mayContinue) {
    constexpr std::size_t kTermsBetweenPaces = 256;
    for (Source& source : m_sources) {
        Status status = queueUnlessAtEnd(source, source.readFirst());
        if (!status.isOk()) return status;
    }
    std::vector<Source*> equal;
    for (std::size_t terms = 0; !m_queue.empty(); ++terms) {
        equal.clear();
        do {
            equal.push_back(m_queue.top());
            m_queue.pop();
        } while (!m_queue.empty() && m_queue.top()->hasSameTerm(*equal.front()));
        if (Status status = mergeTerm(equal); !status.isOk()) return status;
        for (Source* source : equal) {
            Status status = queueUnlessAtEnd(*source, source->readNext());
            if (!status.isOk()) return status;
        }
        if (terms % kTermsBetweenPaces == 0 && !mayContinue()) {
            return {StatusCode::Busy, "The merge was given up."};
        }
    }
    return {};
}

Status Merger::mergeTerm(std::span<Source* const> sources) {
    m_lists.clear();
    std::uint64_t documents = 0;
    bool isWhole = true;
    for (const Source* source : sources) {
        const Result<PostingList> list = source->postings();
        if (!list) return list.status();
        m_lists.push_back(*list);
        documents += list->documents;
        isWhole = isWhole && source->input().removed == nullptr;
    }
    if (isWhole && documents < kBlockDocuments) return joinShortLists(sources);
    m_postings.begin(m_documents.front().id);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (Status status = addPostings(*sources[i], m_lists[i]); !status.isOk()) return status;
    }
    if (m_postings.documents() == 0) return {};
    const std::string_view list = m_postings.finish();
    return m_output.addTerm(sources.front()->term(), m_postings.documents(), list);
}

// Most words are rare.
Status Merger::joinShortLists(std::span<Source* const> sources) {
    m_joiner.begin(m_documents.front().id);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (!m_joiner.add(m_lists[i])) return damaged(*sources[i]);
    }
    return m_output.addTerm(sources.front()->term(), m_joiner.documents(), m_joiner.finish());
}

Status Merger::addPostings(const Source& source, const PostingList& list) {
    PostingIterator postings(list);
    while (postings.document() != kNoDocument) {
        const auto block = postings.fullBlockFromHere();
        if (block && isWhollyLive(source.input(), *block)) {
            m_postings.addBlock(*block);
            postings.skipBlock();
            continue;
        }
        const DocumentID document = postings.document();
        if (source.input().isLive(document) && document >= m_documents.front().id) {
            const std::string_view positions = postings.rawPositions();
            if (postings.isDamaged()) break;
            m_postings.add(document, postings.frequency(), list.lengthOf(document), positions);
        }
        postings.next();
    }
    return postings.isDamaged() ? damaged(source) : Status();
}

}  // namespace

Result<std::string> mergeSegments(std::span<const LiveSegment> segments,
                                  const PlaceMapping& newPlace, Spool& output,
                                  const ContinueCallback& mayContinue) {
    return Merger(segments, output).run(newPlace, mayContinue);
}

}  // namespace siftwell::fulltext
