#include "fulltext/Postings.h"

#include <algorithm>

#include "fulltext/BitPacking.h"
#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

using Bounds = std::array<ScoreBound, kBlockDocuments>;

// Puts a pair among those that rise in both numbers, unless one of them is as short and as
// frequent; `end` is behind the last one, and is answered anew. Those that it beats go.
ScoreBound* insertBound(Bounds& rising, ScoreBound* end, const ScoreBound& pair) {
    ScoreBound* const begin = rising.data();
    ScoreBound* at = begin;
    while (at < end && at->length <= pair.length) ++at;
    // Of those that are no longer, the last one is the most frequent.
    if (at > begin && at[-1].frequency >= pair.frequency) return end;
    if (at > begin && at[-1].length == pair.length) --at;
    ScoreBound* behind = at;
    while (behind < end && behind->frequency <= pair.frequency) ++behind;
    if (behind == at) {
        std::copy_backward(at, end, end + 1);
        ++end;
    } else {
        end = std::copy(behind, end, at + 1);
    }
    *at = pair;
    return end;
}

}  // namespace

void PostingListWriter::begin(DocumentID firstOfSegment) {
    m_base = firstOfSegment;
    m_documents = 0;
    m_pendingCount = 0;
    m_pendingPositions.clear();
    m_directory.clear();
    m_blocks.clear();
    m_positions.clear();
}

void PostingListWriter::addBlock(const RawBlock& block) {
    closeBlock();
    m_blocks.append(block.bytes);
    m_positions.append(block.positions);
    m_documents += block.documents;
    appendEntry(block.last);
}

std::string_view PostingListWriter::finish() {
    m_list.clear();
    if (m_directory.empty()) {
        finishShort();
    } else {
        finishBlocks();
    }
    return m_list.view();
}

void PostingListWriter::closeBlock() {
    if (m_pendingCount == 0) return;
    appendDocuments();
    appendBounds();
    m_positions.append(m_pendingPositions.view());
    appendEntry(pending().back().document);
    m_pendingCount = 0;
    m_pendingPositions.clear();
}

void PostingListWriter::appendEntry(DocumentID last) {
    m_directory.appendNumber(BlockEntry{.last = last - m_base,
                                        .blockEnd = static_cast<std::uint32_t>(m_blocks.size()),
                                        .positionsEnd = m_positions.size()});
}

void PostingListWriter::appendDocuments() {
    std::array<std::uint32_t, kBlockDocuments> distances;
    std::array<std::uint32_t, kBlockDocuments> frequencies;
    for (std::size_t i = 0; i < m_pendingCount; ++i) {
        if (i > 0) distances[i - 1] = m_pending[i].document - m_pending[i - 1].document - 1;
        frequencies[i] = m_pending[i].frequency - 1;
    }
    const std::span<const std::uint32_t> distanceSpan(distances.data(), m_pendingCount - 1);
    const std::span<const std::uint32_t> frequencySpan(frequencies.data(), m_pendingCount);
    const unsigned distanceWidth = packedWidth(distanceSpan);
    const unsigned frequencyWidth = packedWidth(frequencySpan);
    m_blocks.appendNumber(pending().back().document - pending().front().document);
    m_blocks.appendByte(m_pendingCount - 1);
    m_blocks.appendByte(distanceWidth);
    m_blocks.appendByte(frequencyWidth);
    appendPacked(m_blocks, distanceSpan, distanceWidth);
    appendPacked(m_blocks, frequencySpan, frequencyWidth);
}

// The pairs that no other one beats by being both shorter and more frequent. When there are too
// many, neighbours become one that is no worse than either.
void PostingListWriter::appendBounds() {
    Bounds rising;
    ScoreBound* end = rising.data();
    for (const Pending& posting : pending()) {
        end = insertBound(rising, end, {posting.frequency, posting.length});
    }
    const auto count = static_cast<std::size_t>(end - rising.data());
    const std::size_t share = (count + kMaxBounds - 1) / kMaxBounds;
    m_blocks.appendByte((count + share - 1) / share);
    for (std::size_t i = 0; i < count; i += share) {
        m_blocks.appendVarint(rising[std::min(i + share, count) - 1].frequency);
        m_blocks.appendVarint(rising[i].length);
    }
}

void PostingListWriter::finishShort() {
    DocumentID before = m_base;
    for (const Pending& posting : pending()) {
        const bool isRepeated = posting.frequency > 1;
        m_list.appendVarint(std::uint64_t{posting.document - before} * 2 + (isRepeated ? 1 : 0));
        if (isRepeated) m_list.appendVarint(posting.frequency - 2);
        before = posting.document;
    }
    if (m_pendingCount > 0) m_list.appendFollowed(m_pendingPositions.view());
}

void PostingListWriter::finishBlocks() {
    closeBlock();
    m_list.appendNumber(static_cast<std::uint32_t>(m_directory.size() / sizeof(BlockEntry)));
    m_list.append(m_directory.view());
    m_list.append(m_blocks.view());
    m_list.append(m_positions.view());
}

}  // namespace siftwell::fulltext
