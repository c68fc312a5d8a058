#include "fulltext/ShortListJoiner.h"

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

void ShortListJoiner::begin(DocumentID firstOfSegment) {
    m_before = firstOfSegment;
    m_documents = 0;
    m_list.clear();
    m_positions.clear();
}

bool ShortListJoiner::add(const PostingList& list) {
    if (list.documents == 0) return false;
    ByteReader reader(list.bytes);
    const std::uint64_t first = reader.varint64();
    const std::size_t restAt = list.bytes.size() - reader.remaining();
    const std::uint64_t firstDocument = list.firstOfSegment + (first >> 1);
    std::uint64_t document = firstDocument;
    std::uint64_t coded = first;
    for (std::uint32_t i = 0;;) {
        if ((coded & 1) != 0) reader.varint32();
        if (++i >= list.documents) break;
        coded = reader.varint64();
        if (coded < 2) return false;
        document += coded >> 1;
    }
    const std::size_t positionsAt = list.bytes.size() - reader.remaining();
    if (!reader.isOk() || firstDocument < m_before || document > list.lastOfSegment) return false;
    m_list.appendVarint((firstDocument - m_before) * 2 + (first & 1));
    m_list.appendFollowed(list.bytes.substr(restAt, positionsAt - restAt));
    m_positions.appendFollowed(list.bytes.substr(positionsAt));
    m_before = document;
    m_documents += list.documents;
    return true;
}

std::string_view ShortListJoiner::finish() {
    m_list.append(m_positions.view());
    return m_list.view();
}

}  // namespace siftwell::fulltext
