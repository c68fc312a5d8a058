#include "fulltext/Record.h"

#include "base/Translate.h"
#include "fulltext/Bytes.h"
#include "fulltext/Checksum.h"

namespace siftwell::fulltext {

namespace {

std::uint32_t checksumOf(RecordKind kind, std::uint64_t payloadSize, std::string_view covered) {
    std::string framing;
    appendNumber(framing, kind);
    appendNumber(framing, payloadSize);
    return crc32c(covered, crc32c(framing));
}

}  // namespace

std::string recordHeader(RecordKind kind, std::string_view covered, std::uint64_t payloadSize) {
    std::string header;
    appendNumber(header, kind);
    appendNumber(header, checksumOf(kind, payloadSize, covered));
    appendNumber(header, payloadSize);
    return header;
}

std::string makeRecord(RecordKind kind, std::string_view payload) {
    std::string record = recordHeader(kind, payload, payload.size());
    record += payload;
    return record;
}

RecordHeader parseRecordHeader(std::string_view header) {
    ByteReader reader(header);
    const auto kind = reader.number<RecordKind>();
    const auto checksum = reader.number<std::uint32_t>();
    return {kind, checksum, reader.number<std::uint64_t>()};
}

bool isChecksumRight(const RecordHeader& header, std::string_view covered) {
    return header.checksum == checksumOf(header.kind, header.payloadSize, covered);
}

Result<std::string> readRecord(const StorageFile& file, RecordKind kind, std::uint64_t offset,
                               std::uint64_t maxPayload) {
    const Result<std::string> raw = file.readAt(offset, kRecordHeaderSize);
    if (!raw) return raw.status();
    const RecordHeader header = parseRecordHeader(*raw);
    if (header.kind != kind || header.payloadSize > maxPayload) {
        return damagedFile(file, "a record is not where it should be");
    }
    Result<std::string> payload =
        file.readAt(offset + kRecordHeaderSize, static_cast<std::size_t>(header.payloadSize));
    if (payload && !isChecksumRight(header, *payload)) {
        return damagedFile(file, "the checksum of a record is wrong");
    }
    return payload;
}

Status damagedFile(const StorageFile& file, std::string_view what) {
    return {StatusCode::Damaged,
            filledIn(_("The index file %@ is damaged (%@)."), file.path(), what)};
}

}  // namespace siftwell::fulltext
