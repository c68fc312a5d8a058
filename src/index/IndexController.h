// IndexController: the door to the full-text indexes.
//
// There is one index for each pair of a source and an address scheme that has produced a document,
// in a folder of the user's, each with the records of its documents. Everything that others do with
// the indexes goes through here and is done by the small classes behind.
//
// Threads: any, where nothing else is said; made and ended on the main thread.
// Errors: reported through the notifier.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/NetworkReachability.h"
#include "base/NotificationCentre.h"
#include "base/Paths.h"
#include "base/RunLoop.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "fulltext/Maintenance.h"
#include "fulltext/WriteBudget.h"
#include "index/Admission.h"
#include "index/ContentExtractor.h"
#include "index/ContentParsing.h"
#include "index/DocumentStore.h"
#include "index/Erasure.h"
#include "index/Expiry.h"
#include "index/FilterPass.h"
#include "index/IndexCounters.h"
#include "index/IndexDump.h"
#include "index/IndexLoader.h"
#include "index/IndexLocks.h"
#include "index/IndexSet.h"
#include "index/SearchControl.h"

namespace siftwell {

class IndexController {
public:
    // Outlives the controller.
    struct Surroundings {
        Paths paths;
        Settings& settings;
        RunLoop& mainLoop;
        NotificationCentre& centre;
        SWNotifier& notifier;
        Clock& clock;
        NetworkReachability& network;
        ContentExtractor* extractor = nullptr;
    };
    // A controller that only reads leaves every file as it is, and its gate closed.
    using Access = fulltext::Index::Access;

    // Finds the index folder, takes over an old one, loads the indexes and starts the loader.
    IndexController(const Surroundings& surroundings, Access access);
    ~IndexController();

    // ---- What there is

    int indexFormat() const { return m_indexFormat; }  // 2; 1 for the legacy monthly format
    const std::set<std::string>& stopWords() const { return m_stopWords; }
    const std::optional<std::string>& indexFolder() const { return m_folder; }
    std::shared_ptr<const IndexSet::List> indexes() const { return m_indexes->list(); }
    std::vector<std::string> indexedSources() const;
    bool isIndexedSource(const std::string& source) const;

    // ---- Loading and keeping. On the main thread they end the current search at once: it would
    // wait for threads that wait for its priority.

    // Loads every index anew; whether there is any. Main or a maintenance thread.
    bool loadIndex();
    // Writes what changed: for each index its records, then, when there were any, the index.
    void flush();
    // Whether all indexes were visited: not when the program ends meanwhile.
    bool compactIndex();
    // Removes the documents of the sources that are older than the date, and every index without
    // records. Without sources: removes everything. Ends early when indexing is switched off.
    void expireOlderThan(Date cutOff, const std::optional<std::vector<std::string>>& forSources);
    // Asks for a filter pass and returns at once.
    void applyFilters();
    // The same, and waits for its end; how many documents it removed. Any thread.
    std::size_t filterDocuments();
    // Writes every document to a file, as a list of anchors, with its terms on demand. See
    // IndexDump.
    Status dumpIndices(const std::string& path, bool showTerms);
    // Flushes and lets go of all indexes. What walks them is broken off. Always succeeds.
    bool closeIndex();
    // Deletes the index. The caller holds the index lock.
    void purgeIndex(std::size_t position);
    // Re-reads the preferences that the store uses.
    void applyPreferences();

    // ---- Single documents

    std::optional<SKDocument> skDocumentForURL(const Url& url) const;
    SKIndex skIndexForSource(const std::string& source, const std::string& scheme,
                             bool createIfNecessary);
    std::ptrdiff_t indexForSKIndex(const SKIndex& index) const;  // its position, or -1
    SKIndex skIndexForSKDocument(const SKDocument& document, std::optional<Date> withDate);
    bool isSKDocument(const SKDocument& document, const SKIndex& inSKIndex,
                      std::optional<Date> withDate) const;
    bool isDocument(const Url& url, const std::string& fromSource,
                    std::optional<Date> indexedWithDate);
    // The document's terms, each with a space before it.
    std::string termsForSKDocument(const SKDocument& document, const SKIndex& inSKIndex) const;
    std::optional<PropertyRecord> propertiesForDocumentID(fulltext::DocumentID document,
                                                          const SKIndex& inSKIndex) const;

    // ---- Admission and adding

    bool canProcessURL(const Url& url) const { return m_admission.canProcessURL(url); }
    const Admission& admission() const { return m_admission; }
    bool willUseContentExtractors() const { return m_admission.willUseContentExtractors(); }
    bool extractorNeededForURL(const Url& url) const {
        return m_admission.extractorNeededForURL(url);
    }
    void addFailedURL(const Url& url) { m_admission.addFailedURL(url); }

