// IndexCore: the state of one open index that its writers, its merges and its compaction share.
//
// Threads: `mutex` guards what changes with every document. What takes longer holds gates, always
// in this order: merging, writing, switching.
//   merging    whoever makes segments of segments
//   writing    whoever commits: flushes, spills, compaction
//   switching  shared by whoever uses the file between two steps; exclusive for the moment in which
//              compaction puts another file in its place
#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "base/Gate.h"
#include "base/Mutex.h"
#include "base/Status.h"
#include "fulltext/Contents.h"
#include "fulltext/FileTail.h"
#include "fulltext/Header.h"
#include "fulltext/Storage.h"
#include "fulltext/TermTables.h"

namespace siftwell::fulltext {

struct IndexCore {
    IndexCore(Storage& storageOfIndex, std::string pathOfIndex, IndexSettings settingsOfIndex,
              const Contents::Opened& opened)
        : storage(storageOfIndex),
          path(std::move(pathOfIndex)),
          settings(std::move(settingsOfIndex)),
          filter(settings),
          tables(filter),
          contents(opened) {}

    Storage& storage;
    const std::string path;
    const IndexSettings settings;
    const TermFilter filter;
    TermTables tables;  // of the documents in memory
    FileIdentity identity{};
    bool isReadOnly = false;
    PaceCallback pace;
    std::size_t maxUnsegmentedText = 0;

    Gate merging;
    Gate writing;
    SharedGate switching;

    Mutex mutex;
    Contents contents SW_GUARDED_BY(mutex);
    std::shared_ptr<StorageFile> file SW_GUARDED_BY(mutex);
    std::shared_ptr<FileTail> tail SW_GUARDED_BY(mutex);
    Status writeError SW_GUARDED_BY(mutex);  // the first; nothing is written after it
    std::uint64_t lastGeneration SW_GUARDED_BY(mutex) = 0;  // given to a commit, written or not
    Root latest SW_GUARDED_BY(mutex);   // root of the newest commit that was written
    Root durable SW_GUARDED_BY(mutex);  // root of the newest commit that was synced
    bool hasEnded SW_GUARDED_BY(mutex) = false;

    Mutex naming;  // held while another file takes the index's name
    bool isAbandoned SW_GUARDED_BY(naming) = false;  // no file does any more

    Gate rootWriting;
    RootWriter roots;  // under rootWriting

    std::atomic<std::size_t> documentBytes = 0;  // memory of documents in no segment
    std::atomic<std::size_t> pendingBytes = 0;   // of those among them that no commit lists
    std::atomic<bool> isClosing = false;         // long work gives up
    std::atomic<bool> isNameSynced = false;      // since the index was opened

    // A document came into memory, or left it. The caller holds `mutex`.
    void noteBuffered(std::size_t bytes) {
        documentBytes += bytes;
        pendingBytes += bytes;
    }
    void noteUnbuffered(std::size_t bytes) {
        documentBytes -= std::min<std::size_t>(bytes, documentBytes);
        pendingBytes -= std::min<std::size_t>(bytes, pendingBytes);
    }

    // What adding takes until all stands in segments.
    std::size_t bufferedBytes() const {
        return documentBytes.load(std::memory_order_relaxed) + tables.memoryBytes();
    }

    std::shared_ptr<StorageFile> currentFile() SW_EXCLUDES(mutex) {
        MutexLock lock(mutex);
        return file;
    }
    std::shared_ptr<FileTail> currentTail() SW_EXCLUDES(mutex) {
        MutexLock lock(mutex);
        return tail;
    }
    Status currentWriteError() SW_EXCLUDES(mutex) {
        MutexLock lock(mutex);
        return writeError;
    }

    // Searches may keep the file for long after the last write.
    void endWriting() SW_EXCLUDES(mutex);
    bool isEnded() SW_EXCLUDES(mutex) {
        MutexLock lock(mutex);
        return hasEnded;
    }

    // Gives way to others between two steps. Work that can be left off is, when the index is
    // closing.
    ContinueCallback untilDone() {
        return [this] {
            if (pace) pace();
            return true;
        };
    }
    ContinueCallback untilClosing() {
        return [this] {
            if (pace) pace();
            return !isClosing.load(std::memory_order_relaxed);
        };
    }

    // Keeps the first failed write; answers it.
    Status noteWrite(Status status) SW_EXCLUDES(mutex);
};

}  // namespace siftwell::fulltext
