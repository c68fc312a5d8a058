// Records: the framed pieces of which an index file consists behind its header page.
//
//   kind      4 bytes, RecordKind
//   checksum  u32, CRC-32C of kind, size and payload; of a segment record, only its trailer is
//             covered (which in turn holds the checksums of all its blocks)
//   size      u64, bytes of payload
//   payload
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Status.h"
#include "fulltext/Storage.h"

namespace siftwell::fulltext {

// Never renumber: these values stand in files.
enum class RecordKind : std::uint32_t {
    Settings = 0x54544553,  // "SETT"
    Document = 0x52434F44,  // "DOCR"
    Segment = 0x4D474553,   // "SEGM"
    Commit = 0x544D4F43,    // "COMT"
    Live = 0x4556494C,      // "LIVE"
};

inline constexpr std::size_t kRecordHeaderSize = 16;

// The place of a record in its file; size counts the header too.
struct RecordPlace {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;

    std::uint64_t end() const { return offset + size; }
    bool operator==(const RecordPlace&) const = default;
};

// A whole record. For a segment, `covered` is the part of the payload that the checksum covers.
std::string recordHeader(RecordKind kind, std::string_view covered, std::uint64_t payloadSize);
std::string makeRecord(RecordKind kind, std::string_view payload);

struct RecordHeader {
    RecordKind kind;
    std::uint32_t checksum;
    std::uint64_t payloadSize;
};
RecordHeader parseRecordHeader(std::string_view header);

bool isChecksumRight(const RecordHeader& header, std::string_view covered);

// The payload of the record at `offset`, whose kind and checksum were found right. Damaged
// otherwise, also when it is larger than `maxPayload`.
Result<std::string> readRecord(const StorageFile& file, RecordKind kind, std::uint64_t offset,
                               std::uint64_t maxPayload);

Status damagedFile(const StorageFile& file, std::string_view what);

}  // namespace siftwell::fulltext
