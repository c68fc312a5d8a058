// The files of a source: which of them changed, and how they are read. Parts of SiftwellIndexer.

#include <unistd.h>

#include <algorithm>
#include <array>

#include "base/Exception.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "indexers/SiftwellIndexer.h"
#include "sources/Addresses.h"
#include "sources/FolderWalk.h"
#include "sources/PrivateCopy.h"

namespace siftwell {

namespace {

// As text such a file is twice as large, and its entries larger still.
constexpr std::size_t kMaxSourceBytes = std::size_t{64} << 20;

}  // namespace

Date SiftwellIndexer::modificationDateOfFileAtPath(const std::string& path) const {
    const auto info = fileInfo(path);
    return info ? info->modified : m_surroundings.clock.now();
}

std::vector<std::string> SiftwellIndexer::parsableFilesAtPaths(
    const std::vector<std::string>& paths) {
    std::vector<std::string> changed;
    for (const std::string& path : paths) {
        const auto info = fileInfo(path);
        if (!info) continue;
        if (info->isFolder) {
            appendChangedFilesInFolder(path, changed);
        } else if (info->isRegular && canParseContentWithType(0, pathExtension(path)) &&
                   info->modified > lastScanDate()) {
            changed.push_back(path);
            setLastScanDate(info->modified);
        }
    }
    return changed;
}

void SiftwellIndexer::appendChangedFilesInFolder(const std::string& folder,
                                                 std::vector<std::string>& changed) {
    const Hold hold = lockDirectory();
    if (!indexingEnabled()) return;
    const Date threshold = lastScanDate();
    Date newest = threshold;
    yieldForPriorityThread();
    reportStatus();
    reportProgress("Checking file dates...");
    forEachReadableFile(folder, [&](const std::string& path, Date modified) {
        if (modified <= threshold) return;
        changed.push_back(path);
        newest = std::max(newest, modified);
    });
    reportProgressDone("Checking file dates...");
    setLastScanDate(newest);
}

void SiftwellIndexer::forEachFile(
    const std::string& inFolder,
    const std::function<void(const std::string& path, Date modified)>& take) {
    FolderWalk files(inFolder, [&](const Status& status) { reportUnreadable(inFolder, status); });
    for (std::string path; indexingEnabled() && files.next(path);) {
        yieldForPriorityThread();
        take(path, files.modified());
    }
}

void SiftwellIndexer::forEachReadableFile(
    const std::string& inFolder,
    const std::function<void(const std::string& path, Date modified)>& take) {
    forEachFile(inFolder, [&](const std::string& path, Date modified) {
        if (canParseContentWithType(0, pathExtension(path))) take(path, modified);
    });
}

void SiftwellIndexer::reportUnreadable(const std::string& path, const Status& status) {
    m_surroundings.notifier.reportError(_("Failed to get content"), 5,
                                        Url::fromFilePath(path).absoluteString(), status.message());
}

std::optional<std::string> SiftwellIndexer::bytesOfFile(const std::string& path) {
    auto bytes = readFile(path, kMaxSourceBytes + 1);
    if (!bytes) return std::nullopt;
    if (bytes->size() <= kMaxSourceBytes) return *std::move(bytes);
    reportUnreadable(path,
                     {StatusCode::TooLarge, "The file " + path + " is larger than " +
                                                std::to_string(kMaxSourceBytes >> 20) + " MB."});
    return std::nullopt;
}

void SiftwellIndexer::noteLimit(std::size_t addresses, const std::string& path) {
    if (addresses < kMaxAddresses) return;
    writeLog("Only the first " + std::to_string(kMaxAddresses) + " addresses in " + path +
             " are indexed.");
}

std::string SiftwellIndexer::copyOfSQLiteDatabaseFileAtPath(const std::string& path) const {
    struct Companion {
        const char* suffix;
        std::string message;
    };
    const std::array<Companion, 3> companions = {
        {{"-wal", _("The %@ indexer could not copy your database-wal file.  %@")},
         {"-shm", _("The %@ indexer could not copy your database-shm file.  %@")},
         {"-journal", _("The %@ indexer could not copy your database-journal file.  %@")}}};

    const auto copy = copyToTemporaryFolder(path);
    if (!copy) {
        throwCopyFailed(_("The %@ indexer could not copy your database file.  %@"), copy.status());
    }
    for (const auto& [suffix, message] : companions) {
        const Status status = copyFilePrivately(path + suffix, *copy + suffix);
        // The browser may remove one at any moment.
        if (status.isOk() || !fileInfo(path + suffix)) continue;
        deleteCopyOfSQLiteDatabaseFileAtPath(*copy);
        unlink((*copy + "-journal").c_str());
        throwCopyFailed(message, status);
    }
    return *copy;
}

void SiftwellIndexer::throwCopyFailed(const std::string& message, const Status& status) const {
    throw NamedException("CopyFailed", filledIn(message, m_className, status.message()));
}

void SiftwellIndexer::deleteCopyOfSQLiteDatabaseFileAtPath(const std::string& path) {
    for (const char* suffix : {"", "-wal", "-shm"}) unlink((path + suffix).c_str());
}

}  // namespace siftwell
