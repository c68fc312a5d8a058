#include "indexers/SiftwellIndexer.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/Exception.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "sources/PathExpansion.h"
#include "text/Ascii.h"

namespace siftwell {

SiftwellIndexer::SiftwellIndexer(const Surroundings& surroundings,
                                 std::shared_ptr<SearchItemRecord> searchItem,
                                 std::string className)
    : m_surroundings(surroundings),
      m_searchItem(std::move(searchItem)),
      m_className(std::move(className)),
      m_name(m_searchItem->item().Name),
      m_isReadable(surroundings.settings) {}

void SiftwellIndexer::performIndexingScan() { setIndexingScanResult(scanResult::kSuccess); }

std::optional<CachedData> SiftwellIndexer::dataFromCache(const std::string&) {
    return std::nullopt;
}

const std::shared_ptr<SearchItemRecord>& SiftwellIndexer::searchItem() {
    m_cachedLastScanDate.reset();
    m_cachedLastURLDate.reset();
    return m_searchItem;
}

int SiftwellIndexer::indexingScanResult() const {
    return m_searchItem->item().ScanResult.value_or(0);
}

int SiftwellIndexer::setIndexingScanResult(int result) {
    m_searchItem->change([result](SearchItem& item) { item.ScanResult = result; });
    return result;
}

void SiftwellIndexer::setScanResultOfWholeScan() {
    setIndexingScanResult(indexingEnabled() ? scanResult::kSuccess : scanResult::kFailure);
}

std::vector<std::string> SiftwellIndexer::paths() const {
    std::string path = m_searchItem->item().Path;
    if (path.empty()) throw NamedException("InvalidPath", _("The path name was empty."));
    if (const auto url = Url::parse(path)) {
        const std::string scheme = lowerCasedAscii(url->scheme());
        if (scheme == "file") {
            path = url->path().value_or("");
        } else if (!scheme.empty() && scheme != "http" && scheme != "https" &&
                   !(scheme == "feed" && m_className == "SingleURL")) {
            throw NamedException("InvalidPath", filledIn(_("The %@ indexer cannot handle %@ URLs."),
                                                         m_className, url->scheme()));
        }
    }
    std::vector<std::string> found = pathsByExpandingAndGlobbing(path, m_surroundings.paths);
    for (const std::string& each : found) {
        if (fileInfo(each)) continue;
        throw NamedException("InvalidPath", filledIn(_("The path \"%@\" does not exist."), each));
    }
    return found;
}

std::vector<Url> SiftwellIndexer::URLs() const {
    const std::vector<std::string> found = paths();
    if (auto url = Url::parse(m_searchItem->item().Path)) return {*std::move(url)};
    std::vector<Url> urls;
    urls.reserve(found.size());
    for (const std::string& path : found) urls.push_back(Url::fromFilePath(path));
    return urls;
}

Date SiftwellIndexer::lastScanDate() const {
    if (!m_cachedLastScanDate) m_cachedLastScanDate = m_searchItem->item().LastScanDate;
    return m_cachedLastScanDate.value_or(Date::distantPast());
}

void SiftwellIndexer::setLastScanDate(std::optional<Date> date) {
    if (date) m_searchItem->change([&](SearchItem& item) { item.LastScanDate = date; });
    m_cachedLastScanDate = date;
}

Date SiftwellIndexer::lastURLDate() const {
    if (!m_cachedLastURLDate) m_cachedLastURLDate = m_searchItem->item().LastURLDate;
    return std::min(m_cachedLastURLDate.value_or(Date::distantPast()), lastScanDate());
}

void SiftwellIndexer::setLastURLDate(std::optional<Date> date) {
    if (date) m_searchItem->change([&](SearchItem& item) { item.LastURLDate = date; });
    m_cachedLastURLDate = date;
}

void SiftwellIndexer::indexURL(const Url& url, std::optional<Date> date,
                               std::optional<std::string> title, const std::string& source,
                               const std::string& indexer) {
    m_surroundings.retriever.indexDocument(url, date, std::move(title), source, indexer);
}

void SiftwellIndexer::indexURL(const Url& url, std::optional<Date> date) {
    indexURL(url, date, "", m_name, m_className);
}

bool SiftwellIndexer::indexObject(const CachedObject& object, std::optional<Date> date,
                                  const std::string& objectPath) {
    return m_surroundings.retriever.indexEncodedObject(object, date, m_name, m_className,
                                                       objectPath);
}

Date SiftwellIndexer::indexURLAndDateArray(const std::vector<BatchEntry>& entries) {
    waitForCachesOfThisScan();
    Date newest = lastURLDate();
    reportProgressStarting(entries.size());
    for (const BatchEntry& entry : entries) {
        if (!indexingEnabled()) break;
        yieldForPriorityThread();
        reportStatus();
        indexURL(entry.url, entry.date, entry.title.value_or(""), entry.source.value_or(m_name),
                 entry.indexer.value_or(m_className));
        if (entry.date) newest = std::max(newest, *entry.date);
    }
    return newest;
}

void SiftwellIndexer::waitForCachesOfThisScan() {
    constexpr std::chrono::milliseconds kBetweenLooks(500);
    while (indexingEnabled() && !m_surroundings.locks.cacheScans.waitUntilNone(kBetweenLooks)) {
    }
}

void SiftwellIndexer::waitForRoom() {
    constexpr std::size_t kMostWaiting = 5000;  // documents
    constexpr std::chrono::milliseconds kBetweenLooks(100);
    DocumentRetriever& retriever = m_surroundings.retriever;
    while (indexingEnabled() && retriever.waitingDocuments(m_name) > kMostWaiting) {
        retriever.waitForDownloadsForSource(m_name, kBetweenLooks);
    }
}

void SiftwellIndexer::reportStopped(const std::string& what, const std::string& reason) {
    m_surroundings.notifier.reportError(
        filledIn(_("%@ indexer stopped.  %@ : %@"), m_className, what, reason), 5, "",
        _("This index scan will be retried next time."));
}

void SiftwellIndexer::reportStopped(const NamedException& exception) {
    writeLog(
        filledIn("Exception: %@ : %@ : %@", m_className, exception.name(), exception.reason()));
    reportStopped(exception.name(), exception.reason());
}

SiftwellIndexer::Hold SiftwellIndexer::lockDirectory() {
    reportProgress("Waiting...");
    auto hold = std::make_unique<GateHold>(m_surroundings.locks.currentDirectoryLock);
    reportProgressDone("Waiting...");
    return hold;
}

SiftwellIndexer::Hold SiftwellIndexer::beginCacheIndexing() {
    return std::make_unique<GateHold>(m_surroundings.locks.cacheLock);
}

// Asked before each of many thousand entries: only a wait that there is is worth telling.
void SiftwellIndexer::waitForCacheIndexing() {
    IndexerLocks& locks = m_surroundings.locks;
    const bool isNoneUnderWay = locks.cacheScans.waitUntilNone(std::chrono::milliseconds(0));
    if (isNoneUnderWay && !locks.cacheLock.isHeld()) return;
    reportProgress("Waiting...");
    waitForCachesOfThisScan();
    locks.cacheLock.passThrough();
    reportProgressDone("Waiting...");
}

void SiftwellIndexer::reportProgress(const std::string& message) {
    m_surroundings.notifier.reportProgressIn(m_name, message);
}

void SiftwellIndexer::reportProgressDone(const std::string& message) {
    m_surroundings.notifier.reportProgressDoneIn(m_name, message);
}

void SiftwellIndexer::reportProgressStarting(std::size_t documents) {
    constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
    m_surroundings.notifier.reportProgressStartingIn(
        m_name, static_cast<std::int32_t>(std::min(documents, kMost)));
}

}  // namespace siftwell
