#include "fulltext/Compaction.h"

#include <algorithm>

#include "base/Translate.h"
#include "fulltext/Bytes.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Flushing.h"
#include "fulltext/Merging.h"
#include "fulltext/Recovery.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t kNotWorthIt = 1 << 20;

// RecordCopier copies document records from one file to the end of another, and remembers where
// each went. Documents come in rising order, but one that came before may come again. Reads ahead:
// records mostly lie in the order of their numbers.
class RecordCopier {
public:
    RecordCopier(const StorageFile& from, StorageFile& to, FileTail& tail)
        : m_from(from), m_to(to), m_tail(tail) {}

    // Copies once, however often it is asked.
    Status copy(DocumentID document, std::uint64_t place) {
        if (placeOf(document) != 0) return {};
        const Result<std::string_view> record = read(place);
        if (!record) return record.status();
        m_places.push_back({document, m_tail.append(*record).offset});
        return m_tail.waitingBytes() < kWriteSize ? Status() : m_tail.writeOut(m_to);
    }

    // 0 for a document that was not copied.
    std::uint64_t placeOf(DocumentID document) const {
        const auto place = std::lower_bound(
            m_places.begin(), m_places.end(), document,
            [](const CommittedDocument& copied, DocumentID id) { return copied.id < id; });
        return place == m_places.end() || place->id != document ? 0 : place->place;
    }

private:
    static constexpr std::size_t kWriteSize = 1 << 20;
    static constexpr std::size_t kReadSize = 1 << 20;

    Result<std::string_view> read(std::uint64_t place);
    Result<std::string_view> bytesAt(std::uint64_t offset, std::uint64_t size);

    const StorageFile& m_from;
    StorageFile& m_to;
    FileTail& m_tail;
    std::vector<CommittedDocument> m_places;
    std::string m_window;
    std::uint64_t m_windowOffset = 0;
};

// The whole record, its checksum found right.
Result<std::string_view> RecordCopier::read(std::uint64_t place) {
    const auto raw = bytesAt(place, kRecordHeaderSize);
    if (!raw) return raw.status();
    const RecordHeader header = parseRecordHeader(*raw);
    if (header.kind != RecordKind::Document || header.payloadSize > 2 * kMaxTextBytes) {
        return damagedFile(m_from, "a document is not where it should be");
    }
    auto record = bytesAt(place, kRecordHeaderSize + header.payloadSize);
    if (record && !isChecksumRight(header, record->substr(kRecordHeaderSize))) {
        return damagedFile(m_from, "the checksum of a document is wrong");
    }
    return record;
}

Result<std::string_view> RecordCopier::bytesAt(std::uint64_t offset, std::uint64_t size) {
    const bool isInWindow = offset >= m_windowOffset &&
                            offset - m_windowOffset <= m_window.size() &&
                            size <= m_window.size() - (offset - m_windowOffset);
    if (!isInWindow) {
        const Result<std::uint64_t> fileSize = m_from.size();
        if (!fileSize) return fileSize.status();
        const std::uint64_t left = *fileSize - std::min(offset, *fileSize);
        const std::uint64_t count = std::min(std::max<std::uint64_t>(size, kReadSize), left);
        auto window = m_from.readAt(offset, static_cast<std::size_t>(std::max(count, size)));
        if (!window) return window.status();
        m_window = *std::move(window);
        m_windowOffset = offset;
    }
    return std::string_view(m_window).substr(offset - m_windowOffset, size);
}

class Compaction {
public:
    explicit Compaction(IndexCore& index) : m_index(index) {}

    Status run();

private:
    Status createFile();
    Status copyCommitted();
    Status copyPending(const MemoryDocuments& memory);
    Status copyDocumentsOf(const std::vector<LiveSegment>& segments);
    Status mergeCommitted();
    Status writeCommit();
    Status rewriteUncommitted(const std::vector<LiveSegment>& segments);
    Result<std::shared_ptr<const Segment>> rewrite(std::span<const LiveSegment> segments);
    Status exchangeFiles();
    Status putInPlace();
    Status takeName();
    void adopt();
    Status stopWhenClosing();

    IndexCore& m_index;
    ContinueCallback m_mayContinue = m_index.untilClosing();
    std::shared_ptr<StorageFile> m_oldFile;
    std::shared_ptr<StorageFile> m_file;
    std::shared_ptr<FileTail> m_tail;
    std::optional<RecordCopier> m_copier;
    Contents::Committed m_committed;
    Contents::Rewritten m_rewritten;
    Root m_root;
    RootWriter m_roots;
};

