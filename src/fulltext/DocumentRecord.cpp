#include "fulltext/DocumentRecord.h"

#include <zstd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "base/Translate.h"
#include "fulltext/ByteBuffer.h"
#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

// With a table of 2^14 places, which is larger than the level's own. Level 1 would make the texts a
// fifth smaller and their compression half as slow again.
constexpr int kCompressionLevel = -2;
constexpr int kTableBits = 14;
constexpr std::uint64_t kMaxRecord = kMaxTextBytes + kMaxNameBytes + 4096;
constexpr std::size_t kShortName = 255;
constexpr std::size_t kMaxKeptBuffer = 1 << 20;
constexpr std::size_t kBehindId = kRecordHeaderSize + sizeof(DocumentID);

struct ContextDeleter {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};

// None when there is no memory.
std::unique_ptr<ZSTD_CCtx, ContextDeleter> makeCompressionContext() {
    std::unique_ptr<ZSTD_CCtx, ContextDeleter> context(ZSTD_createCCtx());
    if (context == nullptr) return context;
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, kCompressionLevel);
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_hashLog, kTableBits);
    return context;
}

ZSTD_CCtx* compressionContext() {
    thread_local const auto context = makeCompressionContext();
    return context.get();
}

ZSTD_DCtx* decompressionContext() {
    thread_local const std::unique_ptr<ZSTD_DCtx, ContextDeleter> context(ZSTD_createDCtx());
    return context.get();
}

ByteBuffer& compressionBuffer() {
    thread_local ByteBuffer buffer;
    return buffer;
}

// In the buffer; empty when it could not be done.
std::string_view compressed(std::string_view text, ByteBuffer& buffer) {
    const std::size_t bound = ZSTD_compressBound(text.size());
    buffer.clear();
    char* const to = buffer.room(bound);
    ZSTD_CCtx* const context = compressionContext();
    if (context == nullptr) return {};
    const std::size_t size = ZSTD_compress2(context, to, bound, text.data(), text.size());
    if (ZSTD_isError(size) != 0) return {};
    buffer.setEnd(to + size);
    return buffer.view();
}

void appendKey(std::string& bytes, const DocumentKey& key) {
    bytes += static_cast<char>(key.scheme.size());
    for (const char c : key.scheme) {
        bytes += '\0';
        bytes += c;
    }
    if (key.name.empty() || key.name.size() > kShortName) {
        bytes += '\0';
        appendNumber(bytes, static_cast<std::uint32_t>(key.name.size()));
    } else {
        bytes += static_cast<char>(key.name.size());
    }
    bytes += key.name;
}

DocumentKey readKey(ByteReader& reader) {
    DocumentKey key;
    const std::string_view wide = reader.bytes(std::size_t{reader.number<std::uint8_t>()} * 2);
    for (std::size_t i = 1; i < wide.size(); i += 2) key.scheme += wide[i];
    std::size_t length = reader.number<std::uint8_t>();
    if (length == 0) length = reader.number<std::uint32_t>();
    key.name = reader.bytes(length);
    return key;
}

bool isKeyInBounds(const DocumentKey& key) {
    return key.scheme.size() <= 255 && key.name.size() <= kMaxNameBytes &&
           std::all_of(key.scheme.begin(), key.scheme.end(), [](char c) { return c > 0; });
}

Result<std::string> decompressed(const StorageFile& file, std::string_view bytes,
                                 std::size_t length) {
    // A text of markup shrinks to a few hundredths at best; more is no honest record.
    if (length > kMaxTextBytes || length > 1024 + bytes.size() * 40000) {
        return damagedFile(file, "a document's length is impossible");
    }
    std::string text(length, '\0');
    const std::size_t got = ZSTD_decompressDCtx(decompressionContext(), text.data(), text.size(),
                                                bytes.data(), bytes.size());
    if (ZSTD_isError(got) != 0 || got != length) {
        return damagedFile(file, "a document's text cannot be decompressed");
    }
    return text;
}

}  // namespace

Result<PreparedDocument> PreparedDocument::prepare(const DocumentKey& key,
                                                   std::string_view readableText) {
    if (!isKeyInBounds(key)) {
        return {StatusCode::Invalid, _("The address is too long to be stored in the index.")};
    }
    if (readableText.size() > kMaxTextBytes) {
        return {StatusCode::TooLarge, _("The text is too large to be stored in the index.")};
    }
    PreparedDocument document;
    document.m_textBytes = readableText.size();
    ByteBuffer& buffer = compressionBuffer();
    const std::string_view text = compressed(readableText, buffer);
    if (text.empty()) return {StatusCode::Failed, _("The text could not be compressed.")};
    std::string& record = document.m_record;
    record.reserve(kBehindId + key.scheme.size() * 2 + key.name.size() + text.size() + 16);
    record.resize(kBehindId);
    appendKey(record, key);
    appendNumber(record, static_cast<std::uint32_t>(readableText.size()));
    record += text;
    if (buffer.capacity() > kMaxKeptBuffer) buffer = ByteBuffer();
    return document;
}

