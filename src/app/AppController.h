// AppController: the driver of the program, the one door to what it does by itself and on command.
//
// It is made first and goes last. Sources are scanned by ScanCycle, edited by PreferenceCommands;
// this class wires them to the session's index store and retriever, and listens to what concerns
// all of them.
//
// Threads: main, except runningSearchItemForProcess.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/Driver.h"
#include "app/ErrorLog.h"
#include "app/MaintenanceCommands.h"
#include "app/NetworkActivity.h"
#include "app/PageRemoval.h"
#include "app/PreferenceCommands.h"
#include "app/ProgramWindows.h"
#include "app/ScanCycle.h"
#include "app/Session.h"
#include "app/SleepWatch.h"
#include "app/update/VLUpdater.h"
#include "base/Alerts.h"
#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class AppController : public Driver {
public:
    // Outlives the controller.
    struct Surroundings {
        Session& session;  // open for writing
        Alerts& alerts;
        bool isResident = false;  // scans again and again; otherwise only when it is told to
        SleepWatch* sleepWatch = nullptr;
        std::function<void()> quit;    // ends the program in a later turn
        IndexerFactory makeIndexer{};  // the program's own when empty
    };

    explicit AppController(const Surroundings& surroundings);
    ~AppController() override;

    // A resident program's first scans: of the local sources at once when nothing was ever
    // scanned, of everything after "StartupIndexingDelay" seconds.
    void applicationDidFinishLaunching();
    // Somebody waits for the first scan: it reads everything, and at once. Before the launch is
    // finished.
    void awaitFirstScan() { m_isFirstScanAwaited = true; }
    // Serves the main loop until the indexes are loaded.
    void waitUntilIndexingIsEnabled();
    // Stops indexing, ends the current search and writes what was added. False when a scan hangs:
    // then the process must end without destroying anything.
    bool applicationWillTerminate();

    // Settings are edited between these two. The second one ends the current search and cancels the
    // downloads, and returns at once; the third one tells, so long after that, whether no scan runs
    // any more and no command is at work.
    void enableIndexing();
    void disableIndexing();
    bool hasIndexingCompleted(std::chrono::milliseconds waited) const;

    // The windows of a program that has some; null when they go.
    void setWindows(ProgramWindows* windows) { m_windows = windows; }

    // Each as by addToIndex, stored and told together; a scan begins when one of them asks for it.
    std::vector<Status> addAllToIndex(const std::vector<Addition>& additions);
    // As removeFromIndex, and returns at once: the pages go in a moment.
    void removePages(const std::vector<std::string>& urls) { m_removal.remove(urls, {}); }

    // Every source, or without a network those of this computer.
    void scanWhatIsInReach();

    // Whether this copy knows where to look for newer versions.
    bool canCheckForUpdate() const { return m_updater.canCheck(); }
    // Looks at once. What is found is told by "SiftwellUpdateAvailableNotification", and to who
    // asked.
    void checkForUpdate(VLUpdater::Told told = {}) { m_updater.checkNow(std::move(told)); }

    // What reads the sources, for whoever wants a page's bytes from one. Any thread.
    const IndexerFactory& indexerFactory() const { return m_makeIndexer; }

    std::optional<SearchItem> runningSearchItemForProcess(const std::string& processName) const;

    Status startScan(ScanScope scope) override;
    Result<ScanState> scanState() override;
    Status addToIndex(const Addition& addition) override;
    Status addMissingItems(const std::vector<SearchItem>& items) override;
    Result<std::size_t> removeFromIndex(const std::vector<std::string>& urls) override;
    Status clearIndex() override;
    Status rebuildIndex() override;
    Status compactIndex() override;
    Status dumpURLs(const std::string& path) override;
    Status dumpIndex(const std::string& path) override;
    Status applyFilters() override;
    Status eraseFromIndex(const std::vector<std::string>& urls) override;
    Result<MaintenanceState> maintenanceState() override;
    Status setSearchItemValue(const std::string& name, const std::string& key,
                              const PropertyList& value) override;
    Status deleteSearchItem(const std::string& name) override;
    Status resetScanDate(const std::string& name) override;
    Status addURLFilter(const std::string& text) override;
    Status deleteURLFilter(const std::string& text) override;
    Status resetURLFilters() override;
    Status setSetting(const std::string& key, const PropertyList& value) override;
    Status removeSetting(const std::string& key) override;
    Result<PropertyList::Dictionary> status() override;
    Status searchService(const std::string& text) override;
    Status showWindow() override;
    Status toggleWindow() override;
    Status quit() override;

private:
    void observe();
    void handleLoaderDone();
    void handlePreferenceChange();
    void warnAboutOldFormat();
    void startFirstScan();
    void startStartUpTimer();
    IndexerFactory ownIndexers();
    Result<SearchItem> searchItemFor(const Addition& addition);

    const Surroundings m_surroundings;
    Session& m_session;
    RunLoop& m_mainLoop;
    std::vector<NotificationCentre::Observation> m_observations;
    ErrorLog m_errorLog;
    IndexController& m_indexes;
    DocumentRetriever& m_retriever;
    IndexerLocks m_indexerLocks;
    const IndexerFactory m_makeIndexer;
    ProgramWindows* m_windows = nullptr;
    NetworkActivity m_network;
    VLUpdater m_updater;
    PreferenceCommands m_preferences;
    ScanCycle m_cycle;
    MaintenanceCommands m_maintenance;
    PageRemoval m_removal;
    bool m_isLoaderDone = false;
    bool m_isFirstScanDue = false;
    bool m_isFirstScanAwaited = false;
};

struct ProgramEnd {
    Status status;  // the first error
    // A scan hangs: what was added is written, but the objects are left to its threads. The process
    // has to end, by _exit, before anything that they use is destroyed.
    bool areThreadsLeft = false;
};

// Ends both, the controller first.
ProgramEnd closeProgram(std::unique_ptr<AppController>& controller,
                        std::unique_ptr<Session>& session);

}  // namespace siftwell
