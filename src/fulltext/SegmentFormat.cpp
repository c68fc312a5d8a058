#include "fulltext/SegmentFormat.h"

#include <algorithm>
#include <cstring>

#include "fulltext/Bytes.h"
#include "fulltext/CheckedBytes.h"
#include "fulltext/Hash.h"
#include "fulltext/TermGrams.h"

namespace siftwell::fulltext {

namespace {

void appendSection(std::string& bytes, const Section& section) {
    appendNumber(bytes, section.offset);
    appendNumber(bytes, section.size);
}

Section readSection(ByteReader& reader) {
    Section section;
    section.offset = reader.number<std::uint64_t>();
    section.size = reader.number<std::uint64_t>();
    return section;
}

bool isInside(const Section& section, std::uint64_t bodySize) {
    return section.offset <= bodySize && section.size <= bodySize - section.offset;
}

bool isPowerOfTwo(std::uint64_t number) { return number != 0 && (number & (number - 1)) == 0; }

bool isConsistent(const SegmentTrailer& trailer) {
    for (const Section* section :
         {&trailer.postings, &trailer.lengths, &trailer.places, &trailer.identities,
          &trailer.termBytes, &trailer.termEntries, &trailer.termSamples, &trailer.termGrams}) {
        if (!isInside(*section, trailer.bodySize)) return false;
    }
    if (trailer.first < kFirstDocumentID || trailer.last < trailer.first ||
        trailer.last > kLastDocumentID) {
        return false;
    }
    const std::uint64_t span = std::uint64_t{trailer.last} - trailer.first + 1;
    const std::uint64_t samples =
        (std::uint64_t{trailer.terms} + kTermsPerSample - 1) / kTermsPerSample;
    const std::uint64_t gramPages =
        trailer.terms < kFewestGramTerms
            ? 0
            : (std::uint64_t{trailer.terms} + kTermsPerGramPage - 1) / kTermsPerGramPage;
    return trailer.lengths.size == span * 4 && trailer.places.size == span * 8 &&
           trailer.documents <= span &&
           trailer.termEntries.size == (std::uint64_t{trailer.terms} + 1) * kTermEntrySize &&
           trailer.termSamples.size == samples * sizeof(std::uint64_t) &&
           trailer.termGrams.size == gramPages * kGramPageSize &&
           trailer.identities.size % kIdentitySlotSize == 0 &&
           isPowerOfTwo(trailer.identities.size / kIdentitySlotSize) &&
           trailer.termBytes.size <= 0xFFFFFFFF &&
           // Unpacking a list may read a few bytes behind it.
           trailer.lengths.offset >= trailer.postings.offset + trailer.postings.size + kReadSlack;
}

}  // namespace

std::uint64_t sortKeyOf(std::string_view term) {
    std::uint64_t key = 0;
    std::memcpy(&key, term.data(), std::min(term.size(), sizeof key));
    return __builtin_bswap64(key);
}

std::uint64_t hashOfKey(const DocumentKey& key) {
    std::string bytes = key.scheme;
    bytes += '\0';
    bytes += key.name;
    return stableHash(bytes);
}

std::string serializeTrailer(std::string_view blockChecksums, const SegmentTrailer& trailer) {
    std::string bytes(blockChecksums);
    appendNumber(bytes, trailer.first);
    appendNumber(bytes, trailer.last);
    appendNumber(bytes, trailer.documents);
    appendNumber(bytes, trailer.terms);
    appendNumber(bytes, trailer.words);
    appendNumber(bytes, trailer.bodySize);
    appendSection(bytes, trailer.postings);
    appendSection(bytes, trailer.lengths);
    appendSection(bytes, trailer.places);
    appendSection(bytes, trailer.identities);
    appendSection(bytes, trailer.termBytes);
    appendSection(bytes, trailer.termEntries);
    appendSection(bytes, trailer.termSamples);
    appendSection(bytes, trailer.termGrams);
    appendNumber(bytes, static_cast<std::uint32_t>(bytes.size()));
    return bytes;
}

std::optional<ParsedTrailer> parseTrailer(std::string_view trailer, std::uint64_t payloadSize) {
    if (trailer.size() < kTrailerFieldsSize) return std::nullopt;
    ParsedTrailer parsed;
    parsed.blockChecksums = trailer.substr(0, trailer.size() - kTrailerFieldsSize);
    ByteReader reader(trailer.substr(parsed.blockChecksums.size()));
    SegmentTrailer& fields = parsed.fields;
    fields.first = reader.number<DocumentID>();
    fields.last = reader.number<DocumentID>();
    fields.documents = reader.number<std::uint32_t>();
    fields.terms = reader.number<std::uint32_t>();
    fields.words = reader.number<std::uint64_t>();
    fields.bodySize = reader.number<std::uint64_t>();
    fields.postings = readSection(reader);
    fields.lengths = readSection(reader);
    fields.places = readSection(reader);
    fields.identities = readSection(reader);
    fields.termBytes = readSection(reader);
    fields.termEntries = readSection(reader);
    fields.termSamples = readSection(reader);
    fields.termGrams = readSection(reader);
    if (!reader.isAtEnd() || fields.bodySize > payloadSize) return std::nullopt;
    const std::uint64_t expected = checkedBlockCount(fields.bodySize) * sizeof(std::uint32_t);
    const bool fits = payloadSize == fields.bodySize + trailer.size() + sizeof(std::uint32_t);
    if (!fits || parsed.blockChecksums.size() != expected || !isConsistent(fields)) {
        return std::nullopt;
    }
    return parsed;
}

}  // namespace siftwell::fulltext
