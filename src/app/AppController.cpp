#include "app/AppController.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <variant>

#include "app/IndexAddition.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Memory.h"
#include "base/Translate.h"
#include "indexers/Indexers.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kTimeToEnd(1000);
constexpr std::chrono::milliseconds kTimeToRemove(5000);  // it was asked for, and would be lost

Status noWindows() {
    return {StatusCode::Failed,
            _("The running copy of Siftwell has no windows. End it with siftwell quit, then start "
              "siftwell-gui.")};
}

}  // namespace

AppController::AppController(const Surroundings& surroundings)
    : m_surroundings(surroundings),
      m_session(surroundings.session),
      m_mainLoop(m_session.mainLoop()),
      m_errorLog(m_session.centre(), m_session.paths().stateFolder),
      m_indexes(m_session.indexes()),
      m_retriever(m_session.retriever()),
      m_makeIndexer(surroundings.makeIndexer ? surroundings.makeIndexer : ownIndexers()),
      m_network(m_session.clock()),
      m_updater({.settings = m_session.settings(),
                 .centre = m_session.centre(),
                 .mainLoop = m_mainLoop,
                 .clock = m_session.clock(),
                 .loader = m_session.network()},
                SIFTWELL_UPDATE_FEED),
      m_preferences(m_session.settings(), m_session.preferences(), m_session.centre()),
      m_cycle({.indexes = m_indexes,
               .retriever = m_retriever,
               .notifier = m_session.notifier(),
               .centre = m_session.centre(),
               .settings = m_session.settings(),
               .preferences = m_session.preferences(),
               .mainLoop = m_mainLoop,
               .clock = m_session.clock(),
               .alerts = surroundings.alerts,
               .network = m_network,
               .makeIndexer = m_makeIndexer,
               .cacheScans = m_indexerLocks.cacheScans,
               // A command ends before an answer comes.
               .checkForUpdate =
                   [this] {
                       if (m_surroundings.isResident) m_updater.checkForUpdate();
                   },
               .cameToRest = &returnFreeMemory,
               .emptyURLCache = [] {},  // there is none: previews keep nothing
               .isRepeating = surroundings.isResident}),
      m_maintenance({.indexes = m_indexes,
                     .cycle = m_cycle,
                     .preferences = m_session.preferences(),
                     .settings = m_session.settings(),
                     .centre = m_session.centre(),
                     .mainLoop = m_mainLoop,
                     .clock = m_session.clock()}),
      m_removal(m_indexes, m_mainLoop) {
    m_updater.configure("SW", SIFTWELL_VERSION);
    observe();
    if (m_surroundings.sleepWatch != nullptr) {
        m_surroundings.sleepWatch->setHandlers({.willSleep = [this] { m_cycle.willSleep(); },
                                                .didWake = [this] { m_cycle.didWake(); }});
    }
}

AppController::~AppController() {
    if (m_surroundings.sleepWatch != nullptr) m_surroundings.sleepWatch->setHandlers({});
}

IndexerFactory AppController::ownIndexers() {
    return [this](const std::string& className, std::shared_ptr<SearchItemRecord> item) {
        return makeIndexer(className,
                           {.indexes = m_indexes,
                            .retriever = m_retriever,
                            .notifier = m_session.notifier(),
                            .settings = m_session.settings(),
                            .paths = m_session.paths(),
                            .clock = m_session.clock(),
                            .locks = m_indexerLocks},
                           std::move(item));
    };
}

// ---- What the program is told

void AppController::observe() {
    NotificationCentre& centre = m_session.centre();
    m_observations.push_back(centre.observe(
        "SiftwellIndexerProgressDoneNotification", [this](const PropertyList& progress) {
            const auto* dictionary = progress.asDictionary();
            if (dictionary != nullptr && stringFor(*dictionary, "source") == "Loader") {
                handleLoaderDone();
            }
        }));
    m_observations.push_back(
        centre.observe("SiftwellPreferenceChangeNotification",
                       [this](const PropertyList&) { handlePreferenceChange(); }));
    handlePreferenceChange();
}

void AppController::handleLoaderDone() {
    if (std::exchange(m_isLoaderDone, true)) return;
    m_session.notifier().reportStatus("Idle");
    m_indexes.enableIndexing();
    warnAboutOldFormat();
    if (std::exchange(m_isFirstScanDue, false)) startFirstScan();
}

void AppController::warnAboutOldFormat() {
    Settings& settings = m_session.settings();
    if (m_indexes.indexFormat() != 1 || settings.boolean("IndexFormatWarningShown")) return;
    m_surroundings.alerts.ask(
        {.title = _("Your index is in an old format."),
         .text = _("Siftwell will work with your index as it is, but will run more efficiently if "
                   "you rebuild it.  You can do this whenever it's convenient by selecting Index "
                   "Status from the Window menu, then pressing the \"Rebuild index\" button."),
         .buttons = {_("OK")}},
        0);
    settings.set("IndexFormatWarningShown", true);
}

