#include "indexers/SafariBookmarks.h"

#include <utility>

#include "sources/PropertyListPages.h"

namespace siftwell {

SafariBookmarks::SafariBookmarks(const Surroundings& surroundings,
                                 std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "SafariBookmarks") {}

void SafariBookmarks::performIndexingScan() {
    std::vector<BatchEntry> found;
    for (const std::string& path : parsableFilesAtPaths(paths())) {
        if (!indexingEnabled()) break;
        yieldForPriorityThread();
        appendBookmarks(path, found);
    }
    waitForCacheIndexing();
    setLastURLDate(indexURLAndDateArray(found));
    setScanResultOfWholeScan();
}

void SafariBookmarks::appendBookmarks(const std::string& inFile, std::vector<BatchEntry>& to) {
    const auto goOn = [this] {
        if (!indexingEnabled()) return false;
        waitForCacheIndexing();
        return true;
    };
    auto bookmarks = safariBookmarks(bytesOfFile(inFile).value_or(""),
                                     modificationDateOfFileAtPath(inFile), goOn);
    if (!bookmarks) return;
    noteLimit(bookmarks->size(), inFile);
    const Date newerThan = lastURLDate();
    for (BatchEntry& bookmark : *bookmarks) {
        if (!m_surroundings.indexes.canProcessURL(bookmark.url)) continue;
        if (bookmark.date && *bookmark.date <= newerThan) bookmark.date.reset();
        to.push_back(std::move(bookmark));
    }
}

}  // namespace siftwell
