#include "sources/caches/ChromiumSimpleEntry.h"

#include <zlib.h>

#include <algorithm>
#include <string>
#include <utility>

#include "sources/StoredNumbers.h"
#include "sources/caches/CachedResponse.h"
#include "sources/caches/ChromiumResponse.h"

namespace siftwell {

namespace {

constexpr std::uint64_t kFirstMagic = 0xfcfb6d1ba7725c30;
constexpr std::uint64_t kLastMagic = 0xf4fa6f45970d41d8;
constexpr std::uint64_t kIndexMagic = 0x656e74657220796f;
constexpr std::uint32_t kVersion = 5;
constexpr std::uint64_t kHeaderBytes = 24;
constexpr std::uint64_t kEndBytes = 24;
constexpr std::uint64_t kKeyHashBytes = 32;

std::uint32_t checksumOf(std::string_view bytes) {
    const void* const anonymous = bytes.data();
    return static_cast<std::uint32_t>(
        crc32_z(0, static_cast<const unsigned char*>(anonymous), bytes.size()));
}

// What stands behind each stream.
struct EndRecord {
    std::uint32_t flags = 0;
    std::uint32_t checksum = 0;
    std::uint32_t streamBytes = 0;  // of the head; nothing behind the body

    bool hasKeyHash() const { return (flags & 2) != 0; }
    bool agreesWith(std::string_view bytes) const {
        return (flags & 1) == 0 || checksumOf(bytes) == checksum;
    }
};

std::optional<EndRecord> endRecordAt(const ByteSource& file, std::uint64_t at) {
    const auto bytes = file.read(at, kEndBytes);
    if (!bytes || littleEndianAt<std::uint64_t>(*bytes, 0) != kLastMagic) return std::nullopt;
    return EndRecord{*littleEndianAt<std::uint32_t>(*bytes, 8),
                     *littleEndianAt<std::uint32_t>(*bytes, 12),
                     *littleEndianAt<std::uint32_t>(*bytes, 16)};
}

struct Head {
    ChromiumResponse response;
    EndRecord bodyEnd;
    std::uint64_t bodyEndsAt = 0;
};

// From the end of the file to the body's.
std::optional<Head> headIn(const ByteSource& file) {
    if (file.size() < kHeaderBytes + 2 * kEndBytes) return std::nullopt;
    std::uint64_t at = file.size() - kEndBytes;
    const auto end = endRecordAt(file, at);
    if (!end || end->streamBytes > kMaxChromiumHeadBytes) return std::nullopt;
    const std::uint64_t behindBody =
        end->streamBytes + (end->hasKeyHash() ? kKeyHashBytes : 0) + kEndBytes;
    if (behindBody > at - kHeaderBytes) return std::nullopt;
    at -= behindBody;
    const auto bodyEnd = endRecordAt(file, at);
    const auto bytes = file.read(at + kEndBytes, end->streamBytes);
    if (!bodyEnd || !bytes || !end->agreesWith(*bytes)) return std::nullopt;
    auto response = readChromiumResponse(*bytes);
    if (!response) return std::nullopt;
    return Head{*std::move(response), *bodyEnd, at};
}

std::optional<std::string> keyIn(const ByteSource& file) {
    const auto header = file.read(0, kHeaderBytes);
    if (!header || littleEndianAt<std::uint64_t>(*header, 0) != kFirstMagic ||
        littleEndianAt<std::uint32_t>(*header, 8) != kVersion) {
        return std::nullopt;
    }
    const std::uint64_t length = *littleEndianAt<std::uint32_t>(*header, 12);
    if (length > kMaxChromiumKeyBytes) return std::nullopt;
    return file.read(kHeaderBytes, length);
}

}  // namespace

std::optional<CachedPage> readChromiumSimpleEntry(const ByteSource& file, Date lastUsed) {
    auto head = headIn(file);
    const auto key = head ? keyIn(file) : std::nullopt;
    const auto address = key ? addressInChromiumKey(*key) : std::nullopt;
    if (!address) return std::nullopt;
    const std::uint64_t bodyAt = kHeaderBytes + key->size();
    if (bodyAt > head->bodyEndsAt) return std::nullopt;
    const CachedResponse response = {
        .url = std::string(*address),
        .head = std::move(head->response.head),
        .bodyBytes = head->bodyEndsAt - bodyAt,
        .lastUsed = std::max(endOfSecond(lastUsed), head->response.received)};
    if (!response.isPage()) return std::nullopt;
    auto body = file.read(bodyAt, response.bodyBytes);
    if (!body || !head->bodyEnd.agreesWith(*body)) return std::nullopt;
    return response.pageWith(*std::move(body));
}

// Length and checksum; then a magic number, the version, how many entries there are and their size
// together (each of 8 bytes), from version 7 on why this was written; the entries; a date.
std::optional<ChromiumSimpleIndex> readChromiumSimpleIndex(std::string_view bytes) {
    constexpr std::size_t kBegin = 8;
    constexpr std::size_t kEntryBytes = 24;
    const auto version = littleEndianAt<std::uint32_t>(bytes, kBegin + 8);
    const auto count = littleEndianAt<std::uint64_t>(bytes, kBegin + 12);
    if (!version || *version < 6 || *version > 9 || !count ||
        littleEndianAt<std::uint64_t>(bytes, kBegin) != kIndexMagic ||
        littleEndianAt<std::uint32_t>(bytes, 0) != bytes.size() - kBegin ||
        littleEndianAt<std::uint32_t>(bytes, 4) != checksumOf(bytes.substr(kBegin))) {
        return std::nullopt;
    }
    std::size_t at = kBegin + (*version >= 7 ? 32 : 28);
    if (at > bytes.size() || *count > (bytes.size() - at) / kEntryBytes) return std::nullopt;
    ChromiumSimpleIndex index;
    index.reserve(*count);
    for (std::uint64_t i = 0; i < *count; ++i, at += kEntryBytes) {
        index.emplace(*littleEndianAt<std::uint64_t>(bytes, at),
                      chromiumDate(*littleEndianAt<std::int64_t>(bytes, at + 8)));
    }
    return index;
}

}  // namespace siftwell
