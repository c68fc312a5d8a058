#include "fulltext/PostingIterator.h"

#include <algorithm>

#include "fulltext/BitPacking.h"
#include "fulltext/SegmentFormat.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t maskOf(unsigned width) { return (std::uint64_t{1} << width) - 1; }

// The first number that is not below the target, or the end. Takes no branch that could be guessed
// wrong.
std::uint32_t lowerBound(const DocumentID* numbers, std::uint32_t begin, std::uint32_t end,
                         DocumentID target) {
    std::uint32_t low = begin;
    for (std::uint32_t count = end - begin; count > 1;) {
        const std::uint32_t half = count / 2;
        low += numbers[low + half - 1] < target ? half : 0;
        count -= half;
    }
    return low < end && numbers[low] < target ? low + 1 : low;
}

// The same for the numbers of a full block: looks at every sixteenth, then at sixteen, none of
// which waits for another.
std::uint32_t lowerBoundInFull(const DocumentID* numbers, DocumentID target) {
    constexpr std::uint32_t kStep = 16;
    std::uint32_t group = 0;
    for (std::uint32_t end = kStep; end < kBlockDocuments; end += kStep) {
        group += numbers[end - 1] < target ? 1 : 0;
    }
    const DocumentID* const inGroup = numbers + std::size_t{group} * kStep;
    std::uint32_t before = group * kStep;
    for (std::uint32_t i = 0; i < kStep; ++i) before += inGroup[i] < target ? 1 : 0;
    return before;
}

}  // namespace

PostingIterator::PostingIterator(const PostingList& list, DocumentID from) : m_list(list) {
    if (m_list.isShort()) {
        readShortList();
    } else {
        readDirectory();
        if (m_isDamaged) return;
        const std::uint32_t block = from > m_list.firstOfSegment ? blockWith(from, 0) : 0;
        if (block == m_blockCount) return;
        loadBlock(block);
    }
    advanceTo(from);
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
        m_shortFrequencies[m_count] = isRepeated ? reader.varint32() + 1 : 0;
    }
    m_positions = reader.rest();
    if (!reader.isOk()) return fail();
    m_document = m_documents[0];
}

void PostingIterator::readDirectory() {
    ByteReader reader(m_list.bytes);
    m_blockCount = reader.number<std::uint32_t>();
    m_directory = reader.bytes(std::uint64_t{m_blockCount} * sizeof(BlockEntry));
    if (!reader.isOk() || m_blockCount == 0) return fail();
    const BlockEntry last = entryAt(m_blockCount - 1);
    m_blocks = reader.bytes(last.blockEnd);
    m_positions = reader.bytes(last.positionsEnd);
    if (!reader.isAtEnd() || last.last > m_list.lastOfSegment - m_list.firstOfSegment) fail();
}

// Empty when the directory makes no sense.
std::string_view PostingIterator::blockBytes(std::uint32_t block) const {
    const std::uint32_t begin = block == 0 ? 0 : entryAt(block - 1).blockEnd;
    const std::uint32_t end = entryAt(block).blockEnd;
    return begin <= end && end <= m_blocks.size() ? m_blocks.substr(begin, end - begin)
                                                  : std::string_view();
}

std::string_view PostingIterator::positionBytes(std::uint32_t block) const {
    const std::uint64_t begin = block == 0 ? 0 : entryAt(block - 1).positionsEnd;
    const std::uint64_t end = entryAt(block).positionsEnd;
    return begin <= end && end <= m_positions.size() ? m_positions.substr(begin, end - begin)
                                                     : std::string_view();
}

