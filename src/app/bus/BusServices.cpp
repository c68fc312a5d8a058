#include "app/bus/BusServices.h"

#include <sdbus-c++/Error.h>

#include <utility>

#include "app/bus/BusConnection.h"
#include "app/bus/BusErrors.h"
#include "app/bus/BusNames.h"
#include "app/bus/DriverRecords.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

using Text = const std::string&;
using Texts = const std::vector<std::string>&;
using Value = const PropertyList&;
using Dictionary = PropertyList::Dictionary;

// "" stands for none.
std::optional<std::string> unlessEmpty(Text text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

Result<Url> urlOf(Text text) {
    auto url = Url::parse(text);
    if (!url || !url->hasScheme()) {
        return Status(StatusCode::Invalid, filledIn(_("\"%@\" is no address."), text));
    }
    return *std::move(url);
}

// A date, or the empty text for none.
Result<std::optional<Date>> dateOf(Value value) {
    if (const auto* date = value.asDate()) return std::optional(*date);
    const auto* text = value.asString();
    if (text != nullptr && text->empty()) return std::optional<Date>();
    return Status(StatusCode::Invalid, _("The date is none."));
}

}  // namespace

Result<std::unique_ptr<BusServices>> BusServices::open(const Surroundings& surroundings) {
    auto connection = connectTo(Bus::Session);
    if (!connection) return connection.status();
    std::unique_ptr<BusServices> services(new BusServices(*std::move(connection), surroundings));
    if (Status status = services->publish(); !status.isOk()) return status;
    return services;
}

BusServices::BusServices(std::unique_ptr<sdbus::IConnection> connection,
                         const Surroundings& surroundings)
    : m_surroundings(surroundings),
      m_waits(surroundings.mainLoop),
      m_host(std::make_shared<BusHost>(std::move(connection), surroundings.mainLoop)),
      m_driver(*m_host, busName::pathOf(busName::kAppController), busName::kAppController),
      m_notifier(*m_host, busName::pathOf(busName::kNotifier), busName::kNotifier),
      m_retriever(*m_host, busName::pathOf(busName::kDocumentRetriever),
                  busName::kDocumentRetriever) {}

BusServices::~BusServices() {
    m_observations.clear();
    m_host->stop();
}

Status BusServices::publish() {
    try {
        addScans();
        addAdditions();
        addMaintenance();
        addSources();
        addSettings();
        addNotifier();
        addRetriever();
        addRetrieverWaits();
        m_driver.addSignal(busName::kNotification, "sv", {"name", "object"});
        for (BusObject* object : {&m_driver, &m_notifier, &m_retriever}) object->finish();
    } catch (const sdbus::Error& error) {
        return statusOf(error);
    }
    for (const char* name :
         {busName::kAppController, busName::kNotifier, busName::kDocumentRetriever}) {
        if (Status status = m_host->takeName(name); !status.isOk()) return status;
    }
    m_host->start();
    passOnNotifications();
    return {};
}

void BusServices::passOnNotifications() {
    for (const char* name : busName::kPassedOn) {
        m_observations.push_back(
            m_surroundings.centre.observe(name, [this, name](const PropertyList& object) {
                m_driver.emit(busName::kNotification,
                              [name = std::string(name), object](BusWriter& writer) {
                                  writer.write(name);
                                  writer.write(object);
                              });
            }));
    }
}

// ---- The driver

void BusServices::addScans() {
    Driver& driver = m_surroundings.driver;
    m_driver.addMethod("startScan", {"scope"}, [&driver](Text scope) {
        const auto known = scanScopeOf(scope);
        return known ? driver.startScan(*known) : known.status();
    });
    m_driver.addMethod("scanState", {}, [&driver]() -> Result<Dictionary> {
        const auto state = driver.scanState();
        if (!state) return state.status();
        return dictionaryOf(*state);
    });
    m_driver.addMethod("status", {}, [&driver] { return driver.status(); });
    m_driver.addMethod("searchService", {"text"},
                       [&driver](Text text) { return driver.searchService(text); });
    m_driver.addMethod("showWindow", {}, [&driver] { return driver.showWindow(); });
    m_driver.addMethod("toggleWindow", {}, [&driver] { return driver.toggleWindow(); });
    m_driver.addMethod("quit", {}, [&driver] { return driver.quit(); });
    m_driver.addMethod("runningSearchItemForProcess", {"process"},
                       [this](Text process) -> Result<Dictionary> {
                           const auto item = m_surroundings.runningSearchItemForProcess(process);
                           return item ? item->toDictionary() : Dictionary();
                       });
}

void BusServices::addAdditions() {
    Driver& driver = m_surroundings.driver;
    m_driver.addMethod("addToIndex", {"url", "indexer", "fileUse", "isScanStarted"},
                       [&driver](Text text, Text indexer, Text fileUse, const bool& isScanStarted) {
                           const auto url = urlOf(text);
                           if (!url) return url.status();
                           const auto use = fileUseOf(fileUse);
                           if (!use) return use.status();
                           return driver.addToIndex({.url = *url,
                                                     .indexer = unlessEmpty(indexer),
                                                     .fileUse = *use,
                                                     .isScanStarted = isScanStarted});
                       });
    m_driver.addMethod("addMissingItems", {"items"}, [&driver](Value items) {
        const auto* list = items.asArray();
        if (list == nullptr) return Status(StatusCode::Invalid, _("The list is none."));
        return driver.addMissingItems(searchItemsIn(*list));
    });
    m_driver.addMethod("removeFromIndex", {"urls"}, [&driver](Texts urls) -> Result<std::uint32_t> {
        const auto removed = driver.removeFromIndex(urls);
        if (!removed) return removed.status();
        return static_cast<std::uint32_t>(*removed);
    });
}

