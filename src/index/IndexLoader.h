// IndexLoader tells the status display which documents are indexed.
//
// Indexing is off meanwhile. The walk is broken off when another party asks for the indexes.
//
// Threads: one of its own, at the lowest priority; run() may be called on any other.
#pragma once

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "base/NotificationCentre.h"
#include "base/SWNotifier.h"
#include "index/DocumentStore.h"
#include "index/IndexCounters.h"
#include "index/IndexLocks.h"
#include "index/IndexSet.h"

namespace siftwell {

class IndexLoader {
public:
    struct Parts {
        IndexSet& indexes;
        IndexLocks& locks;
        IndexingGate& gate;
        StoreCounters& counters;
        NotificationCentre& centre;
        SWNotifier& notifier;
        // Called with the source of every document while the store is in the legacy monthly format.
        std::function<void(const std::string& source)> noteSource;
    };
    explicit IndexLoader(const Parts& parts) : m_parts(parts) {}
    ~IndexLoader() { stop(); }

    void start();  // run() on a thread of its own
    void stop();   // breaks it off and waits for its end

    // Posts what is indexed, in summaries of 50 documents; opens the gate that it closed.
    void run(const std::stop_token& stop = {});

private:
    bool mayContinue(const std::stop_token& stop) const;
    bool walkAll(const std::stop_token& stop);
    bool walk(const SKIndex& index, const std::stop_token& stop);
    void addSummary(const SKIndex& index, fulltext::DocumentID document,
                    const std::optional<PropertyRecord>& record);
    void postSummaries();

    const Parts m_parts;
    // Used by whoever has the turn of the scan lock.
    PropertyList::Array m_summaries;
    std::int64_t m_sent = 0;
    std::jthread m_thread;
};

}  // namespace siftwell
