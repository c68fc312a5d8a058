#include "indexers/LocalFiles.h"

#include <utility>

#include "base/Files.h"
#include "sources/FileDates.h"
#include "sources/PathExpansion.h"

namespace siftwell {

namespace {

bool isWebArchive(const std::string& path) { return pathExtension(path) == "webarchive"; }

}  // namespace

LocalFiles::LocalFiles(const Surroundings& surroundings,
                       std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "LocalFiles") {}

void LocalFiles::performIndexingScan() {
    const std::vector<std::string> files = collectFiles();
    reportProgressStarting(files.size());
    for (const std::string& path : files) {
        if (!indexingEnabled()) break;
        const auto date = modificationDateOfLinkAtPath(path);
        yieldForPriorityThread();
        reportStatus();
        indexFile(path, date);
        if (date && *date > lastScanDate()) setLastScanDate(date);
    }
    setScanResultOfWholeScan();
}

std::vector<std::string> LocalFiles::collectFiles() {
    const Date threshold = lastScanDate();
    const bool isFirst = threshold == Date::distantPast();
    std::vector<std::string> files;
    const auto take = [&](const std::string& path, Date modified) {
        if (isFirst || modified > threshold) files.push_back(path);
    };

    const Hold hold = lockDirectory();
    if (!indexingEnabled()) return files;
    const std::vector<std::string> found = paths();
    yieldForPriorityThread();
    reportStatus();
    reportProgress("Checking file dates...");
    for (const std::string& given : found) {
        const std::string path = resolvingSymbolicLinks(given);
        const auto info = fileInfo(path);
        if (!info) continue;
        if (info->isFolder) {
            forEachReadableFile(path, take);
        } else if (info->isRegular && canParseContentWithType(0, pathExtension(path))) {
            take(path, info->modified);
        }
    }
    reportProgressDone("Checking file dates...");
    return files;
}

void LocalFiles::indexFile(const std::string& path, std::optional<Date> date) {
    if (isWebArchive(path)) {
        indexArchiveFile(path, date);
    } else {
        indexURL(Url::fromFilePath(path), date);
    }
}

void LocalFiles::indexArchiveFile(const std::string& path, std::optional<Date> date) {
    const auto bytes = bytesOfFile(path);
    if (const auto archive = bytes ? WebArchive::initWithData(*bytes) : std::nullopt) {
        indexArchive(*archive, date, path);
    } else {
        m_surroundings.indexes.addToPendingDocumentCount(-1);  // nothing comes of it
    }
}

void LocalFiles::indexArchive(const WebArchive& archive, std::optional<Date> date,
                              const std::string& objectPath) {
    indexObject(archive.mainResource, date, objectPath);
    if (!archive.subresources.empty()) reportProgressStarting(archive.subresources.size());
    for (const WebResource& resource : archive.subresources) {
        if (!indexingEnabled()) return;
        indexObject(resource, date, objectPath);
    }
    if (!archive.subframeArchives.empty()) reportProgressStarting(archive.subframeArchives.size());
    for (const WebArchive& frame : archive.subframeArchives) {
        if (!indexingEnabled()) return;
        indexArchive(frame, date, objectPath);
    }
}

std::optional<CachedData> LocalFiles::dataFromCache(const std::string& objectPath) {
    if (!isWebArchive(objectPath)) return std::nullopt;
    auto bytes = bytesOfFile(objectPath);
    if (!bytes) return std::nullopt;
    return CachedData{.bytes = *std::move(bytes), .mimeType = "application/webarchive"};
}

}  // namespace siftwell