std::string_view PreparedDocument::record(DocumentID id) {
    std::memcpy(m_record.data() + kRecordHeaderSize, &id, sizeof id);
    const auto payload = std::string_view(m_record).substr(kRecordHeaderSize);
    const std::string header = recordHeader(RecordKind::Document, payload, payload.size());
    m_record.replace(0, header.size(), header);
    return m_record;
}

Result<StoredDocument> readDocument(const StorageFile& file, std::uint64_t offset) {
    const Result<std::string> payload = readRecord(file, RecordKind::Document, offset, kMaxRecord);
    if (!payload) return payload.status();
    ByteReader reader(*payload);
    StoredDocument document;
    document.id = reader.number<DocumentID>();
    document.key = readKey(reader);
    const auto length = reader.number<std::uint32_t>();
    if (!reader.isOk()) return damagedFile(file, "a document is malformed");
    Result<std::string> text = decompressed(file, reader.rest(), length);
    if (!text) return text.status();
    document.readableText = *std::move(text);
    return document;
}

Result<StoredIdentity> readIdentity(const StorageFile& file, std::uint64_t offset) {
    const Result<std::string> payload = readRecord(file, RecordKind::Document, offset, kMaxRecord);
    if (!payload) return payload.status();
    ByteReader reader(*payload);
    StoredIdentity identity;
    identity.id = reader.number<DocumentID>();
    identity.key = readKey(reader);
    if (!reader.isOk()) return damagedFile(file, "a document is malformed");
    return identity;
}

std::optional<StoredIdentity> identityIfReadable(const StorageFile& file, std::uint64_t offset) {
    constexpr std::uint64_t kMaxIdentity = 4 + 1 + 2 * 255 + 1 + 4 + kMaxNameBytes;
    const Result<std::uint64_t> size = file.size();
    if (!size || offset > *size || *size - offset < kRecordHeaderSize) return std::nullopt;
    // Names of more than a kilobyte are read only where the record is large enough.
    for (const std::uint64_t most : {std::uint64_t{1} << 10, kMaxIdentity}) {
        const std::uint64_t count = std::min(*size - offset, kRecordHeaderSize + most);
        const Result<std::string> bytes = file.readAt(offset, static_cast<std::size_t>(count));
        if (!bytes) return std::nullopt;
        const RecordHeader header = parseRecordHeader(*bytes);
        if (header.kind != RecordKind::Document) return std::nullopt;
        const auto payload = std::string_view(*bytes).substr(kRecordHeaderSize);
        ByteReader reader(payload.substr(0, header.payloadSize));
        StoredIdentity identity;
        identity.id = reader.number<DocumentID>();
        identity.key = readKey(reader);
        if (reader.isOk()) {
            const bool isPossible = isKeyInBounds(identity.key) &&
                                    identity.id >= kFirstDocumentID &&
                                    identity.id <= kLastDocumentID;
            return isPossible ? std::optional(std::move(identity)) : std::nullopt;
        }
        if (header.payloadSize <= most) break;
    }
    return std::nullopt;
}

std::optional<DocumentKey> keyIfReadable(const StorageFile& file, std::uint64_t offset,
                                         DocumentID id) {
    auto identity = identityIfReadable(file, offset);
    if (!identity || identity->id != id) return std::nullopt;
    return std::move(identity->key);
}

std::string bytesOfKey(const DocumentKey& key) {
    std::string bytes;
    appendKey(bytes, key);
    return bytes;
}

bool endsBeforePayload(std::string_view payload) {
    ByteReader reader(payload);
    reader.number<DocumentID>();
    readKey(reader);
    reader.number<std::uint32_t>();
    if (!reader.isOk()) return false;
    const std::string_view text = reader.rest();
    const std::size_t size = ZSTD_findFrameCompressedSize(text.data(), text.size());
    return ZSTD_isError(size) == 0 && size < text.size();
}

bool isPayloadSizeSane(std::uint64_t payloadSize) {
    constexpr std::uint64_t kSmallest = 4 + 1 + 5 + 4;  // with an empty key and no text
    return payloadSize >= kSmallest && payloadSize <= kMaxRecord;
}

Result<std::uint64_t> documentRecordSize(const StorageFile& file, std::uint64_t offset) {
    const Result<std::string> raw = file.readAt(offset, kRecordHeaderSize);
    if (!raw) return raw.status();
    const RecordHeader header = parseRecordHeader(*raw);
    if (header.kind != RecordKind::Document || header.payloadSize > kMaxRecord) {
        return damagedFile(file, "a document is not where it should be");
    }
    return header.payloadSize + kRecordHeaderSize;
}

}  // namespace siftwell::fulltext
