#include "fulltext/PostingIterator.h"

#include <algorithm>

#include "fulltext/BitPacking.h"
#include "fulltext/Bytes.h"
#include "fulltext/SegmentFormat.h"

namespace siftwell::fulltext {

namespace {

bool readBounds(ByteReader& reader, BlockBounds& bounds) {
    bounds.count = reader.number<std::uint8_t>();
    if (bounds.count > kMaxBounds) return false;
    for (std::size_t i = 0; i < bounds.count; ++i) {
        bounds.pairs[i].frequency = reader.varint32();
        bounds.pairs[i].length = reader.varint32();
    }
    return reader.isOk();
}

}  // namespace

std::uint32_t PostingList::lengthOf(DocumentID document) const {
    const std::size_t at = std::size_t{document - firstOfSegment} * sizeof(std::uint32_t);
    const auto length = loadNumber<std::uint32_t>(lengths.data() + at);
    return length == kAbsent ? 0 : length;
}

PostingIterator::PostingIterator(const PostingList& list) : m_list(list) {
    if (m_list.documents < kBlockDocuments) {
        readShortList();
    } else {
        readDirectory();
        if (!m_isDamaged) loadBlock(0);
    }
}

void PostingIterator::readShortList() {
    if (m_list.documents == 0) return fail();
    ByteReader reader(m_list.bytes);
    std::uint64_t document = m_list.firstOfSegment;
    for (m_count = 0; m_count < m_list.documents; ++m_count) {
        const std::uint64_t coded = reader.varint64();
        const bool isRepeated = (coded & 1) != 0;
        const bool isRising = m_count == 0 || coded >= 2;
        document += coded >> 1;
        if (!isRising || document > m_list.lastOfSegment) return fail();
        m_documents[m_count] = static_cast<DocumentID>(document);
        m_frequencies[m_count] = isRepeated ? reader.varint32() + 2 : 1;
    }
    if (!reader.isOk()) return fail();
    m_positionsAt = m_list.bytes.size() - reader.remaining();
    setDocument();
}

void PostingIterator::readDirectory() {
    ByteReader reader(m_list.bytes);
    const std::uint64_t count = reader.varint64();
    const std::uint64_t directorySize = reader.varint64();
    const std::uint64_t documentsSize = reader.varint64();
    ByteReader directory(reader.bytes(directorySize));
    std::size_t documentsAt = m_list.bytes.size() - reader.remaining();
    reader.bytes(documentsSize);
    std::size_t positionsAt = m_list.bytes.size() - reader.remaining();
    const std::size_t documentsEnd = positionsAt;
    if (!reader.isOk() || count == 0 || count > directorySize) return fail();

    m_blocks.reserve(count);
    std::uint64_t before = std::uint64_t{m_list.firstOfSegment} - 1;
    for (std::uint64_t i = 0; i < count; ++i) {
        Block block;
        const std::uint64_t first = before + directory.varint32();
        const std::uint64_t last = first + directory.varint32();
        block.documents = std::uint32_t{directory.number<std::uint8_t>()} + 1;
        block.documentsAt = documentsAt;
        block.positionsAt = positionsAt;
        documentsAt += directory.varint32();
        positionsAt += directory.varint32();
        if (!readBounds(directory, block.bounds) || first <= before ||
            last > m_list.lastOfSegment || block.documents > kBlockDocuments ||
            documentsAt > documentsEnd || positionsAt > m_list.bytes.size()) {
            return fail();
        }
        block.first = static_cast<DocumentID>(first);
        block.last = static_cast<DocumentID>(last);
        before = last;
        m_blocks.push_back(block);
    }
}

void PostingIterator::loadBlock(std::size_t block) {
    m_block = block;
    if (!unpackBlock()) return fail();
    m_index = 0;
    m_positionIndex = 0;
    m_positionsAt = m_blocks[block].positionsAt;
    setDocument();
}

bool PostingIterator::unpackBlock() {
    const Block& block = m_blocks[m_block];
    const std::size_t end = documentsEnd(m_block);
    if (end - block.documentsAt < 2) return false;
    const std::uint8_t* const bytes = asBytes(m_list.bytes.substr(block.documentsAt));
    const unsigned distanceWidth = bytes[0];
    const unsigned frequencyWidth = bytes[1];
    if (distanceWidth > 31 || frequencyWidth > 31) return false;
    const std::size_t distanceBytes = packedBytes(block.documents - 1, distanceWidth);
    const std::size_t frequencyBytes = packedBytes(block.documents, frequencyWidth);
    if (2 + distanceBytes + frequencyBytes > end - block.documentsAt) return false;

    m_count = block.documents;
    m_documents[0] = block.first;
    unpack(bytes + 2, distanceWidth, std::span(m_documents).subspan(1, m_count - 1));
    unpack(bytes + 2 + distanceBytes, frequencyWidth, std::span(m_frequencies).first(m_count));
    std::uint64_t document = block.first;
    for (std::uint32_t i = 1; i < m_count; ++i) {
        document += std::uint64_t{m_documents[i]} + 1;
        m_documents[i] = static_cast<DocumentID>(document);
    }
    for (std::uint32_t i = 0; i < m_count; ++i) ++m_frequencies[i];
    return document == block.last;
}

std::size_t PostingIterator::documentsEnd(std::size_t block) const {
    const bool isLast = block + 1 == m_blocks.size();
    return isLast ? m_blocks.front().positionsAt : m_blocks[block + 1].documentsAt;
}

std::size_t PostingIterator::positionsEnd(std::size_t block) const {
    const bool isLast = block + 1 == m_blocks.size();
    return isLast ? m_list.bytes.size() : m_blocks[block + 1].positionsAt;
}

void PostingIterator::setDocument() { m_document = m_documents[m_index]; }

void PostingIterator::finish() { m_document = kNoDocument; }

// Nothing is left that a later call could go on with.
void PostingIterator::fail() {
    m_isDamaged = true;
    m_blocks.clear();
    m_block = m_shallow = 0;
    m_count = m_index = 0;
    finish();
}

void PostingIterator::next() {
    if (++m_index < m_count) return setDocument();
    if (m_block + 1 < m_blocks.size()) return loadBlock(m_block + 1);
    finish();
}

void PostingIterator::advanceTo(DocumentID target) {
    if (m_document >= target) return;
    if (!m_blocks.empty() && m_blocks[m_block].last < target) {
        std::size_t block = m_block + 1;
        while (block < m_blocks.size() && m_blocks[block].last < target) ++block;
        if (block == m_blocks.size()) return finish();
        loadBlock(block);
        if (m_isDamaged) return;
    }
    const auto begin = m_documents.begin();
    const auto found = std::lower_bound(begin + m_index, begin + m_count, target);
    if (found == begin + m_count) return finish();  // only in a short list
    m_index = static_cast<std::uint32_t>(found - begin);
    setDocument();
}

void PostingIterator::readPositions(std::vector<std::uint32_t>& positions) {
    positions.clear();
    if (!skipPositionsOfEarlierDocuments()) return fail();
    ByteReader reader(m_list.bytes.substr(m_positionsAt));
    if (frequency() > reader.remaining()) return fail();
    std::uint32_t position = 0;
    for (std::uint32_t i = 0; i < frequency(); ++i) {
        position += reader.varint32();
        positions.push_back(position);
    }
    if (!reader.isOk()) fail();
}

bool PostingIterator::skipPositionsOfEarlierDocuments() {
    std::uint64_t skipped = 0;
    for (; m_positionIndex < m_index; ++m_positionIndex) skipped += m_frequencies[m_positionIndex];
    m_positionsAt = behindPositions(m_positionsAt, skipped);
    return m_positionsAt <= m_list.bytes.size();
}

// Where the positions that follow so many end, each of which has bytes up to one below 128; beyond
// the list when there are not so many.
std::size_t PostingIterator::behindPositions(std::size_t at, std::uint64_t count) const {
    const std::uint8_t* const bytes = asBytes(m_list.bytes);
    for (; count > 0; ++at) {
        if (at >= m_list.bytes.size()) return m_list.bytes.size() + 1;
        if (bytes[at] < 0x80) --count;
    }
    return at;
}

std::string_view PostingIterator::rawPositions() {
    const bool isThere = skipPositionsOfEarlierDocuments();
    const std::size_t end = isThere ? behindPositions(m_positionsAt, frequency()) : 0;
    if (!isThere || end > m_list.bytes.size()) {
        fail();
        return {};
    }
    return m_list.bytes.substr(m_positionsAt, end - m_positionsAt);
}

std::optional<PostingIterator::RawBlock> PostingIterator::fullBlockFromHere() const {
    if (m_blocks.empty() || m_index != 0 || m_count != kBlockDocuments) return std::nullopt;
    const Block& block = m_blocks[m_block];
    const std::size_t documents = documentsEnd(m_block) - block.documentsAt;
    const std::size_t positions = positionsEnd(m_block) - block.positionsAt;
    return RawBlock{.entry = {.first = block.first,
                              .last = block.last,
                              .documents = block.documents,
                              .documentBytes = static_cast<std::uint32_t>(documents),
                              .positionBytes = static_cast<std::uint32_t>(positions),
                              .bounds = block.bounds},
                    .documents = m_list.bytes.substr(block.documentsAt, documents),
                    .positions = m_list.bytes.substr(block.positionsAt, positions)};
}

void PostingIterator::skipBlock() {
    m_index = m_count - 1;
    next();
}

DocumentID PostingIterator::lastOfBlockWith(DocumentID target) {
    if (m_blocks.empty()) return m_count > 0 ? m_documents[m_count - 1] : 0;
    if (m_shallow < m_block) m_shallow = m_block;
    while (m_shallow + 1 < m_blocks.size() && m_blocks[m_shallow].last < target) ++m_shallow;
    return m_blocks[m_shallow].last;
}

float PostingIterator::frequencyPartOfBlock(const Bm25& bm25) {
    float& part = m_blocks.empty() ? m_shortListPart : m_blocks[m_shallow].frequencyPart;
    if (part < 0) {
        part =
            m_blocks.empty() ? boundOfShortList(bm25) : boundOf(m_blocks[m_shallow].bounds, bm25);
    }
    return part;
}

float PostingIterator::boundOf(const BlockBounds& bounds, const Bm25& bm25) const {
    float best = 0;
    for (std::size_t i = 0; i < bounds.count; ++i) {
        best =
            std::max(best, bm25.frequencyPart(bounds.pairs[i].frequency, bounds.pairs[i].length));
    }
    return best;
}

float PostingIterator::boundOfShortList(const Bm25& bm25) const {
    float best = 0;
    for (std::uint32_t i = 0; i < m_count; ++i) {
        best =
            std::max(best, bm25.frequencyPart(m_frequencies[i], m_list.lengthOf(m_documents[i])));
    }
    return best;
}

}  // namespace siftwell::fulltext
