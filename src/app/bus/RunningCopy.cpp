#include "app/bus/RunningCopy.h"

#include <sdbus-c++/Error.h>
#include <sdbus-c++/Message.h>
#include <unistd.h>

#include <utility>

#include "app/bus/BusErrors.h"
#include "app/bus/BusNames.h"
#include "app/bus/DriverRecords.h"
#include "base/Log.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";

Status notReachable(pid_t expected, pid_t found) {
    return {StatusCode::NotFound,
            filledIn(_("The running Siftwell (process %d) cannot be reached: process %d answers in "
                       "its place."),
                     std::int64_t{expected}, std::int64_t{found})};
}

Status nobody() {
    return {StatusCode::NotFound, _("No running Siftwell can be reached on the session bus.")};
}

}  // namespace

// ---- Finding the other copy

Result<std::unique_ptr<RunningCopy>> RunningCopy::connect(NotificationCentre& centre,
                                                          pid_t expectedProcess,
                                                          std::chrono::milliseconds limit) {
    auto calls = connectTo(Bus::Session, limit);
    if (!calls) return calls.status();
    auto signals = connectTo(Bus::Session, limit);
    if (!signals) return signals.status();
    std::unique_ptr<RunningCopy> copy(
        new RunningCopy(*std::move(calls), *std::move(signals), centre, limit));
    if (Status status = copy->find(expectedProcess); !status.isOk()) return status;
    return copy;
}

RunningCopy::RunningCopy(Connection calls, Connection signals, NotificationCentre& centre,
                         std::chrono::milliseconds limit)
    : m_centre(centre),
      m_limit(limit),
      m_calls(std::move(calls)),
      m_bus(sdbus::createProxy(*m_calls, kBus, "/org/freedesktop/DBus")),
      m_thread(std::move(signals), [this] { noteEnd(); }) {}

RunningCopy::~RunningCopy() {
    m_thread.stop();
    shutDown(*m_calls);
}

Status RunningCopy::find(pid_t expectedProcess) {
    const std::string name = busName::kAppController;
    const auto owner = askBus<std::string>("GetNameOwner", name);
    if (!owner) return owner.status().code() == StatusCode::NotFound ? nobody() : owner.status();
    m_owner = *owner;
    const auto user = askBus<std::uint32_t>("GetConnectionUnixUser", m_owner);
    if (!user) return user.status();
    if (*user != geteuid()) {
        return {StatusCode::Denied, _("A process of another user poses as Siftwell.")};
    }
    const auto process = askBus<std::uint32_t>("GetConnectionUnixProcessID", m_owner);
    if (!process) return process.status();
    m_process = static_cast<pid_t>(*process);
    if (expectedProcess != 0 && m_process != expectedProcess) {
        return notReachable(expectedProcess, m_process);
    }
    try {
        watch();
    } catch (const sdbus::Error& error) {
        return statusOf(error);
    }
    // It may have left before the watch began.
    const auto isThere = askBus<bool>("NameHasOwner", m_owner);
    if (!isThere) return isThere.status();
    return *isThere ? Status() : nobody();
}

// All by the unique name, which no other process will ever have.
void RunningCopy::watch() {
    const std::string path = busName::pathOf(busName::kAppController);
    m_driver = sdbus::createProxy(*m_calls, m_owner, path);
    m_ownerWatch = m_thread.connection().addMatch(
        std::string("type='signal',sender='") + kBus + "',interface='" + kBus +
            "',member='NameOwnerChanged',arg0='" + m_owner + "'",
        [this](sdbus::Message&) { noteEnd(); });
    m_notifications = sdbus::createProxy(m_thread.connection(), m_owner, path);
    m_notifications->registerSignalHandler(busName::kAppController, busName::kNotification,
                                           [this](sdbus::Signal& signal) { passOn(signal); });
    m_notifications->finishRegistration();
    m_thread.start();
}

void RunningCopy::passOn(sdbus::Signal& signal) {
    try {
        std::string name;
        PropertyList object;
        BusReader reader(signal);
        reader.read(name);
        if (!busName::isPassedOn(name)) return;
        reader.read(object);
        m_centre.postMainThreadNotificationName(name, std::move(object));
    } catch (const sdbus::Error& error) {
        writeLog("A notification of the running copy was not understood: " + error.getMessage());
    }
}

void RunningCopy::noteEnd() {
    MutexLock lock(m_mutex);
    m_isGone = true;
    m_changed.notifyAll();
}

bool RunningCopy::waitUntilGone(std::chrono::milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    MutexLock lock(m_mutex);
    while (!m_isGone) {
        if (!m_changed.waitUntil(m_mutex, end)) return m_isGone;
    }
    return true;
}

// ---- Calls

Status RunningCopy::exchange(sdbus::IProxy& object, const std::string& interface,
                             const std::string& method,
                             const std::function<void(BusWriter&)>& write,
                             const std::function<void(BusReader&)>& read) {
    const auto start = std::chrono::steady_clock::now();
    try {
        dropLateAnswers();
        auto call = object.createMethodCall(interface, method);
        BusWriter writer(call);
        write(writer);
        auto reply = object.callMethod(call, m_limit);
        BusReader reader(reply);
        read(reader);
        return {};
    } catch (const sdbus::Error& error) {
        // The library gives one name to silence and to an end without an answer.
        const bool isOwn = error.getName().starts_with("com.velotrin.");
        if (!isOwn && std::chrono::steady_clock::now() - start >= m_limit) return silence();
        const Status status = statusOf(error);
        // Gone while it was asked; that is no answer to the question.
        const bool isGone = !isOwn && &object == m_driver.get();
        return isGone ? Status(StatusCode::Busy, status.message()) : status;
    }
}

