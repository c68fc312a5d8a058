#include "indexers/SafariCache.h"

#include <utility>

#include "base/Files.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "sources/FileDates.h"
#include "sources/archives/ArchivedResponse.h"
#include "sources/safari/SafariCacheDatabase.h"
#include "sources/safari/SafariDatabase.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

constexpr std::string_view kEntryID = "&entry_ID=";

bool isDatabase(const std::string& path) {
    const std::string extension = pathExtension(path);
    return extension == "db" || extension == "db-cache";
}

// Neither holds pages that a person saw.
bool isPassedOver(const std::string& path) {
    return lastPathComponent(path) == "SafeBrowsing.db" ||
           path.find("/Extensions/") != std::string::npos;
}

// The last of that number; none when the database cannot be opened or read.
std::optional<CachedURLResponse> entryIn(const std::string& path, std::int64_t entryID) {
    const auto database = openInPlace(path);
    if (database == nullptr) return std::nullopt;
    std::optional<CachedURLResponse> found;
    try {
        readBackSafariCache(*database, entryID,
                            [&found](CachedURLResponse entry) { found = std::move(entry); });
    } catch (const NamedException& exception) {
        writeLog(filledIn("failed to parse Safari cache data: %@", exception.reason()));
    }
    return found;
}

}  // namespace

SafariCache::SafariCache(const Surroundings& surroundings,
                         std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "SafariCache") {}

void SafariCache::performIndexingScan() {
    const Hold hold = beginCacheIndexing();
    const std::vector<std::string> files = changedFiles();
    if (!files.empty()) reportProgressStarting(files.size());
    for (const std::string& path : files) {
        if (!indexingEnabled()) break;
        indexFile(path);
    }
    setScanResultOfWholeScan();
}

std::vector<std::string> SafariCache::changedFiles() {
    const std::vector<std::string> folders = paths();
    std::vector<std::string> files;
    const Hold hold = lockDirectory();
    if (!indexingEnabled()) return files;
    yieldForPriorityThread();
    reportStatus();
    const Date threshold = lastScanDate();
    for (const std::string& folder : folders) {
        if (!isFolder(folder)) continue;
        forEachFile(folder, [&](const std::string& path, Date modified) {
            if (modified > threshold) files.push_back(path);
        });
    }
    return files;
}

// Only a file that is a page itself is a document; the entries of a database announce themselves.
void SafariCache::indexFile(const std::string& path) {
    const auto modified = modificationDateOfLinkAtPath(path);
    bool isPage = false;
    if (modified && !isPassedOver(path)) {
        if (isDatabase(path)) {
            indexDatabase(path, *modified);
        } else {
            isPage = indexPage(path, *modified);
        }
    }
    if (!isPage) m_surroundings.indexes.addToPendingDocumentCount(-1);
}

bool SafariCache::indexPage(const std::string& path, Date modified) {
    const auto bytes = bytesOfCachedFile(path);
    auto page = bytes ? cachedResponseForData(*bytes, path) : std::nullopt;
    if (!page) return false;
    yieldForPriorityThread();
    reportStatus();
    indexObject(*std::move(page), modified, path);
    if (modified > lastScanDate()) setLastScanDate(modified);
    return true;
}

void SafariCache::indexDatabase(const std::string& path, Date modified) {
    if (modified <= lastScanDate()) return;
    const auto database = openInPlace(path);
    if (database == nullptr) return;
    try {
        indexEntries(*database, path);
        setLastScanDate(modified);
    } catch (const NamedException& exception) {
        reportStopped(exception);
    }
}

void SafariCache::indexEntries(PLSqliteDatabase& database, const std::string& path) {
    const auto take = [&](SafariCacheEntry entry) {
        if (!indexingEnabled()) return false;
        yieldForPriorityThread();
        reportStatus();
        reportProgressStarting(1);
        indexObject(std::move(entry.response), entry.date,
                    path + std::string(kEntryID) + std::to_string(entry.entryID));
        return true;
    };
    const std::string threshold = thresholdText(lastScanDate(), m_surroundings.clock.now());
    noteLimit(readSafariCache(database, folderOf(path), threshold, take), path);
}

std::optional<CachedURLResponse> SafariCache::responseAt(const std::string& objectPath) {
    const std::size_t end = objectPath.rfind(kEntryID);
    if (end == std::string::npos) {
        const auto bytes = bytesOfCachedFile(objectPath);
        return bytes ? cachedResponseForData(*bytes, objectPath) : std::nullopt;
    }
    const auto entryID =
        wholeNumberIn<std::int64_t>(std::string_view(objectPath).substr(end + kEntryID.size()));
    return entryID ? entryIn(objectPath.substr(0, end), *entryID) : std::nullopt;
}

std::optional<CachedData> SafariCache::dataFromCache(const std::string& objectPath) {
    auto cached = responseAt(objectPath);
    if (!cached) return std::nullopt;
    return CachedData{.bytes = std::move(cached->data),
                      .mimeType = std::move(cached->response.mimeType),
                      .textEncodingName = std::move(cached->response.textEncodingName)};
}

}  // namespace siftwell
