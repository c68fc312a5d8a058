#include "fulltext/RecordScan.h"

#include <optional>

#include "fulltext/Bytes.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Header.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t kWastePerByte = 8;
constexpr std::uint64_t kWasteInAnyCase = std::uint64_t{64} << 20;
constexpr std::uint64_t kBytesBetweenPaces = 1 << 20;

bool isKnown(RecordKind kind) {
    switch (kind) {
        case RecordKind::Settings:
        case RecordKind::Document:
        case RecordKind::Segment:
        case RecordKind::Commit:
        case RecordKind::Live:
            return true;
    }
    return false;
}

class RecordScan {
public:
    RecordScan(std::string_view file, const RecordVisitor& visitor)
        : m_file(file),
          m_visitor(visitor),
          m_waste(kWasteInAnyCase + kWastePerByte * file.size()) {}

    ScanOutcome run();

private:
    std::optional<RecordHeader> headerAt(std::uint64_t offset) const;
    enum class Place { InSequence, Anywhere };
    bool isWhole(const RecordHeader& header, std::uint64_t offset, Place place);
    std::optional<std::string_view> covered(const RecordHeader& header, std::uint64_t offset) const;
    bool isEndTrusted(const RecordHeader& header, std::uint64_t offset, std::uint64_t end) const;
    std::uint64_t nextWhole(std::uint64_t offset);
    void pace(std::uint64_t offset);

    const std::string_view m_file;
    const RecordVisitor& m_visitor;
    std::uint64_t m_waste;  // bytes that may still be compared in vain
    std::uint64_t m_paced = 0;
    ScanOutcome m_outcome;
};

std::optional<RecordHeader> RecordScan::headerAt(std::uint64_t offset) const {
    if (m_file.size() < kRecordHeaderSize || offset > m_file.size() - kRecordHeaderSize) {
        return std::nullopt;
    }
    const RecordHeader header = parseRecordHeader(m_file.substr(offset, kRecordHeaderSize));
    const std::uint64_t room = m_file.size() - offset - kRecordHeaderSize;
    if (!isKnown(header.kind) || header.payloadSize == 0 || header.payloadSize > room ||
        (header.kind == RecordKind::Document && !isPayloadSizeSane(header.payloadSize))) {
        return std::nullopt;
    }
    return header;
}

std::optional<std::string_view> RecordScan::covered(const RecordHeader& header,
                                                    std::uint64_t offset) const {
    const std::string_view payload = m_file.substr(offset + kRecordHeaderSize, header.payloadSize);
    if (header.kind != RecordKind::Segment) return payload;
    constexpr std::size_t kSizeField = sizeof(std::uint32_t);
    if (payload.size() < kSizeField) return std::nullopt;
    const auto size = loadNumber<std::uint32_t>(payload.data() + payload.size() - kSizeField);
    if (size > payload.size() - kSizeField) return std::nullopt;
    return payload.substr(payload.size() - kSizeField - size, size);
}

// What stands in sequence never overlaps, and is compared however much was compared in vain.
bool RecordScan::isWhole(const RecordHeader& header, std::uint64_t offset, Place place) {
    const auto bytes = covered(header, offset);
    if (!bytes) return false;
    if (place == Place::InSequence) return isChecksumRight(header, *bytes);
    if (bytes->size() > m_waste) {
        m_outcome.isLimited = true;
        return false;
    }
    if (isChecksumRight(header, *bytes)) return true;
    m_waste -= bytes->size();
    return false;
}

void RecordScan::pace(std::uint64_t offset) {
    if (offset - m_paced < kBytesBetweenPaces) return;
    m_paced = offset;
    if (m_visitor.pace) m_visitor.pace();
}

std::uint64_t RecordScan::nextWhole(std::uint64_t offset) {
    for (; offset < m_file.size(); ++offset) {
        const auto header = headerAt(offset);
        if (header && isWhole(*header, offset, Place::Anywhere)) return offset;
        pace(offset);
    }
    return offset;
}

// Whether a damaged record ends where its header says. By chance, a damaged size can lead to the
// beginning of another record.
bool RecordScan::isEndTrusted(const RecordHeader& header, std::uint64_t offset,
                              std::uint64_t end) const {
    const bool isFollowed = end == m_file.size() || headerAt(end);
    if (!isFollowed || header.kind != RecordKind::Document) return isFollowed;
    return !endsBeforePayload(m_file.substr(offset + kRecordHeaderSize, header.payloadSize));
}

ScanOutcome RecordScan::run() {
    for (std::uint64_t offset = kHeaderPageSize; offset < m_file.size(); pace(offset)) {
        const auto header = headerAt(offset);
        if (!header) {
            m_outcome.lastGap = offset;
            offset = nextWhole(offset + 1);
            continue;
        }
        const std::uint64_t end = offset + kRecordHeaderSize + header->payloadSize;
        if (isWhole(*header, offset, Place::InSequence)) {
            m_visitor.whole(header->kind, {offset, end - offset});
            offset = end;
            continue;
        }
        m_outcome.lastGap = offset;
        m_visitor.damaged(header->kind, offset);
        offset = isEndTrusted(*header, offset, end) ? end : nextWhole(offset + 1);
    }
    return m_outcome;
}

}  // namespace

ScanOutcome scanRecords(std::string_view file, const RecordVisitor& visitor) {
    return RecordScan(file, visitor).run();
}

}  // namespace siftwell::fulltext