// Those of calls that were given up stay with the connection until somebody takes them.
void RunningCopy::dropLateAnswers() {
    constexpr int kMost = 1000;
    for (int i = 0; i < kMost && m_calls->processPendingRequest(); ++i) {
    }
}

Status RunningCopy::silence() const {
    return {
        StatusCode::Busy,
        filledIn(_("The running Siftwell (process %d) does not answer. Please wait until it has "
                   "finished what it does, or end it."),
                 std::int64_t{m_process})};
}

template <typename Answer, typename... Arguments>
Result<Answer> RunningCopy::askBus(const std::string& method, const Arguments&... arguments) {
    Answer answer{};
    Status status = exchange(
        *m_bus, kBus, method, [&](BusWriter& writer) { (writer.write(arguments), ...); },
        [&](BusReader& reader) { reader.read(answer); });
    if (!status.isOk()) return status;
    return answer;
}

template <typename Answer, typename... Arguments>
Result<Answer> RunningCopy::ask(const std::string& method, const Arguments&... arguments) {
    Answer answer{};
    Status status = exchange(
        *m_driver, busName::kAppController, method,
        [&](BusWriter& writer) { (writer.write(arguments), ...); },
        [&](BusReader& reader) { reader.read(answer); });
    if (!status.isOk()) return status;
    return answer;
}

template <typename... Arguments>
Status RunningCopy::tell(const std::string& method, const Arguments&... arguments) {
    return exchange(
        *m_driver, busName::kAppController, method,
        [&](BusWriter& writer) { (writer.write(arguments), ...); }, [](BusReader&) {});
}

// ---- Driver

Status RunningCopy::startScan(ScanScope scope) { return tell("startScan", textOf(scope)); }

Result<Driver::ScanState> RunningCopy::scanState() {
    const auto state = ask<PropertyList::Dictionary>("scanState");
    if (!state) return state.status();
    return scanStateIn(*state);
}

Status RunningCopy::addToIndex(const Addition& addition) {
    return tell("addToIndex", addition.url.absoluteString(), addition.indexer.value_or(""),
                textOf(addition.fileUse), addition.isScanStarted);
}

Status RunningCopy::addMissingItems(const std::vector<SearchItem>& items) {
    return tell("addMissingItems", PropertyList(listOf(items)));
}

Result<std::size_t> RunningCopy::removeFromIndex(const std::vector<std::string>& urls) {
    const auto removed = ask<std::uint32_t>("removeFromIndex", urls);
    if (!removed) return removed.status();
    return std::size_t{*removed};
}

Status RunningCopy::clearIndex() { return tell("clearIndex"); }

Status RunningCopy::rebuildIndex() { return tell("rebuildIndex"); }

Status RunningCopy::compactIndex() { return tell("compactIndex"); }

Status RunningCopy::dumpURLs(const std::string& path) { return tell("dumpURLs", path); }

Status RunningCopy::dumpIndex(const std::string& path) { return tell("dumpIndex", path); }

Status RunningCopy::applyFilters() { return tell("applyFilters"); }

Status RunningCopy::eraseFromIndex(const std::vector<std::string>& urls) {
    return tell("eraseFromIndex", urls);
}

Result<Driver::MaintenanceState> RunningCopy::maintenanceState() {
    const auto state = ask<PropertyList::Dictionary>("maintenanceState");
    if (!state) return state.status();
    return maintenanceStateIn(*state);
}

Status RunningCopy::setSearchItemValue(const std::string& name, const std::string& key,
                                       const PropertyList& value) {
    return tell("setSearchItemValue", name, key, value);
}

Status RunningCopy::deleteSearchItem(const std::string& name) {
    return tell("deleteSearchItem", name);
}

Status RunningCopy::resetScanDate(const std::string& name) { return tell("resetScanDate", name); }

Status RunningCopy::addURLFilter(const std::string& text) { return tell("addURLFilter", text); }

Status RunningCopy::deleteURLFilter(const std::string& text) {
    return tell("deleteURLFilter", text);
}

Status RunningCopy::resetURLFilters() { return tell("resetURLFilters"); }

Status RunningCopy::setSetting(const std::string& key, const PropertyList& value) {
    return tell("setSetting", key, value);
}

Status RunningCopy::removeSetting(const std::string& key) { return tell("removeSetting", key); }

Result<PropertyList::Dictionary> RunningCopy::status() {
    return ask<PropertyList::Dictionary>("status");
}

Status RunningCopy::searchService(const std::string& text) { return tell("searchService", text); }

Status RunningCopy::showWindow() { return tell("showWindow"); }

Status RunningCopy::toggleWindow() { return tell("toggleWindow"); }

Status RunningCopy::quit() { return tell("quit"); }

}  // namespace siftwell
