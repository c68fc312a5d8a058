// IndexingScan: one scan of every search item that is on, each on a thread of its own.
//
// Threads: run() on the scan thread; everything else is handed over when the scan is made.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "app/Driver.h"
#include "app/ItemScan.h"
#include "app/NetworkActivity.h"
#include "app/RunningItems.h"
#include "base/Clock.h"
#include "base/Settings.h"
#include "index/IndexController.h"

namespace siftwell {

class IndexingScan {
public:
    // Outlives the scan.
    struct Surroundings {
        IndexController& indexes;
        Settings& settings;
        const Clock& clock;
        const NetworkActivity& network;
        RunningItems& runningItems;
        ItemScan::Surroundings items;
        std::function<void()> purgeURLCache;  // when a day has passed since the last time
        // Called by an item's thread with the working copy, and the item as it was stored.
        std::function<void(std::shared_ptr<SearchItemRecord> record, const SearchItem& stored)>
            indexerDone;
    };

    struct Outcome {
        bool isComplete = false;    // not refused, not broken off
        std::optional<Date> start;  // of a complete scan of everything
    };

    // `items` are the search items as they are stored when the scan begins.
    IndexingScan(const Surroundings& surroundings, std::vector<SearchItem> items,
                 Driver::ScanScope scope);

    Outcome run();

private:
    // The dates that a scan is held against; see run().
    struct Dates {
        std::optional<Date> lastExpiration;
        Date cutOff;
        std::optional<Date> lastScan;
        Date start;
    };

    Dates readDates() const;
    bool mayStart() const;
    bool takesPart(const SearchItem& item) const;
    void scanItems(const Dates& dates);
    void scanOnThread(SearchItem item, const Dates& dates, std::vector<std::jthread>& threads);
    void expire(const Dates& dates);
    std::vector<std::string> expiringSources() const;

    const Surroundings& m_surroundings;
    IndexController& m_indexes;
    const std::vector<SearchItem> m_items;
    const Driver::ScanScope m_scope;
};

}  // namespace siftwell
