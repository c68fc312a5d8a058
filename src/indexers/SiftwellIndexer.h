// SiftwellIndexer: what every indexer of a source has in common.
//
// An indexer lives for one scan of one search item: it is made, performIndexingScan is called once,
// it goes. It decides which entries of its source are new and hands them to the retriever. What it
// learns it writes into the record of its item: the newest modification date of a file that was
// read ("LastScanDate"), the newest date of an entry ("LastURLDate"), how it ended ("ScanResult").
//
// Threads: the one that scans its item. Every loop asks indexingEnabled() before each entry and
// calls yieldForPriorityThread().
// Errors: NamedException "InvalidPath" when the item's path cannot be used, "CopyFailed" when a
// file could not be copied; reasons are sentences for the user.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Date.h"
#include "base/Exception.h"
#include "base/Gate.h"
#include "base/Paths.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "base/Url.h"
#include "index/IndexController.h"
#include "indexers/CacheScans.h"
#include "records/BatchEntry.h"
#include "records/CachedObject.h"
#include "records/SearchItemRecord.h"
#include "retrieval/DocumentRetriever.h"
#include "sources/ReadableFileTest.h"

namespace siftwell {

// Held by indexers across calls, one pair for the whole program.
struct IndexerLocks {
    // One walk of folders at a time.
    Gate currentDirectoryLock{Gate::Guards::Turns};
    // Held while a cache is scanned; histories wait for it.
    Gate cacheLock{Gate::Guards::Turns};
    CacheScans cacheScans;
};

// What an indexer can read again of a document that it handed over.
struct CachedData {
    std::string bytes;
    std::optional<std::string> mimeType;
    std::optional<std::string> textEncodingName;
};

class SiftwellIndexer {
public:
    // Outlives the indexer.
    struct Surroundings {
        IndexController& indexes;
        DocumentRetriever& retriever;
        SWNotifier& notifier;
        const Settings& settings;
        const Paths& paths;
        const Clock& clock;
        IndexerLocks& locks;
    };

    // `className` is the name under which the indexer is registered.
    SiftwellIndexer(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem,
                    std::string className);
    virtual ~SiftwellIndexer() = default;
    SiftwellIndexer(const SiftwellIndexer&) = delete;
    SiftwellIndexer& operator=(const SiftwellIndexer&) = delete;

    // The base's does nothing, with success.
    virtual void performIndexingScan();

    // The bytes behind the path that a document was handed over with, where the indexer can read
    // them again. Any thread that has an indexer to itself.
    virtual std::optional<CachedData> dataFromCache(const std::string& objectPath);

    const std::string& name() const { return m_name; }
    // Forgets both dates, so that they are read from the record again: others may edit it now.
    const std::shared_ptr<SearchItemRecord>& searchItem();

    int indexingScanResult() const;  // 0 when there is none
    int setIndexingScanResult(int result);

    // ---- Paths

    // The files and folders that the item's path stands for; none when nothing is there. Throws
    // "InvalidPath".
    std::vector<std::string> paths() const;
    // The item's path itself when it parses as an address, even without a scheme; else the file
    // URLs of paths(). Throws what paths() does in either case.
    std::vector<Url> URLs() const;

    // ---- Dates. Setting none forgets what is remembered here and leaves the record as it is.

    // The newest modification date of a source's file that was read; the distant past before.
    Date lastScanDate() const;
    void setLastScanDate(std::optional<Date> date);
    // The newest date of an entry. Never later than lastScanDate(): an item whose scan date is
    // reset is read anew with all its entries.
    Date lastURLDate() const;
    void setLastURLDate(std::optional<Date> date);

    // ---- Files

    bool canParseContentWithType(std::uint32_t type, std::string_view orExtension) const {
        return m_isReadable.canParseContentWithType(type, orExtension);
    }
    // Links followed; now, when it cannot be had.
    Date modificationDateOfFileAtPath(const std::string& path) const;

