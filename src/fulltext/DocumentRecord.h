// Document records: who a document is, and its text as a person reads it.
//
//   id        u32
//   scheme    one length byte, then each character as a 0 byte and the character
//   name      one length byte, then the bytes; or a 0 byte, a 32-bit length and the bytes, when the
//             name is empty or longer than 255 bytes
//   length    u32, bytes of the text before compression
//   text      zstd
//
// Scheme and name stand so that a damaged file can be searched for addresses without its structure.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "fulltext/Record.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

// A text over this size is refused; it would not fit into memory twice.
inline constexpr std::size_t kMaxTextBytes = std::size_t{512} << 20;
inline constexpr std::size_t kMaxNameBytes = std::size_t{1} << 20;

// The parts of a record that do not depend on the number that the document gets.
class PreparedDocument {
public:
    // Compresses. Invalid or TooLarge when key or text are out of bounds.
    static Result<PreparedDocument> prepare(const DocumentKey& key, std::string_view readableText);

    // The whole record of the document, valid until the next call.
    std::string_view record(DocumentID id);
    std::size_t textBytes() const { return m_textBytes; }

private:
    std::string m_record;  // but for its header and the number
    std::size_t m_textBytes = 0;
};

struct StoredIdentity {
    DocumentID id = 0;
    DocumentKey key;
};

struct StoredDocument {
    DocumentID id = 0;
    DocumentKey key;
    std::string readableText;
};

Result<StoredDocument> readDocument(const StorageFile& file, std::uint64_t offset);

// The same without its text, which is not decompressed.
Result<StoredIdentity> readIdentity(const StorageFile& file, std::uint64_t offset);

// The number and the key of a record whose checksum may be wrong, when they look like such; who
// knows better compares.
std::optional<StoredIdentity> identityIfReadable(const StorageFile& file, std::uint64_t offset);
std::optional<DocumentKey> keyIfReadable(const StorageFile& file, std::uint64_t offset,
                                         DocumentID id);

// The bytes of the key as they stand in its document's record.
std::string bytesOfKey(const DocumentKey& key);

// Whether the text of a record whose checksum is wrong ends before the payload does, as it seems:
// then it is the payload's size that is wrong.
bool endsBeforePayload(std::string_view payload);

// What a document record may hold at most and must hold at least.
bool isPayloadSizeSane(std::uint64_t payloadSize);

// The bytes that the record takes in the file.
Result<std::uint64_t> documentRecordSize(const StorageFile& file, std::uint64_t offset);

}  // namespace siftwell::fulltext