void AppController::handlePreferenceChange() {
    m_updater.autoConfigure();
    m_cycle.takeInterval();
}

// ---- Start and end

void AppController::applicationDidFinishLaunching() {
    Settings& settings = m_session.settings();
    settings.set(m_windows != nullptr ? "FirstRunExplanationShown" : "BrowsersTold", true);
    const auto lastScan = settings.date("LastIndexScanDate");
    const bool isFirstScan = !lastScan || *lastScan <= Date::distantPast();
    if (isFirstScan && m_isLoaderDone) {
        startFirstScan();
    } else {
        m_isFirstScanDue = isFirstScan;
        startStartUpTimer();
    }
}

void AppController::scanWhatIsInReach() {
    m_cycle.performRescan(m_indexes.netConnectionAvailable() ? ScanScope::Everything
                                                             : ScanScope::LocalSources);
}

// Nobody should have to wait a minute for the help pages.
void AppController::startFirstScan() {
    if (m_isFirstScanAwaited && m_indexes.netConnectionAvailable()) {
        m_cycle.performRescan(ScanScope::Everything);
        return;
    }
    m_cycle.performRescan(ScanScope::LocalSources);
    startStartUpTimer();
}

void AppController::startStartUpTimer() {
    constexpr std::int64_t kDay = 86'400;
    m_cycle.startTimer(std::chrono::seconds(
        std::clamp<std::int64_t>(m_session.settings().integer("StartupIndexingDelay"), 0, kDay)));
}

void AppController::waitUntilIndexingIsEnabled() {
    m_mainLoop.turnUntil([this] { return m_indexes.indexingEnabled(); }, std::chrono::hours(24));
}

bool AppController::applicationWillTerminate() {
    m_indexes.disableIndexing();
    m_indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));
    m_session.stopExtracting();
    const bool isRemovalEnded = m_removal.stop(kTimeToRemove);
    const bool isMaintenanceEnded = isRemovalEnded && m_maintenance.stop(kTimeToEnd);
    const bool isScanEnded = isMaintenanceEnded && m_cycle.stop(kTimeToEnd);
    m_indexes.flush();
    return isScanEnded;
}

void AppController::enableIndexing() { m_indexes.enableIndexing(); }

// The search has to go first: it holds the priority, and the scan would wait for that for ever.
void AppController::disableIndexing() {
    m_indexes.disableIndexing();
    m_indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));
    m_cycle.cancelDownloads();
}

bool AppController::hasIndexingCompleted(std::chrono::milliseconds waited) const {
    return !m_maintenance.state().isRunning && m_cycle.hasIndexingCompleted(waited);
}

// ---- Scans

Status AppController::startScan(ScanScope scope) {
    if (scope == ScanScope::Everything && !m_indexes.netConnectionAvailable()) {
        return {StatusCode::NotFound, _("Siftwell cannot access the Internet")};
    }
    m_cycle.performRescan(scope);
    return {};
}

Result<Driver::ScanState> AppController::scanState() {
    return ScanState{.isScanning = m_cycle.scanStart().has_value(),
                     .isLoading = m_retriever.isAtWorkForSource(std::nullopt),
                     .ended = m_cycle.endedScans(),
                     .wasLastComplete = m_cycle.wasLastScanComplete(),
                     .pendingDocuments = m_indexes.pendingDocumentCount(),
                     .finishedDocuments = m_retriever.finishedDocuments(),
                     .documents = m_indexes.documentCount()};
}

std::optional<SearchItem> AppController::runningSearchItemForProcess(
    const std::string& processName) const {
    return m_cycle.runningItems().itemForProcess(processName);
}

// ---- What is indexed

Status AppController::addToIndex(const Addition& addition) {
    return addAllToIndex({addition}).front();
}

std::vector<Status> AppController::addAllToIndex(const std::vector<Addition>& additions) {
    std::vector<Status> statuses;
    std::vector<SearchItem> items;
    bool isScanStarted = false;
    for (const Addition& addition : additions) {
        auto item = searchItemFor(addition);
        statuses.push_back(item.status());
        if (!item) continue;
        items.push_back(*std::move(item));
        isScanStarted = isScanStarted || addition.isScanStarted;
    }
    if (items.empty()) return statuses;
    m_preferences.addSearchItems(items);
    if (isScanStarted) {
        const bool isLocal = std::all_of(items.begin(), items.end(), worksWithoutNetwork);
        m_cycle.performRescan(isLocal && !m_indexes.netConnectionAvailable()
                                  ? ScanScope::LocalSources
                                  : ScanScope::Everything);
    }
    return statuses;
}

