#include "fulltext/SegmentWriter.h"

#include <algorithm>
#include <bit>

#include "fulltext/BitPacking.h"
#include "fulltext/Bytes.h"
#include "fulltext/CheckedBytes.h"
#include "fulltext/Checksum.h"
#include "fulltext/Record.h"
#include "fulltext/TermGrams.h"

namespace siftwell::fulltext {

namespace {

// One number per document from the first to the last; `absent` where there is none.
template <typename Number, typename Value>
std::string column(std::span<const SegmentDocument> documents, Number absent, Value valueOf) {
    const DocumentID first = documents.front().id;
    const std::size_t span = std::size_t{documents.back().id} - first + 1;
    std::string bytes;
    bytes.reserve(span * sizeof(Number));
    DocumentID next = first;
    for (const SegmentDocument& document : documents) {
        for (; next < document.id; ++next) appendNumber(bytes, absent);
        appendNumber(bytes, valueOf(document));
        ++next;
    }
    return bytes;
}

std::string identityTable(std::span<const SegmentDocument> documents) {
    const std::size_t slots = std::bit_ceil(documents.size() * 3 / 2 + 1);
    std::string table(slots * kIdentitySlotSize, '\0');
    for (const SegmentDocument& document : documents) {
        std::size_t slot = document.keyHash & (slots - 1);
        while (loadNumber<DocumentID>(table.data() + slot * kIdentitySlotSize + 8) != 0) {
            slot = (slot + 1) & (slots - 1);
        }
        char* const at = table.data() + slot * kIdentitySlotSize;
        std::memcpy(at, &document.keyHash, sizeof document.keyHash);
        std::memcpy(at + sizeof document.keyHash, &document.id, sizeof document.id);
    }
    return table;
}

}  // namespace

Status SegmentWriter::append(std::string_view bytes) {
    m_trailer.bodySize += bytes.size();
    if (Status status = m_output.append(bytes); !status.isOk()) return status;
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, kCheckedBlockSize - m_bytesInBlock);
        m_checksum = crc32c(part, m_checksum);
        m_bytesInBlock += part.size();
        bytes.remove_prefix(part.size());
        if (m_bytesInBlock == kCheckedBlockSize) closeChecksumBlock();
    }
    return {};
}

void SegmentWriter::closeChecksumBlock() {
    if (m_bytesInBlock == 0) return;
    appendNumber(m_blockChecksums, m_checksum);
    m_checksum = 0;
    m_bytesInBlock = 0;
}

Status SegmentWriter::addTerm(std::string_view term, std::uint32_t documentFrequency,
                              std::string_view list) {
    if (m_termBytes.size() + term.size() + 1 > 0xFFFFFFFF) {
        return {StatusCode::TooLarge, "There are too many different words for one segment."};
    }
    m_termEntries.appendNumber(TermEntry{.bytes = static_cast<std::uint32_t>(m_termBytes.size()),
                                         .documentFrequency = documentFrequency,
                                         .postings = m_trailer.bodySize});
    if (m_trailer.terms % kTermsPerSample == 0) m_termSamples.appendNumber(sortKeyOf(term));
    m_termBytes.append(term);
    m_termBytes.appendByte(0);
    ++m_trailer.terms;
    return append(list);
}

Result<std::string> SegmentWriter::finish(std::span<const SegmentDocument> documents) {
    m_trailer.postings = {.offset = 0, .size = m_trailer.bodySize};
    m_termEntries.appendNumber(TermEntry{.bytes = static_cast<std::uint32_t>(m_termBytes.size()),
                                         .documentFrequency = 0,
                                         .postings = m_trailer.bodySize});
    if (Status status = append(std::string(kReadSlack, '\0')); !status.isOk()) return status;
    if (Status status = appendDocuments(documents); !status.isOk()) return status;
    if (Status status = appendTerms(); !status.isOk()) return status;
    closeChecksumBlock();
    const std::string trailer = serializeTrailer(m_blockChecksums, m_trailer);
    if (Status status = m_output.append(trailer); !status.isOk()) return status;
    const auto covered =
        std::string_view(trailer).substr(0, trailer.size() - sizeof(std::uint32_t));
    return recordHeader(RecordKind::Segment, covered, m_output.size());
}

Status SegmentWriter::appendTerms() {
    const std::string grams = termGrams(m_termBytes.view(), m_trailer.terms);
    const std::pair<Section*, std::string_view> sections[] = {
        {&m_trailer.termBytes, m_termBytes.view()},
        {&m_trailer.termEntries, m_termEntries.view()},
        {&m_trailer.termSamples, m_termSamples.view()},
        {&m_trailer.termGrams, grams},
    };
    for (const auto& [section, bytes] : sections) {
        if (Status status = appendSection(*section, bytes); !status.isOk()) return status;
    }
    return {};
}

Status SegmentWriter::appendSection(Section& section, std::string_view bytes) {
    section = {.offset = m_trailer.bodySize, .size = bytes.size()};
    return append(bytes);
}

Status SegmentWriter::appendDocuments(std::span<const SegmentDocument> documents) {
    m_trailer.first = documents.front().id;
    m_trailer.last = documents.back().id;
    m_trailer.documents = static_cast<std::uint32_t>(documents.size());
    for (const SegmentDocument& document : documents) m_trailer.words += document.words;
    const std::string lengths =
        column(documents, kAbsent, [](const SegmentDocument& document) { return document.words; });
    if (Status status = appendSection(m_trailer.lengths, lengths); !status.isOk()) return status;
    const std::string places =
        column(documents, std::uint64_t{0},
               [](const SegmentDocument& document) { return document.place; });
    if (Status status = appendSection(m_trailer.places, places); !status.isOk()) return status;
    return appendSection(m_trailer.identities, identityTable(documents));
}

}  // namespace siftwell::fulltext
