// DocumentProperties: the records of the documents of one index, in a file beside it ("NAME.data").
//
// What is added waits in memory until write(), which costs what was added and not what there is.
// Records and index are one pair: the records are written first, then the index is flushed. Killed
// in between, the file knows documents that the index does not; they are dropped when it is opened
// for writing again. A record that is removed stays in the file until the index has forgotten its
// document for good, so that whatever state of the index survives finds its records.
//
// Threads: any. Memory is guarded by a mutex; the file by gates, so that nobody waits for the disk
// who needs only memory. Errors: a missing file is an empty one. One that cannot be read counts as
// empty too, from the moment when that shows: it is set aside when the index is open for writing,
// never overwritten, and the handler is told once.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Gate.h"
#include "base/Mutex.h"
#include "base/Status.h"
#include "fulltext/Index.h"
#include "index/PropertyRecordFile.h"
#include "records/PropertyRecord.h"

namespace siftwell {

class DocumentProperties {
public:
    using ErrorHandler = std::function<void(const Status&)>;

    // `index` outlives the object; it tells which documents there are.
    DocumentProperties(std::string path, fulltext::Index& index, fulltext::Index::Access access,
                       ErrorHandler onError);
    ~DocumentProperties();

    const std::string& path() const { return m_path; }

    // Forgets what was not written and looks at the file anew. Always succeeds.
    bool read();

    // Commits what changed since the last write; false when nothing did, or when it failed: then
    // the changes wait for the next mutation. The caller flushes the index after a true answer and
    // says so.
    bool write();
    void indexWasFlushed();
    bool isWritten() const;  // whether nothing waits to be written

    std::int64_t count() const;  // reads the whole file

    // Always true; no record changes nothing.
    bool addSKDocument(fulltext::DocumentID document,
                       const std::optional<PropertyRecord>& withProperties);
    bool removeSKDocument(fulltext::DocumentID document);

    std::optional<PropertyRecord> propertiesForSKDocument(fulltext::DocumentID document) const;
    std::optional<Date> dateForSKDocument(fulltext::DocumentID document) const;

    // Up to `max` records of documents behind `document`, in rising order.
    std::vector<RecordEntry> recordsBehind(fulltext::DocumentID document, std::size_t max) const;

    // Reads the whole file and compares it with itself.
    Status check() const;
    // The same; a damaged file is treated as one that cannot be read.
    Status checkAndSetAside() const;

    // Deletes for good what was removed, as far as the index has forgotten it durably, and empties
    // the log beside the file. With a rewrite, no byte of a removed record is left: without, a page
    // of the file may still hold one that was moved from there before it was deleted.
    Status eraseRemoved(bool withRewrite);

    // Leaves the file in a state that other processes can read without changing it.
    void close();

private:
    using Changes = std::map<fulltext::DocumentID, std::optional<PropertyRecord>>;

    // The caller holds m_fileGate.
    PropertyRecordFile* file() const;  // opened when first needed; null when there is none
    Result<std::unique_ptr<PropertyRecordFile>> openFile() const;
    Status reconcile(PropertyRecordFile& opened, bool isOfThisIndex) const;
    Status settleRemovals(PropertyRecordFile& opened) const;
    Status createFile();
    void noteFailure(const Status& status) const;
    void setAside(const Status& status) const;

    // What `use` makes of the file; none when there is no file, or none that can be used.
    template <typename Use>
    auto fromFile(Use use) const;

    void reportOnce(const Status& status) const;
    const std::optional<PropertyRecord>* changeOf(fulltext::DocumentID document) const
        SW_REQUIRES(m_mutex);
    std::vector<RecordEntry> recordsBehind(fulltext::DocumentID document, std::size_t max,
                                           fulltext::DocumentID& end) const;
    bool isInFile(fulltext::DocumentID document) const;
    std::shared_ptr<const Changes> takeChanges();
    Status commit(const Changes& changes);
    RecordChanges describe(const Changes& changes);
    void noteWritten(const RecordChanges& written, bool isDone);
    void putBack(const Changes& changes);

    const std::string m_path;
    fulltext::Index& m_index;
    const fulltext::Index::Access m_access;
    const fulltext::DocumentID m_nextAtOpening;
    const ErrorHandler m_onError;

    mutable std::atomic<bool> m_isErrorReported = false;

    mutable Gate m_writing;  // before m_fileGate

    // For reading and writing alike, one thread at a time.
    mutable Gate m_fileGate;
    mutable std::unique_ptr<PropertyRecordFile> m_file;  // under m_fileGate, like the flags
    mutable bool m_isOpened = false;
    mutable bool m_isReconciled = false;
    mutable Status m_fileError;         // why it cannot be used
    mutable bool m_isUnusable = false;  // stands in the way and must not be overwritten

    mutable Mutex m_mutex;
    bool m_changed SW_GUARDED_BY(m_mutex) = false;
    Changes m_changes SW_GUARDED_BY(m_mutex);  // since the last write; none for a removed record
    std::shared_ptr<const Changes> m_beingWritten SW_GUARDED_BY(m_mutex);  // may be null
    // Records in the file that count as removed, with the generation of the index that knows it.
    std::map<fulltext::DocumentID, std::uint64_t> m_removedInFile SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
