#include <algorithm>

#include "base/Translate.h"
#include "fulltext/Bytes.h"
#include "fulltext/Compaction.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Flushing.h"
#include "fulltext/Index.h"
#include "fulltext/IndexCore.h"
#include "fulltext/Inverter.h"
#include "fulltext/Merging.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kMaxWaitingBytes = 256 << 10;
// Of the words, which are read once the text is compressed.
constexpr std::size_t kMaxPrefetchedText = 8 << 10;

Inverter& inverterOfThisThread() {
    thread_local Inverter inverter;
    return inverter;
}

Status readOnlyError(const IndexCore& index) {
    return {StatusCode::ReadOnlyStorage,
            filledIn(_("The index %@ was opened for reading only."), index.path)};
}

using Segments = std::shared_ptr<const Contents::SegmentList>;

// Candidates are looked for once the text is compressed, which takes longer than to fetch them.
void prefetchCandidates(const Segments& segments, std::uint64_t keyHash) {
    for (const auto& segment : *segments) segment->prefetchCandidates(keyHash);
}

// Documents that may bear the key, in all segments.
Result<std::vector<DocumentID>> candidatesIn(const Segments& segments, std::uint64_t keyHash) {
    std::vector<DocumentID> all;
    for (const auto& segment : *segments) {
        const auto some = segment->candidates(keyHash);
        if (!some) return some.status();
        all.insert(all.end(), some->begin(), some->end());
    }
    return all;
}

const Segment* segmentWith(const Segments& segments, DocumentID document) {
    const auto found = std::find_if(segments->begin(), segments->end(),
                                    [&](const auto& segment) { return segment->covers(document); });
    return found == segments->end() ? nullptr : found->get();
}

// What removing a document of a segment takes away.
struct Described {
    DocumentID id = 0;
    std::uint64_t words = 0;
    std::uint64_t recordBytes = 0;
};

Result<Described> describe(const Segment& segment, DocumentID document) {
    const auto place = segment.placeOf(document);
    if (!place) return place.status();
    const auto words = segment.wordsOf(document);
    if (!words) return words.status();
    const auto size = documentRecordSize(segment.file(), *place);
    if (!size) return size.status();
    return Described{document, words->value_or(0), *size};
}

std::vector<DocumentID> liveOnes(IndexCore& index, const std::vector<DocumentID>& candidates) {
    std::vector<DocumentID> live;
    MutexLock lock(index.mutex);
    for (const DocumentID id : candidates) {
        if (!index.contents.isRemoved(id)) live.push_back(id);
    }
    return live;
}

// The live document of the segments that bears the key.
Result<std::optional<Described>> findInSegments(IndexCore& index, const Segments& segments,
                                                const DocumentKey& key, std::uint64_t keyHash) {
    const Result<std::vector<DocumentID>> candidates = candidatesIn(segments, keyHash);
    if (!candidates) return candidates.status();
    for (const DocumentID id : liveOnes(index, *candidates)) {
        const Segment* segment = segmentWith(segments, id);
        const auto place = segment->placeOf(id);
        if (!place) return place.status();
        const auto identity = readIdentity(segment->file(), *place);
        if (!identity) return identity.status();
        if (identity->key != key) continue;
        const Result<Described> described = describe(*segment, id);
        if (!described) return described.status();
        return std::optional<Described>(*described);
    }
    return std::optional<Described>();
}

Segments segmentsOf(IndexCore& index) {
    MutexLock lock(index.mutex);
    return index.contents.segmentList();
}

// A document on its way in: all that can be done before it has a number.
struct Incoming {
    DocumentKey key;
    std::uint64_t keyHash;
    PreparedDocument record;
    std::shared_ptr<const InvertedText> text;
};

// Gives the document its number. `old` is the document of the segments that it replaces. None when
// the segments are other ones by now, so that `old` must be looked up again.
Result<std::optional<AddedDocument>> addNumbered(IndexCore& index, Incoming& incoming,
                                                 const Segments& segments,
                                                 const std::optional<Described>& old) {
    MutexLock lock(index.mutex);
    Contents& contents = index.contents;
    if (!index.writeError.isOk()) return index.writeError;
    if (contents.segmentList() != segments) return std::optional<AddedDocument>();
    if (contents.nextDocument() > kLastDocumentID) {
        return Status(StatusCode::TooLarge,
                      filledIn(_("The index %@ has given out all its numbers. Please rebuild it."),
                               index.path));
    }
    AddedDocument added{.id = contents.nextDocument(), .replaced = std::nullopt};
    if (const auto inMemory = contents.findInMemory(incoming.key, incoming.keyHash)) {
        added.replaced = inMemory->id;
        contents.remove(inMemory->id, inMemory->text->words(), inMemory->recordBytes);
        index.noteUnbuffered(inMemory->text->memoryBytes());
    } else if (old && !contents.isRemoved(old->id)) {
        added.replaced = old->id;
        contents.remove(old->id, old->words, old->recordBytes);
    }
    const RecordPlace place = index.tail->append(incoming.record.record(added.id));
    contents.add(std::make_shared<const MemoryDocument>(
        MemoryDocument{.id = added.id,
                       .key = incoming.key,
                       .keyHash = incoming.keyHash,
                       .place = place.offset,
                       .recordBytes = place.size,
                       .textBytes = incoming.record.textBytes(),
                       .text = incoming.text}));
    index.noteBuffered(incoming.text->memoryBytes());
    return std::optional<AddedDocument>(added);
}

}  // namespace

