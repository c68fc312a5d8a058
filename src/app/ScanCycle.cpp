#include "app/ScanCycle.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "app/SearchItemOutcome.h"
#include "base/Log.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kUntilNextTry(10);
constexpr milliseconds kWaitForDownloads(10'500);
constexpr double kSecondsPerDay = 86'400;

double inSeconds(milliseconds time) { return std::chrono::duration<double>(time).count(); }

void deleteFile(const std::string& path) {
    std::error_code error;
    std::filesystem::remove(path, error);
    if (error) writeLog("Cannot delete the file " + path + ": " + error.message());
}

}  // namespace

ScanCycle::ScanCycle(const Surroundings& surroundings)
    : m_surroundings(surroundings),
      m_indexes(surroundings.indexes),
      m_mainLoop(surroundings.mainLoop),
      m_scanSurroundings{
          .indexes = surroundings.indexes,
          .settings = surroundings.settings,
          .clock = surroundings.clock,
          .network = surroundings.network,
          .runningItems = m_runningItems,
          .items = {.indexes = surroundings.indexes,
                    .retriever = surroundings.retriever,
                    .notifier = surroundings.notifier,
                    .makeIndexer = surroundings.makeIndexer,
                    .cacheScans = surroundings.cacheScans,
                    .downloadWait = surroundings.downloadWait},
          .purgeURLCache = [this] { purgeURLCache(); },
          .indexerDone =
              [this](const std::shared_ptr<SearchItemRecord>& record, const SearchItem& stored) {
                  postToMain([this, record, stored] { indexerDone(record, stored); });
              }} {}

ScanCycle::~ScanCycle() { cancelTimer(); }

void ScanCycle::postToMain(std::function<void()> task) {
    m_mainLoop.post([self = std::weak_ptr(m_self), task = std::move(task)] {
        if (!self.expired()) task();
    });
}

// ---- Starting

void ScanCycle::performRescan(Scope scope) {
    cancelTimer();
    if (scope == Scope::Everything) {
        if (!m_indexes.netConnectionAvailable()) {
            // Whoever waits for a scan is not to wait for the network, nor for the user's answer.
            ++m_endedScans;
            m_wasLastComplete = false;
            scheduleRescan();
            if (!std::exchange(m_isNetworkDown, true)) warnAboutNetwork();
            return;
        }
        m_isNetworkDown = false;
    }
    if (m_isScanLocked) {
        m_scopeWaiting = m_scopeWaiting == Scope::Everything ? Scope::Everything : scope;
        startTimer(kUntilNextTry);
        return;
    }
    startScan(scope);
}

void ScanCycle::startScan(Scope scope) {
    m_isScanLocked = true;
    m_scanStart = m_surroundings.clock.now();
    auto run = [this, scope,
                items = m_surroundings.preferences.mutableSearchItemsArray()]() mutable {
        nameThisThread("scan");
        useLowestThreadPriority();
        const auto outcome = IndexingScan(m_scanSurroundings, std::move(items), scope).run();
        postToMain([this, outcome] { scanDone(outcome); });
    };
    try {
        m_thread = std::jthread(std::move(run));
    } catch (const std::system_error& error) {
        writeLog(std::string("No thread for a scan is to be had: ") + error.what());
        scanDone({});
    }
}

void ScanCycle::warnAboutNetwork() {
    Settings& settings = m_surroundings.settings;
    if (settings.boolean("SuppressNetworkWarnings")) return;
    const std::size_t answer = m_surroundings.alerts.ask(
        {.title = _("Siftwell cannot access the Internet"),
         .text = _("In order to build its search index, Siftwell needs to be able to download "
                   "recently visited web pages from the Internet.\n\nYou can still search through "
                   "the pages that Siftwell has already indexed, but no new pages will be added to "
                   "the index until network access has been restored."),
         .buttons = {_("OK"), _("Don't remind me again")}},
        0);
    if (answer == 1) settings.set("SuppressNetworkWarnings", true);
}

void ScanCycle::purgeURLCache() {
    const Date now = m_surroundings.clock.now();
    if (m_cachePurgeDate && now <= *m_cachePurgeDate) return;
    m_cachePurgeDate = now + kSecondsPerDay;
    m_surroundings.emptyURLCache();
}

