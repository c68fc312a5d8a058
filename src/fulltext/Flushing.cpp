#include "fulltext/Flushing.h"

#include "base/Translate.h"
#include "fulltext/SegmentBuilder.h"

namespace siftwell::fulltext {

namespace {

// The caller holds `writing`.
Status segmentMemory(IndexCore& index) {
    MemoryDocuments documents;
    {
        MutexLock lock(index.mutex);
        documents = index.contents.liveMemory();
    }
    if (documents.empty()) return {};
    // Who finds a document in a segment reads its record from the file.
    if (Status status = index.currentTail()->writeOut(*index.currentFile()); !status.isOk()) {
        return status;
    }
    Spool payload(index.storage, index.path);
    const Result<std::string> header = buildSegment(documents, payload, index.untilDone());
    if (!header) return header.status();
    const auto segment = placeSegment(index, payload, *header, index.untilDone());
    if (!segment) return segment.status();

    MutexLock lock(index.mutex);
    for (const auto& document : documents) {
        // One that was removed meanwhile is gone already.
        const bool isThere = index.contents.findInMemory(document->id) != nullptr;
        if (isThere) index.noteUnbuffered(document->text->memoryBytes());
    }
    index.contents.replaceMemory(*segment);
    index.tables.startAnew();
    return {};
}

// Where documents come one after another, larger segments are less work. Once none came between
// two flushes, little is left outside of segments, where it takes memory and whoever opens the file
// has to read it back.
bool mustSegment(IndexCore& index, FlushKind kind) {
    constexpr std::size_t kPartAtRest = 24;
    constexpr std::size_t kPartWhenMuch = 12;
    MutexLock lock(index.mutex);
    const std::size_t bytes = index.contents.memoryTextBytes();
    const std::size_t most = index.maxUnsegmentedText;
    if (kind == FlushKind::Closing) return bytes > 0;
    if (!index.contents.hasPending()) return bytes > most / kPartAtRest;
    return bytes > (kind == FlushKind::Relieving ? most / kPartWhenMuch : most);
}

// Decides what the commit holds and gives its record a place; none when nothing changed.
std::optional<Root> appendCommit(IndexCore& index) {
    MutexLock lock(index.mutex);
    if (!index.contents.hasChanges()) return std::nullopt;
    FileTail& tail = *index.tail;
    Root root{.generation = ++index.lastGeneration};
    const Commit commit = index.contents.makeCommit(
        root.generation, [&tail](const std::string& record) { return tail.append(record).offset; });
    root.commit = tail.append(makeRecord(RecordKind::Commit, serializeCommit(commit))).offset;
    root.end = tail.end();
    index.contents.setCommitPlace(root.commit);
    index.pendingBytes = 0;
    return root;
}

Status writeLatestRoot(IndexCore& index, const Root& root) {
    const GateHold hold(index.rootWriting);
    if (Status status = index.roots.write(*index.currentFile(), RootPair::Latest, root);
        !status.isOk()) {
        return status;
    }
    MutexLock lock(index.mutex);
    index.latest = root;
    return {};
}

// Nothing else is on its way to the disk while a durable root is: lost power can break a root of
// one pair, never one of each.
Status writeDurableRoot(IndexCore& index, StorageFile& file, const Root& synced) {
    const GateHold hold(index.rootWriting);
    Root root;
    {
        MutexLock lock(index.mutex);
        root = index.latest;
        if (root == index.durable) return {};
    }
    Status status = root == synced ? Status() : file.sync();
    if (status.isOk()) status = index.roots.write(file, RootPair::Durable, root);
    if (status.isOk()) status = file.sync();
    if (!status.isOk()) return status;
    MutexLock lock(index.mutex);
    index.durable = root;
    return {};
}

// Whoever compacted the index last may have been killed before the name of its file was on the
// disk: with lost power the file from before would come back.
Status syncName(IndexCore& index) {
    if (index.isNameSynced) return {};
    Status status = index.storage.syncFolderOf(index.path);
    if (status.isOk()) index.isNameSynced = true;
    return status;
}

// What is written to a file that nobody can find is lost.
Status checkThatFileIsThere(IndexCore& index) {
    if (index.storage.isNamed(*index.currentFile(), index.path)) return {};
    return {StatusCode::NotFound,
            filledIn(_("The index %@ was removed or replaced while it was being written. What was "
                       "in it has to be added again."),
                     index.path)};
}

Status commit(IndexCore& index) {
    const auto root = appendCommit(index);
    if (!root) return {};
    if (Status status = checkThatFileIsThere(index); !status.isOk()) return status;
    if (Status status = index.currentTail()->writeOut(*index.currentFile()); !status.isOk()) {
        return status;
    }
    return writeLatestRoot(index, *root);
}

}  // namespace

Status IndexCore::noteWrite(Status status) {
    MutexLock lock(mutex);
    if (writeError.isOk()) writeError = status;
    return status;
}

void IndexCore::endWriting() {
    const GateHold noMerge(merging);
    const GateHold noWrite(writing);
    MutexLock lock(mutex);
    if (hasEnded) return;
    hasEnded = true;
    if (writeError.isOk()) {
        writeError = {StatusCode::Failed, filledIn(_("The index %@ was closed."), path)};
    }
    file->unlockForWriting();
}

Result<std::shared_ptr<const Segment>> placeSegment(IndexCore& index, Spool& payload,
                                                    const std::string& header,
                                                    const ContinueCallback& mayContinue) {
    const auto file = index.currentFile();
    const RecordPlace place = index.currentTail()->reserve(header.size() + payload.size());
    if (Status status = file->writeAt(place.offset, header); !status.isOk()) return status;
    if (Status status = payload.copyTo(*file, place.offset + header.size(), mayContinue);
        !status.isOk()) {
        return status;
    }
    return Segment::open(file, place);
}

Status flush(IndexCore& index, FlushKind kind) {
    const GateHold hold(index.writing);
    if (Status status = index.currentWriteError(); !status.isOk()) return status;
    if (mustSegment(index, kind)) {
        if (Status status = segmentMemory(index); !status.isOk()) return index.noteWrite(status);
    }
    return index.noteWrite(commit(index));
}

Status spill(IndexCore& index) {
    const GateHold hold(index.writing);
    if (Status status = index.currentWriteError(); !status.isOk()) return status;
    {
        // A segment of documents that the last commit lists one by one would have to be committed.
        MutexLock lock(index.mutex);
        if (!index.contents.hasPending()) return {};
    }
    return index.noteWrite(segmentMemory(index));
}

Status sync(IndexCore& index) {
    const SharedHold hold(index.switching);
    if (Status status = syncName(index); !status.isOk()) return index.noteWrite(status);
    Root root;
    {
        MutexLock lock(index.mutex);
        root = index.latest;
        if (!index.writeError.isOk() || root == index.durable) return index.writeError;
    }
    const auto file = index.currentFile();
    Status status = file->sync();
    if (status.isOk()) status = writeDurableRoot(index, *file, root);
    return index.noteWrite(status);
}

}  // namespace siftwell::fulltext