Status Compaction::run() {
    const GateHold merging(m_index.merging);
    const GateHold writing(m_index.writing);
    {
        MutexLock lock(m_index.mutex);
        if (!m_index.writeError.isOk()) return m_index.writeError;
        m_oldFile = m_index.file;
        m_committed = m_index.contents.committed();
        m_root.generation = ++m_index.lastGeneration;
    }
    if (Status status = m_index.currentTail()->writeOut(*m_oldFile); !status.isOk()) {
        return m_index.noteWrite(status);
    }
    Status status = createFile();
    if (status.isOk()) status = copyCommitted();
    if (status.isOk()) status = mergeCommitted();
    if (status.isOk()) status = writeCommit();
    if (status.isOk()) status = exchangeFiles();
    if (!status.isOk() && m_file != nullptr) {
        static_cast<void>(m_index.storage.remove(compactionPath(m_index.path)));
    }
    return status;
}

Status Compaction::stopWhenClosing() {
    if (m_mayContinue()) return {};
    return {StatusCode::Busy, _("The index is being closed.")};
}

Status Compaction::createFile() {
    const std::string path = compactionPath(m_index.path);
    if (Status status = m_index.storage.remove(path); !status.isOk()) return status;
    auto file = m_index.storage.open(path, Storage::Mode::CreateNew);
    if (!file) return file.status();
    m_file = *std::move(file);
    if (Status status = m_file->lockForWriting(); !status.isOk()) return status;
    m_tail = std::make_shared<FileTail>(kHeaderPageSize);
    const RecordPlace place =
        m_tail->append(makeRecord(RecordKind::Settings, serializeSettings(m_index.settings)));
    m_copier.emplace(*m_oldFile, *m_file, *m_tail);
    return m_file->writeAt(0, headerPage(m_index.identity, place.offset));
}

Status Compaction::copyCommitted() {
    if (Status status = copyDocumentsOf(m_committed.segments); !status.isOk()) return status;
    for (const CommittedDocument& document : m_committed.memory) {
        if (Status status = m_copier->copy(document.id, document.place); !status.isOk()) {
            return status;
        }
    }
    return m_tail->writeOut(*m_file);
}

Status Compaction::copyDocumentsOf(const std::vector<LiveSegment>& segments) {
    for (const LiveSegment& live : segments) {
        const auto documents = live.segment->describeDocuments();
        if (!documents) return documents.status();
        for (const SegmentDocument& document : *documents) {
            if (!live.isLive(document.id)) continue;
            if (Status status = m_copier->copy(document.id, document.place); !status.isOk()) {
                return status;
            }
            if (Status status = stopWhenClosing(); !status.isOk()) return status;
        }
    }
    return {};
}

// Null when no document is left.
Result<std::shared_ptr<const Segment>> Compaction::rewrite(std::span<const LiveSegment> segments) {
    Spool payload(m_index.storage, m_index.path);
    const auto newPlace = [this](const SegmentDocument& document) {
        return m_copier->placeOf(document.id);
    };
    const Result<std::string> header = mergeSegments(segments, newPlace, payload, m_mayContinue);
    if (!header) return header.status();
    if (header->empty()) return std::shared_ptr<const Segment>();
    const RecordPlace place = m_tail->reserve(header->size() + payload.size());
    if (Status status = m_file->writeAt(place.offset, *header); !status.isOk()) return status;
    if (Status status = payload.copyTo(*m_file, place.offset + header->size(), m_mayContinue);
        !status.isOk()) {
        return status;
    }
    return Segment::open(m_file, place);
}

// All committed segments become as few as the largest size allows.
Status Compaction::mergeCommitted() {
    const std::span<const LiveSegment> segments(m_committed.segments);
    for (std::size_t begin = 0; begin < segments.size();) {
        std::size_t end = begin;
        std::uint64_t bytes = 0;
        do {
            bytes += segments[end++].segment->place().size;
        } while (end < segments.size() &&
                 bytes + segments[end].segment->place().size <= kMaxMergedBytes);
        auto merged = rewrite(segments.subspan(begin, end - begin));
        if (!merged) return merged.status();
        if (*merged != nullptr) m_rewritten.committed.push_back(*std::move(merged));
        begin = end;
        if (Status status = stopWhenClosing(); !status.isOk()) return status;
    }
    return {};
}

