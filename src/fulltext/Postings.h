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
//   u32 number of blocks
//   directory      per block: u32 its last document - first document of the segment, u32 where it
//                  ends in the blocks part, u64 where its positions end in the positions part
//   blocks         per block: u32 (last document - first), byte (documents - 1), byte width of
//                  distances, byte width of frequencies, the distances - 1 and the frequencies - 1,
//                  packed to the bit, byte number of bounds, then per bound varint frequency,
//                  varint length
//   positions      per block, per document: as above
//
// The document before the first one of a short list is the first of the segment. A block has 1 to
// 128 documents. Bounds are the (frequency, length) pairs from which the best score in the block
// can be told for any statistics: rising frequencies with rising lengths.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "fulltext/ByteBuffer.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

inline constexpr std::size_t kBlockDocuments = 128;
inline constexpr std::size_t kMaxBounds = 6;

// One entry of a block list's directory, as it stands in the list.
struct BlockEntry {
    std::uint32_t last = 0;          // document of the block, less the segment's first
    std::uint32_t blockEnd = 0;      // in the blocks part
    std::uint64_t positionsEnd = 0;  // in the positions part
};
static_assert(sizeof(BlockEntry) == 16);

inline constexpr std::size_t kBlockHeadSize = 4 + 3;

// A block as it can be copied to another list.
struct RawBlock {
    DocumentID first = 0;
    DocumentID last = 0;
    std::uint32_t documents = 0;
    std::string_view bytes;
    std::string_view positions;
};

struct ScoreBound {
    std::uint32_t frequency = 0;
    std::uint32_t length = 0;
};

// PostingListWriter takes the postings of one term in rising document order and gives its list.
//
// Threads: one at a time. Reused for term after term.
class PostingListWriter {
public:
    // `firstOfSegment` is the base of the numbers.
    void begin(DocumentID firstOfSegment);

    // `positions` is the encoded form: varint distances, as many as the frequency says; kReadSlack
    // bytes behind them can be read. `length` is the document's number of words.
    void add(DocumentID document, std::uint32_t frequency, std::uint32_t length,
             std::string_view positions) {
        m_pending[m_pendingCount++] = {document, frequency, length};
        m_pendingPositions.appendFollowed(positions);
        ++m_documents;
        if (m_pendingCount == kBlockDocuments) closeBlock();
    }

    // Copies a block of another list. Its documents come behind all that were added.
    void addBlock(const RawBlock& block);

    std::uint32_t documents() const { return m_documents; }

    // The finished list, valid until the next call.
    std::string_view finish();

private:
    struct Pending {
        DocumentID document;
        std::uint32_t frequency;
        std::uint32_t length;
    };

    std::span<const Pending> pending() const { return {m_pending.data(), m_pendingCount}; }
    void closeBlock();
    void appendDocuments();
    void appendBounds();
    void appendEntry(DocumentID last);
    void finishShort();
    void finishBlocks();

    DocumentID m_base = 0;
    std::uint32_t m_documents = 0;
    std::array<Pending, kBlockDocuments> m_pending;
    std::size_t m_pendingCount = 0;
    ByteBuffer m_pendingPositions;
    ByteBuffer m_directory;
    ByteBuffer m_blocks;
    ByteBuffer m_positions;
    ByteBuffer m_list;
};

}  // namespace siftwell::fulltext