void BusServices::addMaintenance() {
    Driver& driver = m_surroundings.driver;
    m_driver.addMethod("clearIndex", {}, [&driver] { return driver.clearIndex(); });
    m_driver.addMethod("rebuildIndex", {}, [&driver] { return driver.rebuildIndex(); });
    m_driver.addMethod("compactIndex", {}, [&driver] { return driver.compactIndex(); });
    m_driver.addMethod("dumpURLs", {"path"},
                       [&driver](Text path) { return driver.dumpURLs(path); });
    m_driver.addMethod("dumpIndex", {"path"},
                       [&driver](Text path) { return driver.dumpIndex(path); });
    m_driver.addMethod("applyFilters", {}, [&driver] { return driver.applyFilters(); });
    m_driver.addMethod("eraseFromIndex", {"urls"},
                       [&driver](Texts urls) { return driver.eraseFromIndex(urls); });
    m_driver.addMethod("maintenanceState", {}, [&driver]() -> Result<Dictionary> {
        const auto state = driver.maintenanceState();
        if (!state) return state.status();
        return dictionaryOf(*state);
    });
}

void BusServices::addSources() {
    Driver& driver = m_surroundings.driver;
    m_driver.addMethod("setSearchItemValue", {"name", "key", "value"},
                       [&driver](Text name, Text key, Value value) {
                           return driver.setSearchItemValue(name, key, value);
                       });
    m_driver.addMethod("deleteSearchItem", {"name"},
                       [&driver](Text name) { return driver.deleteSearchItem(name); });
    m_driver.addMethod("resetScanDate", {"name"},
                       [&driver](Text name) { return driver.resetScanDate(name); });
}

void BusServices::addSettings() {
    Driver& driver = m_surroundings.driver;
    m_driver.addMethod("addURLFilter", {"text"},
                       [&driver](Text text) { return driver.addURLFilter(text); });
    m_driver.addMethod("deleteURLFilter", {"text"},
                       [&driver](Text text) { return driver.deleteURLFilter(text); });
    m_driver.addMethod("resetURLFilters", {}, [&driver] { return driver.resetURLFilters(); });
    m_driver.addMethod("setSetting", {"key", "value"},
                       [&driver](Text key, Value value) { return driver.setSetting(key, value); });
    m_driver.addMethod("removeSetting", {"key"},
                       [&driver](Text key) { return driver.removeSetting(key); });
}

// ---- The notifier

void BusServices::addNotifier() {
    SWNotifier& notifier = m_surroundings.notifier;
    m_notifier.addMethod(
        "reportError", {"error", "severity", "url", "details"},
        [&notifier](Text error, const std::int32_t& severity, Text url, Text details) {
            notifier.reportError(error, severity, url, details);
            return Status();
        });
    m_notifier.addMethod("reportProgressStarting", {"source", "count"},
                         [&notifier](Text source, const std::int32_t& count) {
                             notifier.reportProgressStartingIn(source, count);
                             return Status();
                         });
    m_notifier.addMethod("reportProgress", {"source", "message"},
                         [&notifier](Text source, Text message) {
                             notifier.reportProgressIn(source, message);
                             return Status();
                         });
    m_notifier.addMethod("reportProgressDone", {"source", "message"},
                         [&notifier](Text source, Text message) {
                             notifier.reportProgressDoneIn(source, message);
                             return Status();
                         });
    m_notifier.addMethod("reportStatus", {"status"}, [&notifier](Text status) {
        notifier.reportStatus(status);
        return Status();
    });
}

// ---- The retriever

void BusServices::addRetriever() {
    m_retriever.addMethod("indexDocument", {"url", "date", "title", "source", "indexer"},
                          [this](Text text, Value date, Text title, Text source, Text indexer) {
                              const auto url = urlOf(text);
                              if (!url) return url.status();
                              const auto when = dateOf(date);
                              if (!when) return when.status();
                              m_surroundings.retriever.indexDocument(
                                  *url, *when, unlessEmpty(title), source, indexer);
                              return Status();
                          });
    DocumentRetriever& retriever = m_surroundings.retriever;
    m_retriever.addMethod("downloadWaitingForSource", {"source"},
                          [&retriever](Text source) -> Result<bool> {
                              return retriever.downloadWaitingForSource(unlessEmpty(source));
                          });
    m_retriever.addMethod("downloadInProgressForSource", {"source"},
                          [&retriever](Text source) -> Result<bool> {
                              return retriever.downloadInProgressForSource(unlessEmpty(source));
                          });
}

void BusServices::addRetrieverWaits() {
    DocumentRetriever& retriever = m_surroundings.retriever;
    m_retriever.addDeferredMethod<Result<bool>>(
        "waitForDownloadsForSource", {"source", "seconds"},
        [this, &retriever](const BusAnswer& answer, Text source, const double& seconds) {
            m_waits.add([&retriever, source = unlessEmpty(
                                         source)] { return !retriever.isAtWorkForSource(source); },
                        seconds, [answer](const Result<bool>& isDone) { answer.give(isDone); });
        });
    m_retriever.addDeferredMethod<Status>(
        "cancelDownloadsForSource", {"source", "afterWaiting"},
        [this, &retriever](const BusAnswer& answer, Text text, const double& afterWaiting) {
            const auto source = unlessEmpty(text);
            retriever.cancelDownloadsForSource(source, std::chrono::milliseconds(0));
            m_waits.add(
                [&retriever, source] { return !retriever.downloadInProgressForSource(source); },
                afterWaiting,
                [answer](const Result<bool>& isDone) { answer.give(isDone.status()); });
        });
}

}  // namespace siftwell
