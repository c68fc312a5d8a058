#include "fulltext/Opening.h"

#include "base/Translate.h"
#include "fulltext/Commit.h"
#include "fulltext/Recovery.h"

namespace siftwell::fulltext {

Status writeNewIndex(StorageFile& file, const FileIdentity& identity, const IndexSettings& settings,
                     std::uint64_t generation) {
    FileTail tail(kHeaderPageSize);
    const RecordPlace settingsPlace =
        tail.append(makeRecord(RecordKind::Settings, serializeSettings(settings)));
    const Commit commit{.generation = generation, .segments = {}, .added = {}, .removed = {}};
    const RecordPlace place = tail.append(makeRecord(RecordKind::Commit, serializeCommit(commit)));
    Status status = file.writeAt(0, headerPage(identity, settingsPlace.offset));
    if (status.isOk()) status = tail.writeOut(file);
    if (status.isOk()) status = file.sync();
    const Root root{.generation = generation, .commit = place.offset, .end = tail.end()};
    if (status.isOk()) status = RootWriter().write(file, RootPair::Durable, root);
    if (status.isOk()) status = file.sync();
    return status;
}

// The file that bears the name, locked: compaction may exchange it between opening and locking.
Result<std::unique_ptr<StorageFile>> openLocked(Storage& storage, const std::string& path) {
    for (int attempt = 0; attempt < 10; ++attempt) {
        auto file = storage.open(path, Storage::Mode::ReadWrite);
        if (!file) return file.status();
        if (Status status = (*file)->lockForWriting(); !status.isOk()) return status;
        if (storage.isNamed(**file, path)) return file;
    }
    return Status(StatusCode::Busy, filledIn(_("The index %@ is being replaced."), path));
}

Result<std::shared_ptr<IndexCore>> openCore(std::unique_ptr<StorageFile> file,
                                            const std::optional<std::string>& internalName,
                                            Index::Access access,
                                            const Index::Surroundings& surroundings) {
    const std::shared_ptr<StorageFile> shared(std::move(file));
    const Result<Header> header = readHeader(*shared);
    if (!header) return header.status();
    Result<IndexSettings> settings = readSettings(*shared, header->settings);
    if (!settings) return settings.status();
    if (internalName && settings->internalName != internalName) {
        return Status(
            StatusCode::NameMismatch,
            filledIn(_("The index %@ does not bear the name %@."), shared->path(), *internalName));
    }
    const Result<Recovered> recovered = recover(shared, *header, TermFilter(*settings));
    if (!recovered) return recovered.status();

    auto core = std::make_shared<IndexCore>(*surroundings.storage, shared->path(),
                                            *std::move(settings), recovered->contents);
    core->identity = header->identity;
    core->isReadOnly = access == Index::Access::ReadOnly;
    core->pace = surroundings.pace;
    core->maxUnsegmentedText = surroundings.maxUnsegmentedText;
    core->roots = RootWriter(header->newestSlot);
    MutexLock lock(core->mutex);
    core->file = shared;
    core->tail = std::make_shared<FileTail>(recovered->root.end);
    core->lastGeneration = header->highestGeneration;
    core->latest = recovered->root;
    core->durable = recovered->isDurable ? recovered->root : header->durable.value_or(Root());
    return core;
}

}  // namespace siftwell::fulltext
