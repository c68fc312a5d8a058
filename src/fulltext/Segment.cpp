#include "fulltext/Segment.h"

#include <algorithm>

#include "fulltext/BitPacking.h"
#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kSizeField = sizeof(std::uint32_t);

}  // namespace

Result<std::shared_ptr<const Segment>> Segment::open(std::shared_ptr<const StorageFile> file,
                                                     RecordPlace place) {
    const Result<std::uint64_t> fileSize = file->size();
    if (!fileSize) return fileSize.status();
    if (place.size < kRecordHeaderSize + kSizeField || place.offset > *fileSize ||
        place.size > *fileSize - place.offset) {
        return damagedFile(*file, "a segment lies outside of it");
    }
    auto mapping = file->map(place.offset, place.size);
    if (!mapping) return mapping.status();

    std::shared_ptr<Segment> segment(new Segment);
    segment->m_file = std::move(file);
    segment->m_place = place;
    segment->m_mapping = *std::move(mapping);
    const std::string_view record = segment->m_mapping->bytes();
    const RecordHeader header = parseRecordHeader(record.substr(0, kRecordHeaderSize));
    const std::string_view payload = record.substr(kRecordHeaderSize);
    const auto size = loadNumber<std::uint32_t>(payload.data() + payload.size() - kSizeField);
    if (header.kind != RecordKind::Segment || header.payloadSize != payload.size() ||
        size > payload.size() - kSizeField) {
        return segment->damaged("a segment is not where it should be");
    }
    segment->m_trailerBytes = payload.substr(payload.size() - kSizeField - size, size);
    if (!isChecksumRight(header, segment->m_trailerBytes)) {
        return segment->damaged("the checksum of a segment is wrong");
    }
    const auto parsed = parseTrailer(segment->m_trailerBytes, payload.size());
    if (!parsed) return segment->damaged("a segment is malformed");
    segment->m_trailer = parsed->fields;
    segment->m_body =
        CheckedBytes(payload.substr(0, parsed->fields.bodySize), parsed->blockChecksums);
    segment->m_terms = TermDictionary(segment->m_body, segment->m_trailer);
    return std::shared_ptr<const Segment>(std::move(segment));
}

Result<std::string_view> Segment::section(const Section& section) const {
    const auto bytes = m_body.range(section.offset, section.size);
    if (!bytes) return damaged("the checksum of a block is wrong");
    return *bytes;
}

Result<std::string_view> Segment::lengths() const { return section(m_trailer.lengths); }

Result<PostingList> Segment::postings(TermNumber term) const {
    const auto entry = m_terms.entry(term);
    const auto behind = m_terms.entry(term + 1);
    if (!entry || !behind) return damaged("the entry of a word is wrong");
    return postings(*entry, *behind);
}

Result<PostingList> Segment::postings(const TermEntry& term, const TermEntry& behind) const {
    if (behind.postings < term.postings || behind.postings > m_trailer.postings.size) {
        return damaged("the entry of a word is wrong");
    }
    // The slack behind the list is checked with it: it is read, though not used.
    const std::uint64_t size = behind.postings - term.postings;
    const auto bytes = m_body.range(term.postings, size + kReadSlack);
    if (!bytes) return damaged("the checksum of a block is wrong");
    const Result<std::string_view> allLengths = lengths();
    if (!allLengths) return allLengths.status();
    return PostingList{.bytes = bytes->substr(0, size),
                       .documents = term.documentFrequency,
                       .firstOfSegment = m_trailer.first,
                       .lastOfSegment = m_trailer.last,
                       .lengths = *allLengths};
}

Result<std::vector<DocumentID>> Segment::candidates(std::uint64_t keyHash) const {
    const std::uint64_t slots = m_trailer.identities.size / kIdentitySlotSize;
    std::vector<DocumentID> found;
    for (std::uint64_t step = 0; step < slots; ++step) {
        const std::uint64_t slot = (keyHash + step) & (slots - 1);
        const auto bytes =
            m_body.range(m_trailer.identities.offset + slot * kIdentitySlotSize, kIdentitySlotSize);
        if (!bytes) return damaged("the checksum of a block is wrong");
        const auto document = loadNumber<DocumentID>(bytes->data() + sizeof(std::uint64_t));
        if (document == 0) break;
        if (loadNumber<std::uint64_t>(bytes->data()) == keyHash && covers(document)) {
            found.push_back(document);
        }
    }
    return found;
}

