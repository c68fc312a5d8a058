// SegmentWriter lays out a segment: terms one after another in sorted order, then what is known of
// the documents.
//
// Threads: one at a time. Errors: those of the spool.
// Memory: the bytes and entries of all terms, and 28 bytes per document, until finish().
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/ByteBuffer.h"
#include "fulltext/SegmentFormat.h"
#include "fulltext/Spool.h"

namespace siftwell::fulltext {

struct SegmentDocument {
    DocumentID id = 0;
    std::uint32_t words = 0;
    std::uint64_t place = 0;    // offset of the document record
    std::uint64_t keyHash = 0;  // hashOfKey()
};

class SegmentWriter {
public:
    explicit SegmentWriter(Spool& output) : m_output(output) {}

    // Terms come in rising order of their bytes.
    Status addTerm(std::string_view term, std::uint32_t documentFrequency, std::string_view list);

    // Documents in rising order, at least one. Appends the rest of the payload; answers the record
    // header that goes before it.
    Result<std::string> finish(std::span<const SegmentDocument> documents);

private:
    Status append(std::string_view bytes);
    Status appendSection(Section& section, std::string_view bytes);
    Status appendTerms();
    Status appendDocuments(std::span<const SegmentDocument> documents);
    void closeChecksumBlock();

    Spool& m_output;
    SegmentTrailer m_trailer;
    ByteBuffer m_termBytes;
    ByteBuffer m_termEntries;
    ByteBuffer m_termSamples;
    std::string m_blockChecksums;
    std::uint32_t m_checksum = 0;  // of the block that is being filled
    std::size_t m_bytesInBlock = 0;
};

}  // namespace siftwell::fulltext