void ScanCycle::takeInterval() {
    const double minutes = m_surroundings.settings.real("MinutesBetweenScans");
    if (std::exchange(m_minutesBetweenScans, minutes) == minutes || m_isScanLocked) return;
    cancelTimer();
    scheduleRescan();
}

void ScanCycle::scheduleRescan() {
    if (!m_surroundings.isRepeating || m_timer != 0) return;
    const double minutes = m_surroundings.settings.real("MinutesBetweenScans");
    if (!(minutes > 0)) return;
    constexpr double kCentury = 3.2e9;
    const auto interval = static_cast<std::int64_t>(std::min(minutes * 60, kCentury));
    if (interval > 0) startTimer(seconds(interval));
}

void ScanCycle::startTimer(milliseconds delay) {
    cancelTimer();
    m_nextScan = m_surroundings.clock.now() + inSeconds(delay);
    m_timer = m_mainLoop.startTimer(delay, [this] {
        m_timer = 0;
        performRescan(std::exchange(m_scopeWaiting, std::nullopt).value_or(Scope::Everything));
    });
}

void ScanCycle::cancelTimer() {
    if (const RunLoop::TimerID timer = std::exchange(m_timer, 0)) m_mainLoop.cancelTimer(timer);
    m_nextScan.reset();
}

void ScanCycle::willSleep() {
    if (m_timer == 0) return;
    cancelTimer();
    m_wasTimerPendingAtSleep = true;
}

void ScanCycle::didWake() {
    if (std::exchange(m_wasTimerPendingAtSleep, false)) scheduleRescan();
}

// ---- Ending

void ScanCycle::indexerDone(const std::shared_ptr<SearchItemRecord>& record,
                            const SearchItem& stored) {
    if (m_indexes.indexingEnabled()) {
        PrefsController& preferences = m_surroundings.preferences;
        std::vector<SearchItem> items = preferences.mutableSearchItemsArray();
        const auto file = storeOutcome(record->item(), stored, items, m_surroundings.clock.now());
        preferences.setMutableSearchItemsArray(std::move(items));
        preferences.commitSettings();
        if (file) deleteFile(*file);
    }
    m_runningItems.setDone(record);
    m_surroundings.notifier.reportProgressDoneIn(stored.Name, "");
}

void ScanCycle::scanDone(const IndexingScan::Outcome& outcome) {
    if (outcome.start) {
        if (m_indexes.indexingEnabled()) {
            m_surroundings.settings.set("LastIndexScanDate", *outcome.start);
            m_surroundings.centre.post("SiftwellIndexingDoneNotification", {});
        }
        m_surroundings.checkForUpdate();
    }
    m_surroundings.notifier.reportStatus("Idle");
    ++m_endedScans;
    m_wasLastComplete = outcome.isComplete;
    releaseScanLock();
    m_surroundings.cameToRest();
    // Somebody waits for the scan that was put off.
    if (m_scopeWaiting) startTimer(milliseconds(0));
    scheduleRescan();
}

bool ScanCycle::tryTakeScanLock() { return !m_isScanLocked.exchange(true); }

void ScanCycle::releaseScanLock() {
    m_scanStart.reset();
    m_isScanLocked = false;
}

void ScanCycle::cancelDownloads() {
    m_surroundings.retriever.cancelDownloadsForSource(std::nullopt, milliseconds(0));
}

bool ScanCycle::hasIndexingCompleted(milliseconds waited) const {
    if (m_isScanLocked) return false;
    return waited >= kWaitForDownloads || !m_surroundings.retriever.isAtWorkForSource(std::nullopt);
}

bool ScanCycle::stop(milliseconds longest) {
    cancelTimer();
    m_scopeWaiting.reset();
    cancelDownloads();
    const bool isEnded = m_mainLoop.turnUntil([this] { return !m_isScanLocked; }, longest);
    if (!isEnded && m_thread.joinable()) m_thread.detach();
    cancelTimer();
    return isEnded;
}

}  // namespace siftwell
