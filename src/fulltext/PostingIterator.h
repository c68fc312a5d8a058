// PostingIterator walks the documents that hold one term, in rising order.
//
// Threads: one iterator, one thread. It borrows its list, behind which kUnpackSlack bytes are
// readable, and the lengths of the segment's documents; both must outlive it.
// Errors: bytes that make no sense end the walk and set isDamaged().
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fulltext/Bm25.h"
#include "fulltext/Postings.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

// Where a list lies and what its numbers refer to.
struct PostingList {
    std::string_view bytes;
    std::uint32_t documents = 0;    // with the term, in the list
    DocumentID firstOfSegment = 0;  // base of the distances
    DocumentID lastOfSegment = 0;
    std::string_view lengths;  // u32 per number from firstOfSegment on

    std::uint32_t lengthOf(DocumentID document) const;
};

class PostingIterator {
public:
    explicit PostingIterator(const PostingList& list);

    DocumentID document() const { return m_document; }                  // kNoDocument at the end
    std::uint32_t frequency() const { return m_frequencies[m_index]; }  // at least 1
    void next();
    void advanceTo(DocumentID target);  // first document >= target; skips whole blocks

    // The positions of the current document, rising. Costs the bytes between this document's and
    // the last one's that was asked for.
    void readPositions(std::vector<std::uint32_t>& positions);

    // The last document of the block in which the first document >= target lies, without moving the
    // iterator. Below target when there is no such document.
    DocumentID lastOfBlockWith(DocumentID target);
    // The greatest frequency part of any document in the block that was asked for last.
    float frequencyPartOfBlock(const Bm25& bm25);

    // The positions of the current document as they stand in the list.
    std::string_view rawPositions();

    // When a full block of documents begins with the current one: what it takes to copy it. Borrows
    // from the list.
    struct RawBlock {
        BlockEntry entry;
        std::string_view documents;
        std::string_view positions;
    };
    std::optional<RawBlock> fullBlockFromHere() const;
    void skipBlock();  // goes on behind it

    bool isDamaged() const { return m_isDamaged; }

private:
    struct Block {
        DocumentID first = 0;
        DocumentID last = 0;
        std::uint32_t documents = 0;
        std::size_t documentsAt = 0;  // in m_list.bytes
        std::size_t positionsAt = 0;
        BlockBounds bounds;
        float frequencyPart = -1;  // not computed yet
    };

    void readShortList();
    void readDirectory();
    bool unpackBlock();
    std::size_t documentsEnd(std::size_t block) const;
    std::size_t positionsEnd(std::size_t block) const;
    void loadBlock(std::size_t block);
    void setDocument();
    void finish();
    void fail();
    bool skipPositionsOfEarlierDocuments();
    std::size_t behindPositions(std::size_t at, std::uint64_t count) const;
    float boundOf(const BlockBounds& bounds, const Bm25& bm25) const;
    float boundOfShortList(const Bm25& bm25) const;

    PostingList m_list;
    std::vector<Block> m_blocks;
    std::size_t m_block = 0;    // the one that is unpacked
    std::size_t m_shallow = 0;  // the one that was asked for last
    std::uint32_t m_count = 0;  // documents unpacked
    std::uint32_t m_index = 0;  // of the current one
    DocumentID m_document = kNoDocument;
    std::array<DocumentID, kBlockDocuments> m_documents;
    std::array<std::uint32_t, kBlockDocuments> m_frequencies;
    std::uint32_t m_positionIndex = 0;  // document whose positions begin at m_positionsAt
    std::size_t m_positionsAt = 0;
    float m_shortListPart = -1;  // not computed yet
    bool m_isDamaged = false;
};

}  // namespace siftwell::fulltext