// The first block from `from` on that ends at the target or behind, or the number of blocks.
// Searches in growing steps, since it is often near.
std::uint32_t PostingIterator::blockWith(DocumentID target, std::uint32_t from) const {
    const DocumentID wanted = target - m_list.firstOfSegment;
    std::uint64_t low = from;
    std::uint64_t step = 1;
    const auto endsBefore = [&](std::uint64_t block) {
        return entryAt(static_cast<std::uint32_t>(block)).last < wanted;
    };
    for (; low + step <= m_blockCount && endsBefore(low + step - 1); step *= 2) low += step;
    std::uint64_t high = std::min<std::uint64_t>(low + step - 1, m_blockCount);
    while (low < high) {
        const std::uint64_t middle = (low + high) / 2;
        if (endsBefore(middle)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return static_cast<std::uint32_t>(low);
}

void PostingIterator::loadBlock(std::uint32_t block) {
    m_block = block;
    m_index = 0;
    m_positionIndex = 0;
    m_positionsAt = block == 0 ? 0 : entryAt(block - 1).positionsEnd;
    const std::uint32_t last = entryAt(block).last;
    if (last > m_list.lastOfSegment - m_list.firstOfSegment) return fail();
    m_lastOfBlock = m_list.firstOfSegment + last;
    if (!unpackBlock(blockBytes(block))) return fail();
    m_document = m_documents[0];
}

void PostingIterator::loadNextBlock() {
    if (m_isDamaged || m_block + 1 >= m_blockCount) return finish();
    const DocumentID lastBefore = m_lastOfBlock;
    loadBlock(m_block + 1);
    if (!m_isDamaged && m_document <= lastBefore) fail();
}

bool PostingIterator::unpackBlock(std::string_view block) {
    if (block.size() < kBlockHeadSize) return false;
    const auto span = loadNumber<std::uint32_t>(block.data());
    m_count = std::uint32_t{static_cast<std::uint8_t>(block[4])} + 1;
    const unsigned distanceWidth = static_cast<std::uint8_t>(block[5]);
    m_frequencyWidth = static_cast<std::uint8_t>(block[6]);
    if (m_count > kBlockDocuments || distanceWidth > 31 || m_frequencyWidth > 31) return false;
    const std::string_view packed = block.substr(kBlockHeadSize);
    const std::size_t distanceBytes = packedBytes(m_count - 1, distanceWidth);
    if (distanceBytes + packedBytes(m_count, m_frequencyWidth) > packed.size() ||
        span > m_lastOfBlock - m_list.firstOfSegment) {
        return false;
    }
    m_packedFrequencies = packed.data() + distanceBytes;
    m_frequencyMask = maskOf(m_frequencyWidth);
    m_documents[0] = m_lastOfBlock - span;
    return unpackRising(packed.data(), distanceWidth, std::span(m_documents).first(m_count)) ==
           m_lastOfBlock;
}

// Nothing is left that a later call could go on with.
void PostingIterator::fail() {
    m_isDamaged = true;
    m_blockCount = m_block = m_shallow = 0;
    m_count = m_index = 0;
    finish();
}

void PostingIterator::advanceTo(DocumentID target) {
    if (m_document >= target) return;
    if (m_blockCount > 0 && m_lastOfBlock < target) {
        const std::uint32_t block = blockWith(target, m_block + 1);
        if (block == m_blockCount) return finish();
        loadBlock(block);
        if (m_isDamaged) return;
    } else if (nextInBlock() && m_document >= target) {
        return;  // in the lists of common words it often is the next one
    }
    m_index = m_count == kBlockDocuments ? lowerBoundInFull(m_documents.data(), target)
                                         : lowerBound(m_documents.data(), m_index, m_count, target);
    if (m_index == m_count) return finish();  // only in a short list
    m_document = m_documents[m_index];
}

void PostingIterator::goToBlock(std::uint32_t block) {
    if (m_blockCount > 0) return loadBlock(block);
    m_index = 0;
    m_document = m_count > 0 ? m_documents[0] : kNoDocument;
}

void PostingIterator::readPositions(std::vector<std::uint32_t>& positions) {
    positions.clear();
    if (!skipPositionsOfEarlierDocuments()) return fail();
    ByteReader reader(m_positions.substr(m_positionsAt));
    const std::uint32_t count = frequency();
    if (count > reader.remaining()) return fail();
    std::uint32_t position = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        position += reader.varint32();
        positions.push_back(position);
    }
    if (!reader.isOk()) fail();
}

bool PostingIterator::skipPositionsOfEarlierDocuments() {
    std::uint64_t skipped = 0;
    for (; m_positionIndex < m_index; ++m_positionIndex) skipped += frequencyAt(m_positionIndex);
    m_positionsAt = behindPositions(m_positionsAt, skipped);
    return m_positionsAt <= m_positions.size();
}

// Where the positions that follow so many end, each of which has bytes up to one below 128; beyond
// the list when there are not so many.
std::size_t PostingIterator::behindPositions(std::size_t at, std::uint64_t count) const {
    if (at > m_positions.size()) return m_positions.size() + 1;
    const std::uint8_t* const bytes = asBytes(m_positions);
    for (; at + sizeof(std::uint64_t) <= m_positions.size(); at += sizeof(std::uint64_t)) {
        constexpr std::uint64_t kOnes = 0x0101010101010101;
        constexpr std::uint64_t kHighest = 0x80 * kOnes;
        const auto word = loadNumber<std::uint64_t>(bytes + at);
        const std::uint64_t ends = ((~word & kHighest) >> 7) * kOnes >> 56;  // their number
        if (ends >= count) break;
        count -= ends;
    }
    for (; count > 0; ++at) {
        if (at >= m_positions.size()) return m_positions.size() + 1;
        if (bytes[at] < 0x80) --count;
    }
    return at;
}

std::string_view PostingIterator::rawPositions() {
    const bool isThere = skipPositionsOfEarlierDocuments();
    const std::size_t end = isThere ? behindPositions(m_positionsAt, frequency()) : 0;
    if (!isThere || end > m_positions.size()) {
        fail();
        return {};
    }
    return m_positions.substr(m_positionsAt, end - m_positionsAt);
}

std::optional<RawBlock> PostingIterator::fullBlockFromHere() const {
    if (m_blockCount == 0 || m_index != 0 || m_count != kBlockDocuments) return std::nullopt;
    return RawBlock{.first = m_documents[0],
                    .last = m_lastOfBlock,
                    .documents = m_count,
                    .bytes = blockBytes(m_block),
                    .positions = positionBytes(m_block)};
}

DocumentID PostingIterator::lastOfBlockWith(DocumentID target) {
    if (m_blockCount == 0) return m_count > 0 ? m_documents[m_count - 1] : 0;
    const std::uint32_t from = std::max(m_shallow, m_block);
    const std::uint32_t block = std::min(blockWith(target, from), m_blockCount - 1);
    if (block != m_shallow) m_shallowPart = -1;
    m_shallow = block;
    return m_list.firstOfSegment + entryAt(block).last;
}

float PostingIterator::frequencyPartOfBlock(const Bm25& bm25) {
    if (m_shallowPart < 0) m_shallowPart = frequencyPartOfBlock(m_shallow, bm25);
    return m_shallowPart;
}

// A block that makes no sense has no bound, so that it is read and found damaged.
float PostingIterator::frequencyPartOfBlock(std::uint32_t block, const Bm25& bm25) const {
    if (m_blockCount == 0) return boundOfShortList(bm25);
    const std::string_view bytes = blockBytes(block);
    if (bytes.size() < kBlockHeadSize) return Bm25::maxFrequencyPart();
    const std::size_t documents = std::size_t{static_cast<std::uint8_t>(bytes[4])} + 1;
    const std::size_t boundsAt = kBlockHeadSize +
                                 packedBytes(documents - 1, static_cast<std::uint8_t>(bytes[5])) +
                                 packedBytes(documents, static_cast<std::uint8_t>(bytes[6]));
    if (boundsAt >= bytes.size()) return Bm25::maxFrequencyPart();
    ByteReader reader(bytes.substr(boundsAt));
    const auto count = reader.number<std::uint8_t>();
    float best = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::uint32_t frequency = reader.varint32();
        best = std::max(best, bm25.frequencyPart(frequency, reader.varint32()));
    }
    return reader.isOk() ? best : Bm25::maxFrequencyPart();
}

float PostingIterator::boundOfShortList(const Bm25& bm25) const {
    float best = 0;
    for (std::uint32_t i = 0; i < m_count; ++i) {
        best = std::max(best, bm25.frequencyPart(frequencyAt(i), m_list.lengthOf(m_documents[i])));
    }
    return best;
}

}  // namespace siftwell::fulltext
