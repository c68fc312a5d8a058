// PostingIterator walks the documents that hold one term, in rising order.
//
// Threads: one iterator, one thread. It borrows its list, behind which kReadSlack bytes are
// readable, and the lengths of the segment's documents; both must outlive it.
// Errors: bytes that make no sense end the walk and set isDamaged().
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fulltext/Bm25.h"
#include "fulltext/Bytes.h"
#include "fulltext/Postings.h"
#include "fulltext/SegmentFormat.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

// Where a list lies and what its numbers refer to.
struct PostingList {
    std::string_view bytes;
    std::uint32_t documents = 0;    // with the term, in the list
    DocumentID firstOfSegment = 0;  // base of the numbers
    DocumentID lastOfSegment = 0;
    std::string_view lengths;  // u32 per number from firstOfSegment on

    bool isShort() const { return documents < kBlockDocuments; }
    const char* placeOfLength(DocumentID document) const {
        return lengths.data() + std::size_t{document - firstOfSegment} * sizeof(std::uint32_t);
    }
    std::uint32_t lengthOf(DocumentID document) const {
        const auto length = loadNumber<std::uint32_t>(placeOfLength(document));
        return length == kAbsent ? 0 : length;
    }
};

class PostingIterator {
public:
    // Begins with the first document >= `from`. Blocks before it are not looked at.
    explicit PostingIterator(const PostingList& list, DocumentID from = kFirstDocumentID);

    DocumentID document() const { return m_document; }                // kNoDocument at the end
    std::uint32_t frequency() const { return frequencyAt(m_index); }  // at least 1
    void next() {
        if (++m_index < m_count) {
            m_document = m_documents[m_index];
        } else {
            loadNextBlock();
        }
    }
    void advanceTo(DocumentID target);  // first document >= target; skips whole blocks

    // The positions of the current document, rising. Costs the bytes between this document's and
    // the last one's that was asked for.
    void readPositions(std::vector<std::uint32_t>& positions);

    // The last document of the block in which the first document >= target lies, without moving the
    // iterator. Below target when there is no such document.
    DocumentID lastOfBlockWith(DocumentID target);
    // The greatest frequency part of any document in the block that was asked for last.
    float frequencyPartOfBlock(const Bm25& bm25);

    // Blocks can also be gone to in any order; a short list is one block.
    std::uint32_t blockCount() const { return m_blockCount == 0 ? 1 : m_blockCount; }
    float frequencyPartOfBlock(std::uint32_t block, const Bm25& bm25) const;
    void goToBlock(std::uint32_t block);
    bool nextInBlock() {  // false, with nothing changed, at its last document
        if (m_index + 1 >= m_count) return false;
        m_document = m_documents[++m_index];
        return true;
    }

    // Brings the lengths of the documents of the block on their way into the cache.
    void prefetchLengths() const {
        for (std::uint32_t i = m_index; i < m_count; ++i) {
            __builtin_prefetch(m_list.placeOfLength(m_documents[i]));
        }
    }

    // The positions of the current document as they stand in the list.
    std::string_view rawPositions();

    // When a full block of documents begins with the current one: what it takes to copy it. Borrows
    // from the list.
    std::optional<RawBlock> fullBlockFromHere() const;
    void skipBlock() {  // goes on behind it
        m_index = m_count - 1;
        next();
    }

    bool isDamaged() const { return m_isDamaged; }

private:
    BlockEntry entryAt(std::uint32_t block) const {
        return loadNumber<BlockEntry>(m_directory.data() + block * sizeof(BlockEntry));
    }
    std::uint32_t frequencyAt(std::uint32_t index) const {
        if (m_packedFrequencies == nullptr) return m_shortFrequencies[index] + 1;
        const std::size_t bit = std::size_t{index} * m_frequencyWidth;
        const auto word = loadNumber<std::uint64_t>(m_packedFrequencies + bit / 8);
        return static_cast<std::uint32_t>((word >> (bit % 8)) & m_frequencyMask) + 1;
    }
    std::string_view blockBytes(std::uint32_t block) const;
    std::string_view positionBytes(std::uint32_t block) const;
    std::uint32_t blockWith(DocumentID target, std::uint32_t from) const;

    void readShortList();
    void readDirectory();
    void loadBlock(std::uint32_t block);
    void loadNextBlock();
    bool unpackBlock(std::string_view block);
    void finish() { m_document = kNoDocument; }
    void fail();
    bool skipPositionsOfEarlierDocuments();
    std::size_t behindPositions(std::size_t at, std::uint64_t count) const;
    float boundOfShortList(const Bm25& bm25) const;

    PostingList m_list;
    std::string_view m_directory;
    std::string_view m_blocks;
    std::string_view m_positions;
    std::uint32_t m_blockCount = 0;  // 0 in a short list
    std::uint32_t m_block = 0;       // the one that is unpacked
    DocumentID m_lastOfBlock = 0;
    std::uint32_t m_shallow = 0;  // the one that was asked for last
    float m_shallowPart = -1;     // not computed yet
    std::uint32_t m_count = 0;    // documents unpacked
    std::uint32_t m_index = 0;    // of the current one
    DocumentID m_document = kNoDocument;
    std::array<DocumentID, kBlockDocuments> m_documents;
    // Less 1, packed as they stand in the block; null in a short list.
    const char* m_packedFrequencies = nullptr;
    unsigned m_frequencyWidth = 0;
    std::uint64_t m_frequencyMask = 0;
    std::array<std::uint32_t, kBlockDocuments> m_shortFrequencies;  // less 1
    std::uint32_t m_positionIndex = 0;  // document whose positions begin at m_positionsAt
    std::size_t m_positionsAt = 0;      // in m_positions
    bool m_isDamaged = false;
};

}  // namespace siftwell::fulltext
