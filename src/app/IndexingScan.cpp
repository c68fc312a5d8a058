#include "app/IndexingScan.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

#include "base/Faults.h"
#include "base/Log.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"
#include "indexers/Indexers.h"
#include "records/IndexerNames.h"
#include "sources/PrivateCopy.h"

namespace siftwell {

namespace {

constexpr double kSecondsPerDay = 86'400;

// What was visited during the last scan is looked at again, so an item never starts later than that
// scan did. Before the first one the distant past stands there, and everything is read whatever
// its age.
Date startDateOf(const SearchItem& item, Date cutOff, const std::optional<Date>& lastScan) {
    Date start = item.LastScanDate.value_or(Date::distantPast());
    if (item.Expire) start = std::max(start, cutOff);
    return lastScan ? std::min(start, *lastScan) : start;
}

}  // namespace

IndexingScan::IndexingScan(const Surroundings& surroundings, std::vector<SearchItem> items,
                           Driver::ScanScope scope)
    : m_surroundings(surroundings),
      m_indexes(surroundings.indexes),
      m_items(std::move(items)),
      m_scope(scope) {}

IndexingScan::Outcome IndexingScan::run() {
    const Dates dates = readDates();
    const NetworkActivity& network = m_surroundings.network;
    if (network.isBusy()) {
        writeLog(
            filledIn("Delaying indexing because the network is busy (network activity = %d / %d)",
                     std::int64_t{static_cast<std::int32_t>(network.latestDownloadThroughput())},
                     std::int64_t{static_cast<std::int32_t>(network.maxDownloadThroughput())}));
    }
    m_surroundings.purgeURLCache();
    if (!mayStart()) return {};
    removeLeftOverCopies();
    scanItems(dates);
    m_indexes.setPendingDocumentCount(0);
    const bool isWhole = m_scope == Driver::ScanScope::Everything;
    if (m_indexes.indexingEnabled() && isWhole) expire(dates);
    m_indexes.flush();
    const bool isComplete = m_indexes.indexingEnabled();
    return {.isComplete = isComplete,
            .start = isComplete && isWhole ? std::optional(dates.start) : std::nullopt};
}

IndexingScan::Dates IndexingScan::readDates() const {
    const Settings& settings = m_surroundings.settings;
    const Date now = m_surroundings.clock.now();
    // No day at all would be a mistake that empties the indexes.
    constexpr std::int64_t kUsualDays = 60;
    const std::int64_t chosen = settings.integer("DaysToSearch");
    const auto days = static_cast<double>(chosen < 1 ? kUsualDays : chosen);
    return {.lastExpiration = settings.date("LastExpirationScanDate"),
            .cutOff = now - days * kSecondsPerDay,
            // A scan of local sources does not count as one, and is not held against those.
            .lastScan = m_scope == Driver::ScanScope::Everything
                            ? settings.date("LastIndexScanDate")
                            : std::nullopt,
            .start = now};
}

bool IndexingScan::mayStart() const {
    if (m_scope == Driver::ScanScope::LocalSources) return m_indexes.readyToIndexLocally();
    return m_indexes.readyToIndex() && !m_surroundings.network.isBusy();
}

bool IndexingScan::takesPart(const SearchItem& item) const {
    if (!item.Index) return false;
    return m_scope == Driver::ScanScope::Everything || worksWithoutNetwork(item);
}

void IndexingScan::scanItems(const Dates& dates) {
    m_surroundings.runningItems.clear();
    std::vector<std::jthread> threads;
    std::vector<SearchItem> items;
    std::copy_if(m_items.begin(), m_items.end(), std::back_inserter(items),
                 [this](const SearchItem& item) { return takesPart(item); });
    const auto readsOne = [](const SearchItem& item) { return readsCache(item.Indexer); };
    const auto others = std::stable_partition(items.begin(), items.end(), readsOne);
    // Before the first of those that wait for them starts.
    for (auto cache = items.begin(); cache != others; ++cache) {
        m_surroundings.items.cacheScans.announce();
    }
    for (const SearchItem& item : items) scanOnThread(item, dates, threads);
    m_surroundings.runningItems.waitUntilAllAreDone();
    m_surroundings.runningItems.clear();
}

void IndexingScan::scanOnThread(SearchItem item, const Dates& dates,
                                std::vector<std::jthread>& threads) {
    const SearchItem stored = item;
    item.LastScanDate = startDateOf(item, dates.cutOff, dates.lastScan);
    const auto record = std::make_shared<SearchItemRecord>(std::move(item));
    m_surroundings.runningItems.add(record);
    try {
        threads.emplace_back([this, record, stored] {
            nameThisThread("item");
            collectStackTracesOnThrow();
            ItemScan(m_surroundings.items, record).indexInThread();
            if (readsCache(stored.Indexer)) m_surroundings.items.cacheScans.end();
            m_surroundings.indexerDone(record, stored);
        });
    } catch (const std::system_error&) {
        // No more threads are to be had: the item waits for the next scan.
        record->change([](SearchItem& each) { each.ScanResult = scanResult::kFailure; });
        if (readsCache(stored.Indexer)) m_surroundings.items.cacheScans.end();
        m_surroundings.indexerDone(record, stored);
    }
}

void IndexingScan::expire(const Dates& dates) {
    // A date ahead of the clock, which was set back meanwhile, stands for never.
    const bool isKnown = dates.lastExpiration && *dates.lastExpiration <= dates.start;
    if (isKnown && dates.start - *dates.lastExpiration <= kSecondsPerDay) return;
    m_indexes.expireOlderThan(dates.cutOff, expiringSources());
    Settings& settings = m_surroundings.settings;
    settings.set("LastExpirationScanDate", dates.start);
    if (m_indexes.deletedDocumentCount() > settings.integer("IndexOptimizationThreshold")) {
        m_indexes.compactIndex();
    }
}

std::vector<std::string> IndexingScan::expiringSources() const {
    std::vector<std::string> sources;
    for (const SearchItem& item : m_items) {
        if (item.Expire) sources.push_back(item.Name);
    }
    return sources;
}

}  // namespace siftwell
