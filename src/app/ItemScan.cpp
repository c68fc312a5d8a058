#include "app/ItemScan.h"

#include <utility>

#include "base/Faults.h"
#include "base/Log.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr int kMaxDownloadWaits = 300;

}  // namespace

ItemScan::ItemScan(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> item)
    : m_surroundings(surroundings), m_item(std::move(item)), m_name(m_item->item().Name) {}

void ItemScan::indexInThread() {
    try {
        run();
    } catch (const std::exception& exception) {
        handleFailure(exception);
    }
    waitForDownloads();
}

void ItemScan::run() {
    const std::string className = m_item->item().Indexer;
    const auto indexer = m_surroundings.makeIndexer(className, m_item);
    if (indexer == nullptr) return reportUnknownClass(className);
    useLowestThreadPriority();
    const FaultGuard guard;
    indexer->performIndexingScan();
}

// The item stays on: another version of the program may know the class.
void ItemScan::reportUnknownClass(const std::string& className) {
    m_item->change([](SearchItem& item) { item.ScanResult = scanResult::kConfigurationError; });
    m_surroundings.notifier.reportError(
        filledIn(_("Unknown indexer class \"%@\""), className), 6, "",
        _("Your Siftwell preference file is probably damaged.  Please try removing the file "
          "HOME/Library/Preferences/com.velotrin.Siftwell.plist."));
}

void ItemScan::handleFailure(const std::exception& exception) {
    const std::string exceptionName = nameOf(exception);
    const std::string reason = exception.what();
    if (exceptionName == "InvalidPath") {
        // One failed path after a success passes in silence: the volume may be back soon.
        if (m_item->item().ScanResult.value_or(scanResult::kUnexpectedError) ==
            scanResult::kSuccess) {
            m_item->change(
                [](SearchItem& item) { item.ScanResult = scanResult::kUnexpectedError; });
            return;
        }
        const bool isCache = lowerCasedAscii(m_name).find("cache") != std::string::npos;
        turnOff(scanResult::kConfigurationError,
                filledIn(_("Indexing of %@ failed because of a configuration error."), m_name),
                isCache ? 5 : 6,
                filledIn(_("%@\n\nThis search item has been turned off.  You can correct this "
                           "problem by choosing Preferences from the Siftwell menu, then "
                           "double-clicking on the path for %@ and changing it so it refers to "
                           "the correct location."),
                         reason, m_name));
    } else if (exceptionName == "CopyFailed") {
        turnOff(scanResult::kCopyFailed,
                filledIn(_("Indexing of %@ failed because a file could not be copied."), m_name), 6,
                filledIn(_("%@\n\nThis search item has been turned off.  You may be able to "
                           "correct this problem by moving or deleting files to make more space "
                           "available on your hard disk, then turning indexing of %@ back on in "
                           "your preferences."),
                         reason, m_name));
    } else {
        printStackTrace(exception);
        turnOff(scanResult::kUnexpectedError,
                filledIn(_("Indexing of %@ failed due to an unexpected error (%@)."), m_name,
                         exceptionName),
                6,
                _("This search item has been turned off in your Siftwell preferences.\n\nPlease "
                  "run /Applications/Utilities/Console to get details about the error and report "
                  "them to Velotrin."));
    }
}

void ItemScan::turnOff(int result, const std::string& error, int severity,
                       const std::string& details) {
    m_surroundings.notifier.reportError(error, severity, "", details);
    m_item->change([result](SearchItem& item) {
        item.Index = false;
        item.ScanResult = result;
    });
}

// Each wait ends as soon as nothing of the source is under way any more.
void ItemScan::waitForDownloads() {
    const IndexController& indexes = m_surroundings.indexes;
    DocumentRetriever& retriever = m_surroundings.retriever;
    int waits = 0;
    while (indexes.indexingEnabled() && retriever.isAtWorkForSource(m_name)) {
        // What waits its turn may wait for as long as it takes.
        if (!retriever.downloadWaitingForSource(m_name) && ++waits > kMaxDownloadWaits) {
            writeLog(filledIn("Gave up waiting for downloads to finish for %@", m_name));
            retriever.cancelDownloadsForSource(m_name, std::chrono::milliseconds(0));
            m_item->change(
                [](SearchItem& item) { item.ScanResult = scanResult::kDownloadsUnfinished; });
            return;
        }
        retriever.waitForDownloadsForSource(m_name, m_surroundings.downloadWait);
    }
}

}  // namespace siftwell