void Segment::prefetchCandidates(std::uint64_t keyHash) const {
    const std::uint64_t slots = m_trailer.identities.size / kIdentitySlotSize;
    if (slots == 0) return;
    m_body.prefetch(m_trailer.identities.offset + (keyHash & (slots - 1)) * kIdentitySlotSize);
}

Result<std::optional<std::uint32_t>> Segment::wordsOf(DocumentID document) const {
    if (!covers(document)) return std::optional<std::uint32_t>();
    const auto bytes =
        m_body.range(m_trailer.lengths.offset + std::uint64_t{document - m_trailer.first} * 4, 4);
    if (!bytes) return damaged("the checksum of a block is wrong");
    const auto words = loadNumber<std::uint32_t>(bytes->data());
    return words == kAbsent ? std::optional<std::uint32_t>() : words;
}

Result<std::uint64_t> Segment::placeOf(DocumentID document) const {
    if (!covers(document)) return Status(StatusCode::NotFound, "There is no such document.");
    const auto bytes =
        m_body.range(m_trailer.places.offset + std::uint64_t{document - m_trailer.first} * 8, 8);
    if (!bytes) return damaged("the checksum of a block is wrong");
    return loadNumber<std::uint64_t>(bytes->data());
}

Result<std::vector<SegmentDocument>> Segment::describeDocuments() const {
    const auto allLengths = lengths();
    const auto places = section(m_trailer.places);
    const auto identities = section(m_trailer.identities);
    if (!allLengths) return allLengths.status();
    if (!places) return places.status();
    if (!identities) return identities.status();

    const std::size_t span = std::size_t{m_trailer.last} - m_trailer.first + 1;
    std::vector<std::uint64_t> hashes(span);
    for (std::size_t at = 0; at < identities->size(); at += kIdentitySlotSize) {
        const auto document = loadNumber<DocumentID>(identities->data() + at + 8);
        if (covers(document)) {
            hashes[document - m_trailer.first] = loadNumber<std::uint64_t>(identities->data() + at);
        }
    }
    std::vector<SegmentDocument> documents;
    documents.reserve(m_trailer.documents);
    for (std::size_t i = 0; i < span; ++i) {
        const auto words = loadNumber<std::uint32_t>(allLengths->data() + i * 4);
        if (words == kAbsent) continue;
        documents.push_back({.id = m_trailer.first + static_cast<DocumentID>(i),
                             .words = words,
                             .place = loadNumber<std::uint64_t>(places->data() + i * 8),
                             .keyHash = hashes[i]});
    }
    return documents;
}

Status Segment::checkBytes() const {
    if (!m_body.range(0, m_body.size())) return damaged("the checksum of a block is wrong");
    return {};
}

Status Segment::check() const {
    if (Status status = checkBytes(); !status.isOk()) return status;
    std::vector<std::uint64_t> wordsSeen(std::size_t{m_trailer.last} - m_trailer.first + 1);
    std::string_view before;
    for (TermNumber term = 0; term < m_terms.size(); ++term) {
        const auto text = m_terms.term(term);
        if (!text || text->empty() || *text <= before) return damaged("the words are not in order");
        before = *text;
        if (Status status = checkTerm(term, wordsSeen); !status.isOk()) return status;
    }
    const auto documents = describeDocuments();
    if (!documents) return documents.status();
    std::uint64_t words = 0;
    for (const SegmentDocument& document : *documents) {
        if (wordsSeen[document.id - m_trailer.first] != document.words) {
            return damaged("a document has other words than it should");
        }
        words += document.words;
    }
    if (documents->size() != m_trailer.documents || words != m_trailer.words) {
        return damaged("the number of documents is wrong");
    }
    return {};
}

Status Segment::checkTerm(TermNumber term, std::vector<std::uint64_t>& wordsSeen) const {
    const Result<PostingList> list = postings(term);
    if (!list) return list.status();
    std::uint32_t documents = 0;
    std::vector<std::uint32_t> positions;
    PostingIterator iterator(*list);
    for (; iterator.document() != kNoDocument; iterator.next()) {
        iterator.readPositions(positions);
        if (iterator.isDamaged()) break;
        wordsSeen[iterator.document() - m_trailer.first] += positions.size();
        ++documents;
    }
    if (iterator.isDamaged() || documents != list->documents) {
        return damaged("the postings of a word are wrong");
    }
    return {};
}

}  // namespace siftwell::fulltext
