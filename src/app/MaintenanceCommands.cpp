#include "app/MaintenanceCommands.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

#include "base/Log.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kTurn(100);

std::vector<Url> urlsIn(const std::vector<std::string>& texts) {
    std::vector<Url> urls;
    for (const std::string& text : texts) {
        if (auto url = Url::parse(text)) urls.push_back(*std::move(url));
    }
    return urls;
}

// No other process of the user has the index folder, and none before had this number then.
std::string globallyUniqueString(Date now) {
    return filledIn("%d-%d", std::int64_t{getpid()},
                    static_cast<std::int64_t>(now.secondsSinceUnix() * 1000));
}

Status statusOf(const std::function<Status()>& task) {
    try {
        return task();
    } catch (const std::exception& exception) {
        return {StatusCode::Failed, exception.what()};
    }
}

}  // namespace

MaintenanceCommands::MaintenanceCommands(const Surroundings& surroundings)
    : m_surroundings(surroundings),
      m_indexes(surroundings.indexes),
      m_progress(surroundings.centre.observe(
          "SiftwellIndexRebuildProgressNotification",
          [this](const PropertyList& percent) { m_state.percent = percent.asRealLenient(); })) {}

MaintenanceCommands::~MaintenanceCommands() { m_surroundings.mainLoop.cancelTimer(m_timer); }

// ---- The commands

Status MaintenanceCommands::clearIndex() {
    return begin(Access::Alone, [this] { clearThenEnd(); });
}

void MaintenanceCommands::clearThenEnd() {
    work(
        [this] {
            m_indexes.expireOlderThan(Date::distantFuture(), std::nullopt);
            return Status();
        },
        [this](const Status& status) {
            m_surroundings.centre.post("SiftwellStatusRemoveURLNotification", {});
            resetScanDates();
            end(status);
        });
}

void MaintenanceCommands::resetScanDates() {
    PrefsController& preferences = m_surroundings.preferences;
    m_surroundings.settings.set("LastIndexScanDate", Date::distantPast());
    std::vector<SearchItem> items = preferences.mutableSearchItemsArray();
    for (SearchItem& item : items) item.LastScanDate = Date::distantPast();
    preferences.setMutableSearchItemsArray(std::move(items));
    preferences.commitSettings();
}

Status MaintenanceCommands::rebuildIndex() {
    const auto& folder = m_indexes.indexFolder();
    if (!folder) return {StatusCode::NotFound, _("There is no index folder.")};
    const std::string path =
        *folder + "/" + globallyUniqueString(m_surroundings.clock.now()) + ".html";
    return begin(Access::Alone, [this, path] {
        work([this, path] { return m_indexes.dumpIndices(path, false); },
             [this, path](const Status& status) {
                 if (!status.isOk()) return end(status);
                 addRebuildItem(path);
                 clearThenEnd();
             });
    });
}

void MaintenanceCommands::addRebuildItem(const std::string& path) {
    m_surroundings.preferences.mutableSearchItemsArray().push_back(
        {.Name = _("Index Rebuild Data"),
         .Index = true,
         .IndexOnce = true,
         .Search = true,
         .Expire = false,
         .LastScanDate = Date::distantPast(),
         .Path = path,
         .Indexer = "URLExtractor",
         .UserItem = true,
         .Delete = true,
         .CreationDate = m_surroundings.clock.now()});
    m_surroundings.preferences.commitSettings();
}

Status MaintenanceCommands::compactIndex() {
    return beginWork(Access::Alone, [this] {
        m_indexes.compactIndex();
        return Status();
    });
}

Status MaintenanceCommands::dumpURLs(const std::string& path) {
    return beginWork(Access::Alone, [this, path] { return m_indexes.dumpIndices(path, false); });
}

Status MaintenanceCommands::dumpIndex(const std::string& path) {
    return beginWork(Access::Alone, [this, path] { return m_indexes.dumpIndices(path, true); });
}

Status MaintenanceCommands::applyFilters() {
    const auto count = std::make_shared<std::size_t>(0);
    return begin(Access::Alone, [this, count] {
        m_isFiltering = true;
        work(
            [this, count] {
                *count = m_indexes.filterDocuments();
                return Status();
            },
            [this, count](const Status& status) {
                m_state.removedCount = *count;
                end(status);
            });
    });
}

