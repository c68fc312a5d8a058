// MaintenanceCommands: what the user has done to the whole index: emptied, filled anew, made
// smaller, written out, held against the filters, cleaned of pages.
//
// One at a time. A command returns at once. Where it needs the index to itself, it switches
// indexing off, cancels the downloads and waits for a scan that runs; nothing starts another one
// until it ends. Its work is done by a thread while the main loop is served; what comes before and
// after is done on the main thread.
//
// Threads: main.
// Errors: as Status. Busy while another command is under way; what goes wrong later is in the
// state. The index store reports its own errors.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/Driver.h"
#include "app/PrefsController.h"
#include "app/ScanCycle.h"
#include "base/Clock.h"
#include "base/NotificationCentre.h"
#include "base/RunLoop.h"
#include "base/Settings.h"
#include "index/IndexController.h"

namespace siftwell {

class MaintenanceCommands {
public:
    // Outlives the commands.
    struct Surroundings {
        IndexController& indexes;
        ScanCycle& cycle;
        PrefsController& preferences;
        Settings& settings;
        NotificationCentre& centre;
        RunLoop& mainLoop;
        const Clock& clock;
        // How long a scan that was told to end may take; then the command fails.
        std::chrono::milliseconds longestWait = std::chrono::minutes(2);
    };
    explicit MaintenanceCommands(const Surroundings& surroundings);
    ~MaintenanceCommands();

    // Removes every page, and has all sources read from their beginning.
    Status clearIndex();
    // Writes the addresses of all pages to a file, puts that among the sources, and clears the
    // index: the next scan fetches them again. Nothing is cleared when the file cannot be written.
    Status rebuildIndex();
    Status compactIndex();
    // Writes the pages to the file, see IndexController::dumpIndices.
    Status dumpURLs(const std::string& path);
    Status dumpIndex(const std::string& path);  // with the words of each
    // Removes the pages that a filter keeps out by now.
    Status applyFilters();
    // Removes the pages from every index without a trace. Scans go on meanwhile.
    Status eraseFromIndex(const std::vector<std::string>& urls);

    Driver::MaintenanceState state() const;

    // For the end of the program: false when a command does not end within the time. Its thread is
    // then left as it is, and the process must end without destroying what it uses.
    bool stop(std::chrono::milliseconds longest);

private:
    using Work = std::function<Status()>;             // on the thread
    using Then = std::function<void(const Status&)>;  // on the main thread
    enum class Access { Shared, Alone };

    Status begin(Access access, std::function<void()> command);
    Status beginWork(Access access, Work work);
    void waitForScan(std::chrono::milliseconds waited, const std::function<void()>& command);
    void work(Work work, const Then& then);
    void clearThenEnd();
    void resetScanDates();
    void addRebuildItem(const std::string& path);
    void end(const Status& status);
    void enterAlone();
    void giveUpWaiting();

    const Surroundings m_surroundings;
    IndexController& m_indexes;
    NotificationCentre::Observation m_progress;
    Driver::MaintenanceState m_state;
    bool m_isAlone = false;       // indexing was switched off for the command
    bool m_isScanLocked = false;  // and no scan can start
    bool m_isFiltering = false;
    RunLoop::TimerID m_timer = 0;
    // Lets what was posted find out that the object is gone.
    std::shared_ptr<MaintenanceCommands*> m_self = std::make_shared<MaintenanceCommands*>(this);
    std::jthread m_thread;
};

}  // namespace siftwell
