#include "indexers/SafariHistory.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Files.h"
#include "base/Log.h"
#include "sources/browsers/BrowserRows.h"
#include "sources/safari/SafariDatabase.h"
#include "sources/safari/SafariHistoryDatabase.h"
#include "sources/safari/WebHistory.h"

namespace siftwell {

namespace {

// So many are handed over at once, since histories are longer than what should be in memory.
constexpr std::size_t kMostFound = 1000;

bool isPropertyList(const std::string& path) {
    return pathExtension(path) == "plist" || lastPathComponent(path) == "iCab 4 History";
}

class CopyRemover {
public:
    explicit CopyRemover(std::string path) : m_path(std::move(path)) {}
    ~CopyRemover() { SiftwellIndexer::deleteCopyOfSQLiteDatabaseFileAtPath(m_path); }
    CopyRemover(const CopyRemover&) = delete;
    CopyRemover& operator=(const CopyRemover&) = delete;

private:
    const std::string m_path;
};

}  // namespace

SafariHistory::SafariHistory(const Surroundings& surroundings,
                             std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "SafariHistory") {}

void SafariHistory::performIndexingScan() {
    const std::vector<std::string> found = paths();
    // As it was before a property list beside the database moves it.
    const Date lastScan = lastScanDate();
    const std::vector<std::string> changed = parsableFilesAtPaths(found);
    m_newerThan = m_newest = lastURLDate();
    for (const std::string& path : changed) {
        if (!indexingEnabled()) break;
        waitForCacheIndexing();
        if (isPropertyList(path)) readPropertyList(path);
    }
    for (const std::string& path : found) {
        if (!indexingEnabled()) break;
        waitForCacheIndexing();
        if (pathExtension(path) == "db") readDatabase(path, lastScan);
    }
    handOver();
    setLastURLDate(m_newest);
    setScanResultOfWholeScan();
}

void SafariHistory::readPropertyList(const std::string& path) {
    const auto bytes = bytesOfFile(path);
    if (!bytes) return;
    const Date modified = modificationDateOfFileAtPath(path);
    const Status status = readWebHistory(*bytes, [&](const BrowserEntry& page) {
        waitForCacheIndexing();
        return take(page.url, page.date.value_or(modified));
    });
    if (!status.isOk()) writeLog(path + ": " + status.message());
}

void SafariHistory::readDatabase(const std::string& path, Date laterThan) {
    const std::string copy = copyOfSQLiteDatabaseFileAtPath(path);
    auto database = PLSqliteDatabase::databaseWithPath(copy);
    // Then the copy is left to removeLeftOverCopies().
    if (!database->openWithFlags(PLSqliteDatabase::kReadOnly)) return;
    const CopyRemover remover(copy);
    readCopy(std::exchange(database, nullptr), laterThan);
}

void SafariHistory::readCopy(const std::shared_ptr<PLSqliteDatabase>& copy, Date laterThan) {
    try {
        copy->confine(kSafariDatabaseTime);
        readSafariVisits(*copy, thresholdText(laterThan, m_surroundings.clock.now()),
                         [this](const BrowserEntry& visit) {
                             return take(visit.url, visit.date.value_or(Date::distantPast()));
                         });
    } catch (const NamedException& exception) {
        reportStopped(exception);
    }
}

bool SafariHistory::take(std::string_view address, Date visited) {
    if (!indexingEnabled()) return false;
    yieldForPriorityThread();
    if (!std::isfinite(visited.secondsSinceReference()) || visited <= m_newerThan) return true;
    auto url = isTakenAddress(address) ? Url::parse(address) : std::nullopt;
    if (!url || !m_surroundings.indexes.canProcessURL(*url)) return true;
    m_found.push_back({.url = *std::move(url), .date = visited});
    if (m_found.size() >= kMostFound) handOver();
    return true;
}

void SafariHistory::handOver() {
    waitForCacheIndexing();
    waitForRoom();
    m_newest = std::max(m_newest, indexURLAndDateArray(m_found));
    m_found.clear();
}

}  // namespace siftwell