Status Compaction::writeCommit() {
    Commit commit{.generation = m_root.generation,
                  .previous = 0,
                  .nextDocument = m_committed.nextDocument,
                  .documents = m_committed.totals.documents,
                  .words = m_committed.totals.words,
                  .documentBytes = m_committed.totals.recordBytes,
                  .segments = {},
                  .added = {},
                  .removed = {}};
    for (const auto& segment : m_rewritten.committed)
        commit.segments.push_back({segment->place(), 0});
    for (const CommittedDocument& document : m_committed.memory) {
        commit.added.push_back({document.id, m_copier->placeOf(document.id)});
    }
    m_root.commit = m_tail->append(makeRecord(RecordKind::Commit, serializeCommit(commit))).offset;
    m_root.end = m_tail->end();
    m_rewritten.commit = m_root.commit;
    Status status = m_tail->writeOut(*m_file);
    if (status.isOk()) status = m_file->sync();
    if (status.isOk()) status = m_roots.write(*m_file, RootPair::Durable, m_root);
    if (status.isOk()) status = m_roots.write(*m_file, RootPair::Latest, m_root);
    if (status.isOk()) status = m_file->sync();
    return status;
}

// From here on nobody adds. What came since the last commit moves too; then the new file gets its
// name. No giving way meanwhile: the more urgent thread may want to read the file, and would wait.
Status Compaction::exchangeFiles() {
    const ExclusiveHold hold(m_index.switching);
    m_mayContinue = [this] { return !m_index.isClosing.load(std::memory_order_relaxed); };
    MemoryDocuments memory;
    std::vector<LiveSegment> segments;
    {
        MutexLock lock(m_index.mutex);
        memory = m_index.contents.liveMemory();
        segments = m_index.contents.uncommittedSegments();
    }
    Status status = m_index.currentTail()->writeOut(*m_oldFile);
    if (!status.isOk()) return m_index.noteWrite(status);
    status = copyDocumentsOf(segments);
    if (status.isOk()) status = copyPending(memory);
    if (status.isOk()) status = rewriteUncommitted(segments);
    if (status.isOk()) status = m_tail->writeOut(*m_file);
    if (status.isOk()) status = putInPlace();
    return status;
}

Status Compaction::copyPending(const MemoryDocuments& memory) {
    for (const auto& document : memory) {
        if (Status status = m_copier->copy(document->id, document->place); !status.isOk()) {
            return status;
        }
    }
    return {};
}

Status Compaction::rewriteUncommitted(const std::vector<LiveSegment>& segments) {
    for (const LiveSegment& live : segments) {
        auto rewritten = rewrite(std::span(&live, 1));
        if (!rewritten) return rewritten.status();
        if (*rewritten != nullptr) m_rewritten.uncommitted.push_back(*std::move(rewritten));
    }
    return {};
}

Status Compaction::takeName() {
    MutexLock lock(m_index.naming);
    if (m_index.isAbandoned) return {StatusCode::Busy, _("The index is being closed.")};
    return m_index.storage.rename(*m_file, m_index.path);
}

Status Compaction::putInPlace() {
    if (Status status = takeName(); !status.isOk()) return status;
    adopt();
    // The new file is the index now, whether or not its name reached the disk.
    return m_index.noteWrite(m_index.storage.syncFolderOf(m_index.path));
}

void Compaction::adopt() {
    const GateHold hold(m_index.rootWriting);
    m_rewritten.placeOf = [this](DocumentID document) { return m_copier->placeOf(document); };
    MutexLock lock(m_index.mutex);
    m_index.contents.adopt(m_rewritten);
    m_index.file = m_file;
    m_index.tail = m_tail;
    m_index.roots = m_roots;
    m_index.latest = m_root;
    m_index.durable = m_root;
}

}  // namespace

Status compact(IndexCore& index) { return Compaction(index).run(); }

bool isWasteful(IndexCore& index) {
    std::uint64_t alive = kHeaderPageSize;
    std::uint64_t all = 0;
    {
        MutexLock lock(index.mutex);
        if (!index.writeError.isOk()) return false;
        alive += index.contents.totals().recordBytes;
        for (const auto& segment : *index.contents.segmentList()) alive += segment->place().size;
        all = index.tail->end();
    }
    return all > alive && all - alive > std::max(all / 2, kNotWorthIt);
}

std::string compactionPath(const std::string& indexPath) { return indexPath + ".compacting"; }

}  // namespace siftwell::fulltext