    // Turns a page into text and adds it. Always false.
    bool parseAndAddContent(PageContent page);
    void addDataToIndex(AddRequest request);
    bool removeSKDocument(const SKDocument& document, const SKIndex& fromSKIndex,
                          const std::optional<std::string>& withURLString, bool sendNotification);
    // Each loses the first index that holds it; how many there were. Ends the current search when
    // it is the main thread's.
    std::size_t removeURLFromIndex(const std::vector<Url>& urls);
    // Each is removed from every index that holds it, and no byte of it is left in any file of the
    // index folder; those that there were. See Erasure.
    std::vector<Url> eraseURLs(const std::vector<Url>& urls);

    // ---- Locks, priority, gate, counters

    void lockIndex(bool exclusive) { m_locks.lockIndex(exclusive); }
    void unlockIndex(bool exclusive) { m_locks.unlockIndex(exclusive); }
    bool indexLocked() const { return m_locks.indexLocked(); }
    void takePriority() { m_locks.takePriority(); }
    void releasePriority() { m_locks.releasePriority(); }
    void yieldForPriorityThread() { m_locks.yieldForPriorityThread(); }
    bool cancelForPriorityThread() const { return m_locks.cancelForPriorityThread(); }
    bool continueEnumerating() { return m_locks.continueEnumerating(); }

    void enableIndexing() { m_gate.enable(); }
    bool disableIndexing() { return m_gate.disable(); }
    bool indexingEnabled() const { return m_gate.isEnabled(); }

    std::int64_t documentCount() const { return m_counters.documents.value(); }
    std::int64_t addToDocumentCount(std::int64_t change) {
        return m_counters.documents.add(change);
    }
    std::int64_t setDocumentCount(std::int64_t count) { return m_counters.documents.set(count); }
    std::int64_t pendingDocumentCount() const { return m_counters.pending.value(); }
    std::int64_t addToPendingDocumentCount(std::int64_t change) {
        return m_counters.pending.add(change);
    }
    std::int64_t setPendingDocumentCount(std::int64_t count) {
        return m_counters.pending.set(count);
    }
    std::int64_t deletedDocumentCount() const { return m_counters.deleted.value(); }
    std::int64_t addToDeletedDocumentCount(std::int64_t change) {
        return m_counters.deleted.add(change);
    }
    std::int64_t setDeletedDocumentCount(std::int64_t count) {
        return m_counters.deleted.set(count);
    }

    bool netConnectionAvailable();
    // Whether a scan may start: network, gate, and nobody enumerates the indexes.
    bool readyToIndex();
    // The same for a scan that needs no network.
    bool readyToIndexLocally();

    // ---- Searching. Main thread.

    // Searches the indexes of the sources, or all when there are no names, for a query in the
    // engine's language. With names, only documents of the schemes http, https, file and feed are
    // found.
    RunningSearches startSearch(const std::optional<std::vector<std::string>>& sources,
                                const std::string& query);
    CurrentSearch currentSearch() const { return m_search.current(); }
    void finishSearchAfterIdlePeriod(std::chrono::seconds seconds) {
        m_search.finishAfterIdlePeriod(seconds);
    }

private:
    void endSearchOfThisThread();
    bool stopWalks();
    void findFolder();
    void loadCounters();
    void observe();
    void updatePendingCount(const PropertyList& progress);
    void noteIndexedSource(const std::string& source);
    void forgetIndexedSources();
    void flushIndex(const SKIndex& index);
    void storeCounters();
    bool extractText(AddRequest& request);
    std::vector<SKIndex> indexesOf(const std::vector<std::string>& sources);

    const Surroundings m_surroundings;
    const Access m_access;
    std::optional<std::string> m_folder;
    const std::set<std::string> m_stopWords;
    std::atomic<int> m_indexFormat = 2;
    mutable Mutex m_mutex;
    std::set<std::string> m_indexedSources SW_GUARDED_BY(m_mutex);  // legacy monthly format

    IndexLocks m_locks;
    IndexingGate m_gate;
    StoreCounters m_counters;
    Admission m_admission;
    fulltext::WriteBudget m_writeBudget{std::size_t{4} << 20};  // the program stays all day
    fulltext::Maintenance m_maintenance;
    std::unique_ptr<IndexSet> m_indexes;
    std::unique_ptr<DocumentStore> m_store;
    SearchControl m_search;
    std::vector<NotificationCentre::Observation> m_observations;
    std::stop_source m_ending;  // of the program, for what runs on threads of others
    std::unique_ptr<IndexLoader> m_loader;
    std::unique_ptr<FilterPass> m_filterPass;
    std::unique_ptr<Expiry> m_expiry;
    std::unique_ptr<IndexDump> m_dump;
    std::unique_ptr<Erasure> m_erasure;
};

}  // namespace siftwell