Result<SearchItem> AppController::searchItemFor(const Addition& addition) {
    AdditionOutcome outcome = searchItemForAddition(addition, isFolder);
    if (const auto* problem = std::get_if<AdditionProblem>(&outcome)) {
        m_session.notifier().reportError(problem->error, 8, "", problem->details);
        return Status(StatusCode::Invalid, problem->error + " " + problem->details);
    }
    if (std::holds_alternative<AdditionQuestion>(outcome)) {
        Addition answered = addition;
        answered.fileUse = m_surroundings.alerts.ask(fileQuestion(), 1) == 0
                               ? FileUse::ExtractURLs
                               : FileUse::IndexContents;
        return searchItemFor(answered);
    }
    return std::get<SearchItem>(std::move(outcome));
}

Status AppController::addMissingItems(const std::vector<SearchItem>& items) {
    m_preferences.addMissingItems(items, m_session.paths());
    return {};
}

// The main loop is served until they are gone.
Result<std::size_t> AppController::removeFromIndex(const std::vector<std::string>& urls) {
    const auto removed = std::make_shared<std::optional<std::size_t>>();
    m_removal.remove(urls, [removed](std::size_t count) { *removed = count; });
    m_mainLoop.turnUntil([&removed] { return removed->has_value(); }, std::chrono::hours(24));
    return removed->value_or(0);
}

// ---- Maintenance

Status AppController::clearIndex() { return m_maintenance.clearIndex(); }

// Emptied without a network, the index would stay so.
Status AppController::rebuildIndex() {
    if (!m_indexes.netConnectionAvailable()) {
        return {StatusCode::NotFound, _("Siftwell cannot access the Internet")};
    }
    return m_maintenance.rebuildIndex();
}

Status AppController::compactIndex() { return m_maintenance.compactIndex(); }

Status AppController::dumpURLs(const std::string& path) { return m_maintenance.dumpURLs(path); }

Status AppController::dumpIndex(const std::string& path) { return m_maintenance.dumpIndex(path); }

Status AppController::applyFilters() { return m_maintenance.applyFilters(); }

Status AppController::eraseFromIndex(const std::vector<std::string>& urls) {
    return m_maintenance.eraseFromIndex(urls);
}

Result<Driver::MaintenanceState> AppController::maintenanceState() { return m_maintenance.state(); }

// ---- Sources, filters, settings

Status AppController::setSearchItemValue(const std::string& name, const std::string& key,
                                         const PropertyList& value) {
    return m_preferences.setSearchItemValue(name, key, value);
}

Status AppController::deleteSearchItem(const std::string& name) {
    return m_preferences.deleteSearchItem(name);
}

Status AppController::resetScanDate(const std::string& name) {
    return m_preferences.resetScanDate(name);
}

Status AppController::addURLFilter(const std::string& text) {
    return m_preferences.addURLFilter(text);
}

Status AppController::deleteURLFilter(const std::string& text) {
    return m_preferences.deleteURLFilter(text);
}

Status AppController::resetURLFilters() { return m_preferences.resetURLFilters(); }

Status AppController::setSetting(const std::string& key, const PropertyList& value) {
    return m_preferences.setSetting(key, value);
}

Status AppController::removeSetting(const std::string& key) {
    return m_preferences.removeSetting(key);
}

// ---- The program itself

Result<PropertyList::Dictionary> AppController::status() {
    PropertyList::Array running;
    for (const std::string& name : m_cycle.runningItems().names()) running.emplace_back(name);
    PropertyList::Dictionary status{{"process", std::int64_t{getpid()}},
                                    {"indexingEnabled", m_indexes.indexingEnabled()},
                                    {"scanning", m_cycle.scanStart().has_value()},
                                    {"maintaining", m_maintenance.state().isRunning},
                                    {"runningItems", std::move(running)},
                                    {"pending", m_indexes.pendingDocumentCount()},
                                    {"documents", m_indexes.documentCount()},
                                    {"networkDown", m_cycle.isNetworkDown()}};
    if (const auto start = m_cycle.scanStart()) status["scanStarted"] = *start;
    if (const auto next = m_cycle.nextScan()) status["nextScan"] = *next;
    return status;
}

Status AppController::searchService(const std::string& text) {
    if (text.empty()) {
        return {StatusCode::Invalid,
                _("Error: Nothing to search for.  Please select some text and try again.")};
    }
    if (m_windows == nullptr) return noWindows();
    return m_windows->searchFor(text);
}

Status AppController::showWindow() {
    if (m_windows == nullptr) return noWindows();
    m_windows->showSearch();
    return {};
}

Status AppController::toggleWindow() {
    if (m_windows == nullptr) return noWindows();
    m_windows->toggle();
    return {};
}

Status AppController::quit() {
    if (m_surroundings.quit) m_mainLoop.post(m_surroundings.quit);
    return {};
}

ProgramEnd closeProgram(std::unique_ptr<AppController>& controller,
                        std::unique_ptr<Session>& session) {
    if (controller->applicationWillTerminate()) {
        const Status status = session->close();
        controller.reset();
        session.reset();
        return {.status = status};
    }
    writeLog("A scan does not end and is left as it is");
    static_cast<void>(controller.release());
    return {.status = session.release()->settings().save(), .areThreadsLeft = true};
}

}  // namespace siftwell
