// ScanCycle: the heartbeat of the program: when scans happen, and what becomes of them.
//
// Idle with a timer, scanning, idle again. A scan that is due while one runs is tried again ten
// seconds later; without a network the next try comes after one interval. Asleep, no timer runs.
//
// Threads: main, where nothing else is said. A scan has a thread, and each of its items another.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "app/Driver.h"
#include "app/IndexingScan.h"
#include "app/NetworkActivity.h"
#include "app/PrefsController.h"
#include "app/RunningItems.h"
#include "base/Alerts.h"
#include "base/Clock.h"
#include "base/NotificationCentre.h"
#include "base/RunLoop.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "index/IndexController.h"
#include "retrieval/DocumentRetriever.h"

namespace siftwell {

class ScanCycle {
public:
    using Scope = Driver::ScanScope;

    // Outlives the cycle.
    struct Surroundings {
        IndexController& indexes;
        DocumentRetriever& retriever;
        SWNotifier& notifier;
        NotificationCentre& centre;
        Settings& settings;
        PrefsController& preferences;
        RunLoop& mainLoop;
        const Clock& clock;
        Alerts& alerts;
        NetworkActivity& network;
        IndexerFactory makeIndexer;
        CacheScans& cacheScans;                // that its indexers wait for
        std::function<void()> checkForUpdate;  // after each complete scan
        std::function<void()> cameToRest;      // after each scan, whatever came of it
        std::function<void()> emptyURLCache;   // at most once a day
        std::chrono::milliseconds downloadWait = std::chrono::seconds(1);  // see ItemScan
        bool isRepeating = true;  // whether a scan is followed by others
    };
    explicit ScanCycle(const Surroundings& surroundings);
    ~ScanCycle();

    // The time between scans may be another now: the next one begins by it.
    void takeInterval();

    // ---- Starting

    void indexNow() { performRescan(Scope::Everything); }
    void performRescan(Scope scope);
    // One timer, unless one runs already or the user wants no further scans.
    void scheduleRescan();
    void startTimer(std::chrono::milliseconds delay);  // in the place of one that runs

    void willSleep();
    void didWake();

    // ---- Waiting and stopping

    bool indexerRunning() const { return m_isScanLocked; }  // or the lock is held; any thread
    // Nothing starts a scan while the lock is held; false while one runs.
    bool tryTakeScanLock();
    void releaseScanLock();
    // Cancels all downloads, so that a scan that runs comes to its end.
    void cancelDownloads();
    // Whether that has happened, so long after it was wished for, and nobody holds the lock. What
    // is still being fetched after ten seconds is not waited for.
    bool hasIndexingCompleted(std::chrono::milliseconds waited) const;
    // For the end of the program, with indexing switched off: false when a scan does not end within
    // the time. Its threads are then left as they are, and the process must end without destroying
    // what they use.
    bool stop(std::chrono::milliseconds longest);

    // ---- What is going on

    const RunningItems& runningItems() const { return m_runningItems; }
    std::uint64_t endedScans() const { return m_endedScans; }
    bool wasLastScanComplete() const { return m_wasLastComplete; }
    bool isNetworkDown() const { return m_isNetworkDown; }
    std::optional<Date> scanStart() const { return m_scanStart; }  // of the scan that runs
    std::optional<Date> nextScan() const { return m_nextScan; }    // of the timer

private:
    void startScan(Scope scope);
    void warnAboutNetwork();
    void purgeURLCache();
    void indexerDone(const std::shared_ptr<SearchItemRecord>& record, const SearchItem& stored);
    void scanDone(const IndexingScan::Outcome& outcome);
    void postToMain(std::function<void()> task);
    void cancelTimer();

    const Surroundings m_surroundings;
    IndexController& m_indexes;
    RunLoop& m_mainLoop;
    RunningItems m_runningItems;
    IndexingScan::Surroundings m_scanSurroundings;

    std::atomic<bool> m_isScanLocked = false;  // changed on the main thread alone
    RunLoop::TimerID m_timer = 0;
    std::optional<Date> m_nextScan;
    std::optional<Scope> m_scopeWaiting;  // of a scan that was put off because another one ran
    std::optional<Date> m_scanStart;
    bool m_isNetworkDown = false;
    double m_minutesBetweenScans = m_surroundings.settings.real("MinutesBetweenScans");
    bool m_wasTimerPendingAtSleep = false;
    std::uint64_t m_endedScans = 0;
    bool m_wasLastComplete = false;
    std::optional<Date> m_cachePurgeDate;  // scan thread

    // Lets what was posted find out that the cycle is gone.
    std::shared_ptr<ScanCycle*> m_self = std::make_shared<ScanCycle*>(this);
    std::jthread m_thread;
};

}  // namespace siftwell