    // The readable files among the paths and in the folders among them that were changed since
    // lastScanDate(), which moves on with every file: a file that is older than one before it in
    // the list is left out, whereas those of one folder are all compared with the same date.
    std::vector<std::string> parsableFilesAtPaths(const std::vector<std::string>& paths);

    // A private copy of the database with what its writer has not merged into it yet; its path.
    // Throws "CopyFailed", and leaves nothing behind then.
    std::string copyOfSQLiteDatabaseFileAtPath(const std::string& path) const;
    // Leaves the copy of a rollback journal.
    static void deleteCopyOfSQLiteDatabaseFileAtPath(const std::string& path);

    // ---- Handing over

    void indexURL(const Url& url, std::optional<Date> date, std::optional<std::string> title,
                  const std::string& source, const std::string& indexer);
    void indexURL(const Url& url, std::optional<Date> date);
    // The store's answer.
    bool indexObject(const CachedObject& object, std::optional<Date> date,
                     const std::string& objectPath);
    // Waits for the caches of this scan, then hands the entries over in their order until indexing
    // is switched off. The newest date among those that were handed over, or lastURLDate() when
    // that is later.
    Date indexURLAndDateArray(const std::vector<BatchEntry>& entries);

protected:
    using Hold = std::unique_ptr<GateHold>;

    // The lock is held for as long as what they return lives (unlockDirectory, endCacheIndexing).
    [[nodiscard]] Hold lockDirectory();
    [[nodiscard]] Hold beginCacheIndexing();
    // Until no cache is being scanned, or is still to be in this scan.
    void waitForCacheIndexing();

    const std::string& className() const { return m_className; }

    bool indexingEnabled() const { return m_surroundings.indexes.indexingEnabled(); }
    void yieldForPriorityThread() { m_surroundings.indexes.yieldForPriorityThread(); }
    void reportStatus() { m_surroundings.notifier.reportStatus("Indexing"); }
    void reportProgress(const std::string& message);
    void reportProgressDone(const std::string& message);
    void reportProgressStarting(std::size_t documents);

    // Success, or failure when indexing is off by now.
    void setScanResultOfWholeScan();

    // Waits while many documents of this source wait for their turn: however long a list is, those
    // that wait take little memory.
    void waitForRoom();

    // That a source, or one part of it, could not be read to its end.
    void reportStopped(const std::string& what, const std::string& reason);
    void reportStopped(const NamedException& exception);  // and logs it

    // All files of a walk, as forEachReadableFile().
    void forEachFile(const std::string& inFolder,
                     const std::function<void(const std::string& path, Date modified)>& take);
    // A walk's readable files with their dates, links to files not followed for those. Folders that
    // cannot be read are reported and passed over.
    void forEachReadableFile(
        const std::string& inFolder,
        const std::function<void(const std::string& path, Date modified)>& take);

    // The whole file; none when it cannot be read. One that would not fit into memory is reported.
    std::optional<std::string> bytesOfFile(const std::string& path);
    // Says so in the log when a reader of the file has stopped at as many addresses as it takes.
    static void noteLimit(std::size_t addresses, const std::string& path);

    const Surroundings m_surroundings;

private:
    // Without a report. An address that cannot be loaded is not tried again, not even with the
    // bytes that a cache has of it.
    void waitForCachesOfThisScan();
    void appendChangedFilesInFolder(const std::string& folder, std::vector<std::string>& changed);
    void reportUnreadable(const std::string& path, const Status& status);
    [[noreturn]] void throwCopyFailed(const std::string& message, const Status& status) const;

    const std::shared_ptr<SearchItemRecord> m_searchItem;
    const std::string m_className;
    const std::string m_name;
    const ReadableFileTest m_isReadable;
    mutable std::optional<Date> m_cachedLastScanDate;
    mutable std::optional<Date> m_cachedLastURLDate;
};

}  // namespace siftwell
