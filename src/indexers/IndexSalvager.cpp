#include "indexers/IndexSalvager.h"

#include <utility>

#include "base/Files.h"
#include "base/Log.h"
#include "index/IndexNaming.h"
#include "index/IndexSalvage.h"

namespace siftwell {

namespace {

constexpr std::size_t kEntriesPerBatch = 10'000;

}  // namespace

IndexSalvager::IndexSalvager(const Surroundings& surroundings,
                             std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "IndexSalvager") {}

void IndexSalvager::performIndexingScan() {
    for (const std::string& path : paths()) {
        if (!indexingEnabled()) break;
        const Date modified = modificationDateOfFileAtPath(path);
        if (modified <= lastScanDate()) continue;
        indexFileWithPath(path);
        setLastScanDate(modified);
    }
    setScanResultOfWholeScan();
}

// The file's name tells the scheme; the item's, which is the same where nobody chose another, the
// source. An index holds more addresses than are kept in memory at once.
void IndexSalvager::indexFileWithPath(const std::string& path) {
    const std::string source = sourceOfIndexName(indexNameOfFile(name()));
    std::vector<BatchEntry> entries;
    const auto handOver = [&] {
        reportProgressDone("Checking URL dates...");
        if (!entries.empty()) indexURLAndDateArray(std::exchange(entries, {}));
    };
    const auto take = [&](Url url) {
        entries.push_back({.url = std::move(url), .source = source});
        if (entries.size() == kEntriesPerBatch) {
            handOver();
            reportProgress("Checking URL dates...");
        }
        return indexingEnabled();
    };
    reportProgress("Checking URL dates...");
    const Status status = salvageIndexFile(path, take, [this] { yieldForPriorityThread(); });
    if (!status.isOk()) writeLog(status.message());
    handOver();
}

}  // namespace siftwell
