// ItemScan: scans one search item, and sees to it that its failure stays its own.
//
// Threads: runs on the thread of its item. Errors: every exception of the indexer, faults of the
// processor among them, is reported, switches the item off and goes into its "ScanResult".
#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "base/Exception.h"
#include "base/SWNotifier.h"
#include "index/IndexController.h"
#include "indexers/SiftwellIndexer.h"
#include "records/SearchItemRecord.h"
#include "retrieval/DocumentRetriever.h"

namespace siftwell {

// Null when there is no class of that name.
using IndexerFactory = std::function<std::unique_ptr<SiftwellIndexer>(
    const std::string& className, std::shared_ptr<SearchItemRecord> item)>;

class ItemScan {
public:
    // Outlives the scan.
    struct Surroundings {
        IndexController& indexes;
        DocumentRetriever& retriever;
        SWNotifier& notifier;
        IndexerFactory makeIndexer;
        CacheScans& cacheScans;
        // How long one of the 300 waits for downloads takes at most.
        std::chrono::milliseconds downloadWait = std::chrono::seconds(1);
    };

    ItemScan(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> item);

    // Runs the item's indexer and waits for its downloads.
    void indexInThread();

    // Says that the item could not be scanned, and why.
    void handleFailure(const std::exception& exception);

private:
    void run();
    void reportUnknownClass(const std::string& className);
    void turnOff(int result, const std::string& error, int severity, const std::string& details);
    void waitForDownloads();

    const Surroundings& m_surroundings;
    const std::shared_ptr<SearchItemRecord> m_item;
    const std::string m_name;
};

}  // namespace siftwell
