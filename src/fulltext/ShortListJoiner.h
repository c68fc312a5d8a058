// ShortListJoiner makes one short list of the short lists that one term has in several segments.
//
// Only numbers at the seams change; what lies between is copied.
//
// Threads: one at a time. Reused for term after term.
#pragma once

#include <cstdint>
#include <string_view>

#include "fulltext/ByteBuffer.h"
#include "fulltext/PostingIterator.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

class ShortListJoiner {
public:
    // `firstOfSegment` is the base of the joined list.
    void begin(DocumentID firstOfSegment);

    // Lists come in the order of their documents, of which there are fewer than kBlockDocuments in
    // all. False when a list makes no sense.
    bool add(const PostingList& list);

    std::uint32_t documents() const { return m_documents; }

    // The finished list, valid until the next call.
    std::string_view finish();

private:
    std::uint64_t m_before = 0;  // the last document so far
    std::uint32_t m_documents = 0;
    ByteBuffer m_list;
    ByteBuffer m_positions;
};

}  // namespace siftwell::fulltext
