// Segment: the inverted form of a run of documents, read from its record.
//
// Threads: any number may read; a segment is immutable and lives as long as somebody holds it, also
// when its file was replaced or deleted.
// Errors: everything that is read is compared with its checksum first; wrong bytes give Damaged.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/Status.h"
#include "fulltext/CheckedBytes.h"
#include "fulltext/PostingIterator.h"
#include "fulltext/Record.h"
#include "fulltext/SegmentFormat.h"
#include "fulltext/SegmentWriter.h"
#include "fulltext/Storage.h"
#include "fulltext/TermDictionary.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

class Segment {
public:
    // Maps the record and reads its trailer; the cost does not depend on the segment's size.
    static Result<std::shared_ptr<const Segment>> open(std::shared_ptr<const StorageFile> file,
                                                       RecordPlace place);

    DocumentID firstDocument() const { return m_trailer.first; }
    DocumentID lastDocument() const { return m_trailer.last; }
    std::uint32_t documents() const { return m_trailer.documents; }  // when it was written
    std::uint64_t words() const { return m_trailer.words; }
    const RecordPlace& place() const { return m_place; }
    const StorageFile& file() const { return *m_file; }

    const TermDictionary& terms() const { return m_terms; }
    Result<PostingList> postings(TermNumber term) const;
    // The same from a term's entry and the one behind it.
    Result<PostingList> postings(const TermEntry& term, const TermEntry& behind) const;

    // The number that a key with this hash may have; to be compared with the document's record.
    Result<std::vector<DocumentID>> candidates(std::uint64_t keyHash) const;
    // Brings what that looks at on its way into the cache.
    void prefetchCandidates(std::uint64_t keyHash) const;

    bool covers(DocumentID document) const {
        return document >= m_trailer.first && document <= m_trailer.last;
    }
    // Words of a document, none for a number in the segment's range that it does not hold.
    Result<std::optional<std::uint32_t>> wordsOf(DocumentID document) const;
    // Offset of the document's record in file().
    Result<std::uint64_t> placeOf(DocumentID document) const;

    // What the segment was written with, in rising order.
    Result<std::vector<SegmentDocument>> describeDocuments() const;

    // Compares all bytes with their checksums.
    Status checkBytes() const;
    // Reads everything there is and compares it with itself.
    Status check() const;

private:
    Segment() = default;

    Result<std::string_view> section(const Section& section) const;
    Result<std::string_view> lengths() const;
    Status checkTerm(TermNumber term, std::vector<std::uint64_t>& wordsSeen) const;
    Status damaged(std::string_view what) const { return damagedFile(*m_file, what); }

    std::shared_ptr<const StorageFile> m_file;
    RecordPlace m_place;
    std::unique_ptr<Mapping> m_mapping;
    std::string m_trailerBytes;
    SegmentTrailer m_trailer;
    CheckedBytes m_body;
    TermDictionary m_terms;
};

}  // namespace siftwell::fulltext
