// Expiry removes documents that are older than a date, and the indexes that are empty then.
//
// Nobody else enumerates the indexes meanwhile. Adding goes on. The pass ends early when indexing
// is switched off: what was removed is removed, the rest stays.
//
// Threads: any but one at a time has its turn; waits for whoever enumerates the indexes.
// Errors: reported with severity 3 for a document that cannot be removed, 9 for an index that
// cannot be written. An index whose records cannot be read keeps what it has.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/SWNotifier.h"
#include "index/DocumentStore.h"
#include "index/IndexCounters.h"
#include "index/IndexLoader.h"
#include "index/IndexLocks.h"
#include "index/IndexSet.h"

namespace siftwell {

class Expiry {
public:
    struct Parts {
        IndexSet& indexes;
        IndexLocks& locks;
        IndexingGate& gate;
        StoreCounters& counters;
        DocumentStore& store;
        IndexLoader& loader;
        SWNotifier& notifier;
        // In the legacy monthly format an index's name does not tell its sources.
        std::function<bool()> isMonthlyFormat;
        std::function<void(const SKIndex& index)> flushIndex;
        std::function<void()> flush;  // all, and the counters
        std::function<void()> forgetIndexedSources;
    };
    explicit Expiry(Parts parts) : m_parts(std::move(parts)) {}

    // Without sources every index goes, however old its documents are, and the loader tells of the
    // empty store.
    void expireOlderThan(Date cutOff, const std::optional<std::vector<std::string>>& forSources);

private:
    using Sources = std::set<std::string>;

    bool continueExpiring();
    void expireOlderThan(Date cutOff, const Sources& sources);
    void expireDocumentsInIndex(const SKIndex& index, Date sinceDate, const Sources& fromSources);
    bool purgeIndexesWithoutRecords();
    void purgeAll();

    const Parts m_parts;
};

}  // namespace siftwell
