// How a segment lies in its record.
//
//   body      cut into blocks of 32 KiB with a checksum each:
//     postings       the lists of all terms, in term order
//     slack          16 zero bytes
//     lengths        u32 per number from the first document to the last: its words, or kAbsent
//     places         u64 per number: the offset of its document record in the file, or 0
//     identities     hash table from document keys to numbers
//     term bytes     every term followed by a 0 byte, sorted, in one run
//     term entries   one TermEntry per term and one behind the last, whose offsets are the ends
//     term samples   u64 per 64 terms: the first eight bytes of the first of them, as a number that
//                    sorts as they do, 0 bytes behind a shorter one
//     term grams     pages of a filter for parts of terms (TermGrams.h): one for each 4096 terms,
//                    none for fewer than 65536
//   trailer   covered by the record's checksum:
//     checksums of the blocks, u32 each
//     the fields of SegmentTrailer in their order
//     u32 size of the trailer
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "fulltext/Types.h"

namespace siftwell::fulltext {

inline constexpr std::uint32_t kAbsent = 0xFFFFFFFF;  // in `lengths`: no such document

struct Section {
    std::uint64_t offset = 0;  // in the body
    std::uint64_t size = 0;
};

struct SegmentTrailer {
    DocumentID first = 0;
    DocumentID last = 0;
    std::uint32_t documents = 0;
    std::uint32_t terms = 0;
    std::uint64_t words = 0;  // of all documents
    std::uint64_t bodySize = 0;
    Section postings;
    Section lengths;
    Section places;
    Section identities;
    Section termBytes;
    Section termEntries;
    Section termSamples;
    Section termGrams;
};

inline constexpr std::size_t kTrailerFieldsSize = 4 * 4 + 8 * 2 + 8 * 16;

// As it stands in the term entries.
struct TermEntry {
    std::uint32_t bytes = 0;              // offset in the term bytes
    std::uint32_t documentFrequency = 0;  // documents with the term when the segment was written
    std::uint64_t postings = 0;           // offset in the postings
};
inline constexpr std::size_t kTermEntrySize = 16;

inline constexpr std::size_t kTermsPerSample = 64;
// What is sampled of a term.
std::uint64_t sortKeyOf(std::string_view term);

// As it stands in the identities: u64 hash of the key, u32 number of the document, 0 in a free
// slot. A key's slot is chosen by the low bits of its hash; when it is taken, the next free one
// after it.
inline constexpr std::size_t kIdentitySlotSize = 12;

// XXH3, 64 bits, over the scheme, a 0 byte and the name.
std::uint64_t hashOfKey(const DocumentKey& key);

std::string serializeTrailer(std::string_view blockChecksums, const SegmentTrailer& trailer);

// `trailer` without its size; also tells the checksums apart. None when it contradicts itself or
// the size of the payload.
struct ParsedTrailer {
    SegmentTrailer fields;
    std::string_view blockChecksums;
};
std::optional<ParsedTrailer> parseTrailer(std::string_view trailer, std::uint64_t payloadSize);

}  // namespace siftwell::fulltext
