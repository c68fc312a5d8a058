#include "fulltext/Commit.h"

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t kMaxPayload = std::uint64_t{1} << 30;

// The number of entries that follow; 0, with the reader failed, when there is no room for them.
std::size_t readCount(ByteReader& reader, std::size_t entrySize) {
    const auto count = reader.number<std::uint32_t>();
    if (count <= reader.remaining() / entrySize) return count;
    reader.bytes(reader.remaining() + 1);
    return 0;
}

template <typename Entry>
bool areRising(const std::vector<Entry>& entries) {
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (entries[i].id <= entries[i - 1].id) return false;
    }
    return true;
}

}  // namespace

std::string serializeCommit(const Commit& commit) {
    std::string payload;
    appendNumber(payload, commit.generation);
    appendNumber(payload, commit.previous);
    appendNumber(payload, commit.nextDocument);
    appendNumber(payload, commit.documents);
    appendNumber(payload, commit.words);
    appendNumber(payload, commit.documentBytes);
    appendNumber(payload, static_cast<std::uint32_t>(commit.segments.size()));
    for (const CommittedSegment& segment : commit.segments) {
        appendNumber(payload, segment.place.offset);
        appendNumber(payload, segment.place.size);
        appendNumber(payload, segment.removed);
    }
    appendNumber(payload, static_cast<std::uint32_t>(commit.added.size()));
    for (const CommittedDocument& document : commit.added) {
        appendNumber(payload, document.id);
        appendNumber(payload, document.place);
    }
    appendNumber(payload, static_cast<std::uint32_t>(commit.removed.size()));
    for (const DocumentID document : commit.removed) appendNumber(payload, document);
    return payload;
}

Result<Commit> readCommit(const StorageFile& file, std::uint64_t offset) {
    const Result<std::string> payload = readRecord(file, RecordKind::Commit, offset, kMaxPayload);
    if (!payload) return payload.status();
    ByteReader reader(*payload);
    Commit commit;
    commit.generation = reader.number<std::uint64_t>();
    commit.previous = reader.number<std::uint64_t>();
    commit.nextDocument = reader.number<DocumentID>();
    commit.documents = reader.number<std::uint64_t>();
    commit.words = reader.number<std::uint64_t>();
    commit.documentBytes = reader.number<std::uint64_t>();
    commit.segments.resize(readCount(reader, 24));
    for (CommittedSegment& segment : commit.segments) {
        segment.place.offset = reader.number<std::uint64_t>();
        segment.place.size = reader.number<std::uint64_t>();
        segment.removed = reader.number<std::uint64_t>();
    }
    commit.added.resize(readCount(reader, 12));
    for (CommittedDocument& document : commit.added) {
        document.id = reader.number<DocumentID>();
        document.place = reader.number<std::uint64_t>();
    }
    commit.removed.resize(readCount(reader, 4));
    for (DocumentID& document : commit.removed) document = reader.number<DocumentID>();
    if (!reader.isAtEnd() || !areRising(commit.added)) {
        return damagedFile(file, "a commit is malformed");
    }
    return commit;
}

}  // namespace siftwell::fulltext
