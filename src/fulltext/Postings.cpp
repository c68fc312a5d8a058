#include "fulltext/Postings.h"

#include <algorithm>

#include "fulltext/BitPacking.h"
#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

void appendEntry(std::string& directory, const BlockEntry& entry, DocumentID before) {
    appendVarint(directory, entry.first - before);
    appendVarint(directory, entry.last - entry.first);
    directory += static_cast<char>(entry.documents - 1);
    appendVarint(directory, entry.documentBytes);
    appendVarint(directory, entry.positionBytes);
    directory += static_cast<char>(entry.bounds.count);
    for (std::size_t i = 0; i < entry.bounds.count; ++i) {
        appendVarint(directory, entry.bounds.pairs[i].frequency);
        appendVarint(directory, entry.bounds.pairs[i].length);
    }
}

// Neighbours become one bound that is no lower than either, until few enough are left. `pairs` rise
// in both numbers.
BlockBounds withinLimit(const std::vector<ScoreBound>& pairs) {
    const std::size_t share = (pairs.size() + kMaxBounds - 1) / kMaxBounds;
    BlockBounds bounds;
    for (std::size_t i = 0; i < pairs.size(); i += share) {
        const ScoreBound& last = pairs[std::min(i + share, pairs.size()) - 1];
        bounds.pairs[bounds.count++] = {last.frequency, pairs[i].length};
    }
    return bounds;
}

}  // namespace

void PostingListWriter::begin(DocumentID firstOfSegment) {
    m_base = firstOfSegment;
    m_documents = 0;
    m_pending.clear();
    m_pendingPositions.clear();
    m_blocks.clear();
    m_documentPart.clear();
    m_positionPart.clear();
}

void PostingListWriter::add(DocumentID document, std::uint32_t frequency, std::uint32_t length,
                            std::string_view positions) {
    m_pending.push_back(
        {document, frequency, length, static_cast<std::uint32_t>(positions.size())});
    m_pendingPositions += positions;
    ++m_documents;
    if (m_pending.size() == kBlockDocuments) closeBlock();
}

void PostingListWriter::addBlock(const BlockEntry& entry, std::string_view documents,
                                 std::string_view positions) {
    closeBlock();
    m_blocks.push_back(entry);
    m_documentPart += documents;
    m_positionPart += positions;
    m_documents += entry.documents;
}

void PostingListWriter::finish(std::string& list) {
    if (m_blocks.empty()) {
        finishShort(list);
    } else {
        finishBlocks(list);
    }
}

void PostingListWriter::closeBlock() {
    if (m_pending.empty()) return;
    const std::size_t start = m_documentPart.size();
    appendPendingDocuments();
    m_blocks.push_back({.first = m_pending.front().document,
                        .last = m_pending.back().document,
                        .documents = static_cast<std::uint32_t>(m_pending.size()),
                        .documentBytes = static_cast<std::uint32_t>(m_documentPart.size() - start),
                        .positionBytes = static_cast<std::uint32_t>(m_pendingPositions.size()),
                        .bounds = boundsOfPending()});
    m_positionPart += m_pendingPositions;
    m_pending.clear();
    m_pendingPositions.clear();
}

void PostingListWriter::appendPendingDocuments() {
    std::array<std::uint32_t, kBlockDocuments> distances{};
    std::array<std::uint32_t, kBlockDocuments> frequencies{};
    for (std::size_t i = 0; i < m_pending.size(); ++i) {
        if (i > 0) distances[i - 1] = m_pending[i].document - m_pending[i - 1].document - 1;
        frequencies[i] = m_pending[i].frequency - 1;
    }
    const std::span<const std::uint32_t> distanceSpan(distances.data(), m_pending.size() - 1);
    const std::span<const std::uint32_t> frequencySpan(frequencies.data(), m_pending.size());
    const unsigned distanceWidth = packedWidth(distanceSpan);
    const unsigned frequencyWidth = packedWidth(frequencySpan);
    m_documentPart += static_cast<char>(distanceWidth);
    m_documentPart += static_cast<char>(frequencyWidth);
    appendPacked(m_documentPart, distanceSpan, distanceWidth);
    appendPacked(m_documentPart, frequencySpan, frequencyWidth);
}

BlockBounds PostingListWriter::boundsOfPending() const {
    std::array<ScoreBound, kBlockDocuments> pairs{};
    const auto end = std::transform(m_pending.begin(), m_pending.end(), pairs.begin(),
                                    [](const Pending& pending) {
                                        return ScoreBound{pending.frequency, pending.length};
                                    });
    // Shortest first, of these the most frequent first; a pair counts when it beats all before it.
    std::sort(pairs.begin(), end, [](const ScoreBound& a, const ScoreBound& b) {
        return a.length != b.length ? a.length < b.length : a.frequency > b.frequency;
    });
    std::vector<ScoreBound> rising;
    std::for_each(pairs.begin(), end, [&rising](const ScoreBound& pair) {
        if (rising.empty() || pair.frequency > rising.back().frequency) rising.push_back(pair);
    });
    return withinLimit(rising);
}

void PostingListWriter::finishShort(std::string& list) const {
    DocumentID before = m_base;
    for (const Pending& pending : m_pending) {
        const bool isRepeated = pending.frequency > 1;
        appendVarint(list, std::uint64_t{pending.document - before} * 2 + (isRepeated ? 1 : 0));
        if (isRepeated) appendVarint(list, pending.frequency - 2);
        before = pending.document;
    }
    list += m_pendingPositions;
}

void PostingListWriter::finishBlocks(std::string& list) {
    closeBlock();
    std::string directory;
    DocumentID before = m_base - 1;
    for (const BlockEntry& entry : m_blocks) {
        appendEntry(directory, entry, before);
        before = entry.last;
    }
    appendVarint(list, m_blocks.size());
    appendVarint(list, directory.size());
    appendVarint(list, m_documentPart.size());
    list += directory;
    list += m_documentPart;
    list += m_positionPart;
}

}  // namespace siftwell::fulltext
