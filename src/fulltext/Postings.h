// How the postings of one term lie in a segment, and how they are written.
//
// A term in fewer than 128 documents has a short list:
//
//   per document   varint (distance to the last document × 2, + 1 when it occurs more than once),
//                  then, when it does, varint (occurrences - 2)
//   per document   its positions: varint distances, the first from 0
//
// Any other has a block list, which blocks of another segment's list can be copied into as they
// are:
//
//   varint number of blocks, varint bytes of the directory, varint bytes of the documents part
//   directory      per block: varint (first document - last of the block before),
//                  varint (last document - first), byte (documents - 1), varint bytes in the
//                  documents part, varint bytes in the positions part, byte number of bounds, then
//                  per bound varint frequency, varint length
//   documents      per block: byte width of distances, byte width of frequencies, the distances - 1
//                  and the frequencies - 1, packed to the bit
//   positions      per block, per document: as above
//
// The document before the first is the one below the segment's first. A block has 1 to 128
// documents. Bounds are the (frequency, length) pairs from which the best score in the block can be
// told for any statistics: rising frequencies with rising lengths.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fulltext/Types.h"

namespace siftwell::fulltext {

inline constexpr std::size_t kBlockDocuments = 128;
inline constexpr std::size_t kMaxBounds = 6;

struct ScoreBound {
    std::uint32_t frequency = 0;
    std::uint32_t length = 0;
};

struct BlockBounds {
    std::array<ScoreBound, kMaxBounds> pairs{};
    std::size_t count = 0;
};

// One entry of a block list's directory.
struct BlockEntry {
    DocumentID first = 0;
    DocumentID last = 0;
    std::uint32_t documents = 0;
    std::uint32_t documentBytes = 0;
    std::uint32_t positionBytes = 0;
    BlockBounds bounds;
};

// PostingListWriter takes the postings of one term in rising document order and gives its list.
//
// Threads: one at a time. Reused for term after term.
class PostingListWriter {
public:
    // `firstOfSegment` is the base of the distances.
    void begin(DocumentID firstOfSegment);

    // `positions` is the encoded form: varint distances, as many as the frequency says. `length` is
    // the document's number of words.
    void add(DocumentID document, std::uint32_t frequency, std::uint32_t length,
             std::string_view positions);

    // Copies a full block of another list. Its documents come behind all that were added.
    void addBlock(const BlockEntry& entry, std::string_view documents, std::string_view positions);

    std::uint32_t documents() const { return m_documents; }

    // Appends the finished list.
    void finish(std::string& list);

private:
    struct Pending {
        DocumentID document;
        std::uint32_t frequency;
        std::uint32_t length;
        std::uint32_t positionBytes;
    };

    void closeBlock();
    void appendPendingDocuments();
    BlockBounds boundsOfPending() const;
    void finishShort(std::string& list) const;
    void finishBlocks(std::string& list);

    DocumentID m_base = 0;
    std::uint32_t m_documents = 0;
    std::vector<Pending> m_pending;
    std::string m_pendingPositions;
    std::vector<BlockEntry> m_blocks;
    std::string m_documentPart;
    std::string m_positionPart;
};

}  // namespace siftwell::fulltext