Status MaintenanceCommands::eraseFromIndex(const std::vector<std::string>& urls) {
    const auto removed = std::make_shared<std::vector<Url>>();
    return begin(Access::Shared, [this, urls, removed] {
        work(
            [this, urls, removed] {
                *removed = m_indexes.eraseURLs(urlsIn(urls));
                return Status();
            },
            [this, removed](const Status& status) {
                m_state.removedCount = removed->size();
                for (const Url& url : *removed) m_state.removed.push_back(url.absoluteString());
                end(status);
            });
    });
}

// ---- What they have in common

Status MaintenanceCommands::begin(Access access, std::function<void()> command) {
    if (m_state.isRunning) {
        return {StatusCode::Busy,
                _("The index is being worked on already. Please wait until that has finished.")};
    }
    m_state = {.isRunning = true, .ended = m_state.ended};
    m_surroundings.mainLoop.post(
        [this, self = std::weak_ptr(m_self), access, command = std::move(command)] {
            if (self.expired()) return;
            if (access == Access::Shared) return command();
            enterAlone();
            waitForScan(milliseconds(0), command);
        });
    return {};
}

Status MaintenanceCommands::beginWork(Access access, Work task) {
    return begin(access, [this, task = std::move(task)] {
        work(task, [this](const Status& status) { end(status); });
    });
}

// The search has to go first: it holds the priority, and the scan would wait for that for ever.
void MaintenanceCommands::enterAlone() {
    m_isAlone = true;
    m_indexes.disableIndexing();
    m_indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));
    m_surroundings.cycle.cancelDownloads();
}

void MaintenanceCommands::waitForScan(milliseconds waited, const std::function<void()>& command) {
    m_timer = 0;
    ScanCycle& cycle = m_surroundings.cycle;
    if (cycle.hasIndexingCompleted(waited) && cycle.tryTakeScanLock()) {
        m_isScanLocked = true;
        return command();
    }
    if (waited >= m_surroundings.longestWait) {
        return end({StatusCode::Busy,
                    _("A source that is being read does not come to its end. Please try again "
                      "later, or quit Siftwell and start it anew.")});
    }
    m_timer = m_surroundings.mainLoop.startTimer(
        kTurn, [this, waited, command] { waitForScan(waited + kTurn, command); });
}

void MaintenanceCommands::work(Work task, const Then& then) {
    auto run = [this, task = std::move(task), then, self = std::weak_ptr(m_self)] {
        nameThisThread("maintenance");
        const Status status = statusOf(task);
        m_surroundings.mainLoop.post([self, status, then] {
            if (!self.expired()) then(status);
        });
    };
    try {
        m_thread = std::jthread(std::move(run));
    } catch (const std::system_error& error) {
        end({StatusCode::Failed, error.what()});
    }
}

void MaintenanceCommands::end(const Status& status) {
    if (std::exchange(m_isScanLocked, false)) m_surroundings.cycle.releaseScanLock();
    if (std::exchange(m_isAlone, false)) m_indexes.enableIndexing();
    m_isFiltering = false;
    m_state.isRunning = false;
    m_state.percent.reset();
    m_state.result = status;
    ++m_state.ended;
}

Driver::MaintenanceState MaintenanceCommands::state() const {
    Driver::MaintenanceState state = m_state;
    // The pass counts what it has kept as pending.
    const auto documents = static_cast<double>(m_indexes.documentCount());
    if (m_isFiltering && documents > 0) {
        state.percent = std::min(
            100.0, 100 * static_cast<double>(m_indexes.pendingDocumentCount()) / documents);
    }
    return state;
}

bool MaintenanceCommands::stop(milliseconds longest) {
    const auto isOver = [this] {
        if (m_timer != 0) giveUpWaiting();
        return !m_state.isRunning;
    };
    const bool isEnded = m_surroundings.mainLoop.turnUntil(isOver, longest);
    if (!isEnded && m_thread.joinable()) m_thread.detach();
    return isEnded;
}

void MaintenanceCommands::giveUpWaiting() {
    m_surroundings.mainLoop.cancelTimer(std::exchange(m_timer, 0));
    end({StatusCode::Busy, _("Siftwell ends.")});
}

}  // namespace siftwell