Result<AddedDocument> Index::add(const DocumentKey& key, std::string_view text,
                                 std::string_view readableText) {
    if (m_core->isReadOnly) return readOnlyError(*m_core);
    if (Status status = m_core->currentWriteError(); !status.isOk()) return status;
    const std::uint64_t keyHash = hashOfKey(key);
    prefetchCandidates(segmentsOf(*m_core), keyHash);
    prefetch(text.substr(0, kMaxPrefetchedText));
    Result<PreparedDocument> record = PreparedDocument::prepare(key, readableText);
    if (!record) return record.status();
    Incoming incoming{.key = key,
                      .keyHash = keyHash,
                      .record = *std::move(record),
                      .text = std::make_shared<const InvertedText>(
                          inverterOfThisThread().invert(text, m_core->tables))};
    Result<std::optional<AddedDocument>> added = std::optional<AddedDocument>();
    {
        const SharedHold hold(m_core->switching);
        while (added && !*added) {
            const Segments segments = segmentsOf(*m_core);
            const auto old = findInSegments(*m_core, segments, key, incoming.keyHash);
            if (!old) return old.status();
            added = addNumbered(*m_core, incoming, segments, *old);
        }
        if (!added) return added.status();
        if (m_core->currentTail()->waitingBytes() > kMaxWaitingBytes) {
            const Status status = m_core->currentTail()->writeOut(*m_core->currentFile());
            if (!m_core->noteWrite(status).isOk()) return status;
        }
    }
    relieveBudget();
    return **added;
}

void Index::relieveBudget() {
    if (m_surroundings.budget == nullptr) return;
    // A failure is kept by the index concerned.
    if (const auto index = m_surroundings.budget->indexToRelieve())
        static_cast<void>(spill(*index));
}

Result<std::optional<DocumentID>> Index::documentWith(const DocumentKey& key) const {
    const std::uint64_t keyHash = hashOfKey(key);
    Segments segments;
    {
        MutexLock lock(m_core->mutex);
        if (const auto inMemory = m_core->contents.findInMemory(key, keyHash)) {
            return std::optional<DocumentID>(inMemory->id);
        }
        segments = m_core->contents.segmentList();
    }
    const auto found = findInSegments(*m_core, segments, key, keyHash);
    if (!found) return found.status();
    return *found ? std::optional<DocumentID>((*found)->id) : std::optional<DocumentID>();
}

Status Index::remove(DocumentID document) {
    if (m_core->isReadOnly) return readOnlyError(*m_core);
    Status notFound(StatusCode::NotFound, _("The document is not in the index."));
    const SharedHold hold(m_core->switching);
    for (;;) {
        const Segments segments = segmentsOf(*m_core);
        std::optional<Described> described;
        if (const Segment* segment = segmentWith(segments, document)) {
            const auto found = describe(*segment, document);
            if (!found) return found.status();
            described = *found;
        }
        MutexLock lock(m_core->mutex);
        Contents& contents = m_core->contents;
        if (!m_core->writeError.isOk()) return m_core->writeError;
        if (contents.segmentList() != segments) continue;
        if (!contents.isLive(document)) return notFound;
        const auto inMemory = contents.findInMemory(document);
        if (inMemory != nullptr) {
            described = Described{document, inMemory->text->words(), inMemory->recordBytes};
        }
        if (!described) return notFound;
        contents.remove(document, described->words, described->recordBytes);
        if (inMemory != nullptr) m_core->noteUnbuffered(inMemory->text->memoryBytes());
        return {};
    }
}

Status Index::flush() {
    if (m_core->isReadOnly) return readOnlyError(*m_core);
    const bool isTooMuch = m_surroundings.budget != nullptr && m_surroundings.budget->isExceeded();
    const FlushKind kind = isTooMuch ? FlushKind::Relieving : FlushKind::Ordinary;
    if (Status status = fulltext::flush(*m_core, kind); !status.isOk()) {
        return status;
    }
    maintain();
    return {};
}

Status Index::sync() {
    if (m_core->isReadOnly) return readOnlyError(*m_core);
    return fulltext::sync(*m_core);
}

void Index::maintain() {
    if (m_surroundings.maintenance != nullptr) {
        m_surroundings.maintenance->indexWasFlushed(m_core);
        return;
    }
    // What fails here is kept as the write error, or leaves the segments as they are.
    static_cast<void>(mergeSegmentsOf(*m_core));
    if (isWasteful(*m_core)) static_cast<void>(fulltext::compact(*m_core));
}

Status Index::compact() {
    if (m_core->isReadOnly) return readOnlyError(*m_core);
    return fulltext::compact(*m_core);
}

}  // namespace siftwell::fulltext
