// FilterPass removes every document whose address contains one of the user's URL filters.
//
// Indexing is off meanwhile, and nobody else enumerates the indexes: the pass waits for an
// enumeration that is under way and is broken off by none; only stop() ends it early. What was
// removed then is removed, the rest stays.
//
// Threads: one of its own for all passes; request, waitFor and stop may be called on any other.
// Errors: reported with severity 3 for a document that cannot be removed, 9 for an index that
// cannot be written.
#pragma once

#include <cstdint>
#include <functional>
#include <thread>

#include "base/NotificationCentre.h"
#include "base/SWNotifier.h"
#include "index/Admission.h"
#include "index/DocumentStore.h"
#include "index/IndexCounters.h"
#include "index/IndexLocks.h"
#include "index/IndexSet.h"

namespace siftwell {

class FilterPass {
public:
    struct Parts {
        IndexSet& indexes;
        IndexLocks& locks;
        IndexingGate& gate;
        StoreCounters& counters;
        Admission& admission;
        DocumentStore& store;
        NotificationCentre& centre;
        SWNotifier& notifier;
        std::function<void(const SKIndex& index)> flushIndex;
        std::function<void()> flush;  // all, and the counters
    };
    explicit FilterPass(Parts parts) : m_parts(std::move(parts)) {}
    ~FilterPass() { stop(); }

    // Asks for a pass that reads the filters after this call, and returns at once. All who ask
    // while one runs get the same next one.
    std::uint64_t request();
    // Waits until the request was served, or dropped by stop(); how many documents were removed.
    std::size_t waitFor(std::uint64_t request);

    // Breaks off what runs, within one document, and drops what was asked for; whether there was
    // any.
    bool stop();

private:
    void serve(const std::stop_token& stop);
    std::size_t run(const std::stop_token& stop);
    PropertyList::Array filterAll(const std::stop_token& stop);
    void filterDocumentsInSKIndex(const SKIndex& index, const std::vector<std::string>& filters,
                                  PropertyList::Array& removed, const std::stop_token& stop);

    const Parts m_parts;
    Gate m_starting;  // held while the thread begins or ends
    Mutex m_mutex;
    Condition m_changed;
    std::uint64_t m_requested SW_GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_served SW_GUARDED_BY(m_mutex) = 0;
    std::size_t m_removed SW_GUARDED_BY(m_mutex) = 0;  // in the last pass
    bool m_isServing SW_GUARDED_BY(m_mutex) = false;
    std::jthread m_thread;  // under m_starting
};

}  // namespace siftwell
