#include "app/SearchItemOutcome.h"

#include <algorithm>

namespace siftwell {

namespace {

constexpr double kSecondsToKeepTemporaryItems = 604'800;

// The last item of that name and path. Where there are several, one that is on was the one scanned.
std::vector<SearchItem>::iterator findItem(const SearchItem& scanned,
                                           std::vector<SearchItem>& items) {
    auto found = items.end();
    for (auto item = items.begin(); item != items.end(); ++item) {
        if (!item->isSameItemAs(scanned)) continue;
        if (found == items.end() || item->Index || !found->Index) found = item;
    }
    return found;
}

// Whether all that is older than the item's new dates was handed over.
bool wasReadToTheEnd(const SearchItem& scanned) {
    const int result = scanned.ScanResult.value_or(scanResult::kSuccess);
    return result == scanResult::kSuccess || result == scanResult::kDownloadsUnfinished;
}

void takeOver(const SearchItem& scanned, const SearchItem& before, SearchItem& stored) {
    // Set back by the user meanwhile, they stay so: all of it is to be read again.
    if (wasReadToTheEnd(scanned) && stored.LastScanDate == before.LastScanDate) {
        stored.LastScanDate = scanned.LastScanDate;
        stored.LastURLDate = scanned.LastURLDate;
    }
    stored.ScanResult = scanned.ScanResult;
    if (!scanned.Index) stored.Index = false;
}

bool isTooYoungToDelete(const SearchItem& item, Date now) {
    return item.CreationDate && now - *item.CreationDate < kSecondsToKeepTemporaryItems;
}

}  // namespace

std::optional<std::string> storeOutcome(const SearchItem& scanned, const SearchItem& before,
                                        std::vector<SearchItem>& items, Date now) {
    const auto stored = findItem(scanned, items);
    if (stored == items.end()) return std::nullopt;
    takeOver(scanned, before, *stored);
    if (scanned.ScanResult.value_or(scanResult::kSuccess) != scanResult::kSuccess) {
        return std::nullopt;
    }
    if (stored->IndexOnce) stored->Index = stored->IndexOnce = false;
    if (!stored->Delete || isTooYoungToDelete(*stored, now)) return std::nullopt;
    std::string file = stored->Path;
    items.erase(stored);
    return file;
}

}  // namespace siftwell
