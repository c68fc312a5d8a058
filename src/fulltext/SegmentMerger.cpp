#include "fulltext/SegmentMerger.h"

#include <algorithm>
#include <queue>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

// One segment on the way through its terms.
struct Source {
    const LiveSegment* input = nullptr;
    TermNumber number = 0;
    std::string_view term;

    bool isAtEnd() const { return number == input->segment->terms().size(); }

    // False when the terms are damaged.
    bool readTerm() {
        if (isAtEnd()) return true;
        const auto text = input->segment->terms().term(number);
        if (text) term = *text;
        return text.has_value();
    }
};

// Smallest term first; of equal terms the one of the earlier segment, whose documents come first.
struct ComesLater {
    bool operator()(const Source* a, const Source* b) const {
        return a->term != b->term ? a->term > b->term : a > b;
    }
};

class Merger {
public:
    Merger(std::span<const LiveSegment> segments, Spool& output) : m_output(output) {
        m_sources.reserve(segments.size());
        for (const LiveSegment& segment : segments)
            m_sources.push_back({.input = &segment, .term = {}});
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
    Status mergeTerm(const std::vector<Source*>& sources);
    Status addPostings(const Source& source);
    bool isWhollyLive(const LiveSegment& input, const BlockEntry& block) const {
        return block.first >= m_documents.front().id &&
               (input.removed == nullptr || !input.removed->containsAnyOf(block.first, block.last));
    }
    Status queueIfAny(Source& source);
    static Status damaged(const Source& source) {
        return damagedFile(source.input->segment->file(), "the words of a segment are wrong");
    }

    std::vector<Source> m_sources;
    std::priority_queue<Source*, std::vector<Source*>, ComesLater> m_queue;
    std::vector<SegmentDocument> m_documents;
    SegmentWriter m_output;
    PostingListWriter m_postings;
    std::string m_list;
};

Status Merger::gatherDocuments(const PlaceMapping& newPlace) {
    for (const Source& source : m_sources) {
        const auto documents = source.input->segment->describeDocuments();
        if (!documents) return documents.status();
        for (SegmentDocument document : *documents) {
            if (!source.input->isLive(document.id)) continue;
            document.place = newPlace(document);
            m_documents.push_back(document);
        }
    }
    return {};
}

Status Merger::queueIfAny(Source& source) {
    if (!source.readTerm()) return damaged(source);
    if (!source.isAtEnd()) m_queue.push(&source);
    return {};
}

Status Merger::mergeTerms(const ContinueCallback& mayContinue) {
    constexpr std::size_t kTermsBetweenPaces = 256;
    for (Source& source : m_sources) {
        if (Status status = queueIfAny(source); !status.isOk()) return status;
    }
    std::vector<Source*> equal;
    for (std::size_t terms = 0; !m_queue.empty(); ++terms) {
        equal.clear();
        do {
            equal.push_back(m_queue.top());
            m_queue.pop();
        } while (!m_queue.empty() && m_queue.top()->term == equal.front()->term);
        if (Status status = mergeTerm(equal); !status.isOk()) return status;
        for (Source* source : equal) {
            ++source->number;
            if (Status status = queueIfAny(*source); !status.isOk()) return status;
        }
        if (terms % kTermsBetweenPaces == 0 && !mayContinue()) {
            return {StatusCode::Busy, "The merge was given up."};
        }
    }
    return {};
}

Status Merger::mergeTerm(const std::vector<Source*>& sources) {
    m_postings.begin(m_documents.front().id);
    for (const Source* source : sources) {
        if (Status status = addPostings(*source); !status.isOk()) return status;
    }
    if (m_postings.documents() == 0) return {};
    m_list.clear();
    m_postings.finish(m_list);
    return m_output.addTerm(sources.front()->term, m_postings.documents(), m_list);
}

Status Merger::addPostings(const Source& source) {
    const Result<PostingList> list = source.input->segment->postings(source.number);
    if (!list) return list.status();
    PostingIterator postings(*list);
    while (postings.document() != kNoDocument) {
        const auto block = postings.fullBlockFromHere();
        if (block && isWhollyLive(*source.input, block->entry)) {
            m_postings.addBlock(block->entry, block->documents, block->positions);
            postings.skipBlock();
            continue;
        }
        if (source.input->isLive(postings.document()) &&
            postings.document() >= m_documents.front().id) {
            m_postings.add(postings.document(), postings.frequency(),
                           list->lengthOf(postings.document()), postings.rawPositions());
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
