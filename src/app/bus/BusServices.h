// BusServices: this copy of the program as others see it on the session bus.
//
// Three objects: the driver with what it tells, the notifier that takes reports, and the retriever
// that takes addresses. See docs/dbus.md.
//
// Threads: main. The bus has a thread of its own; whatever touches the surroundings runs on the
// main loop.
// Errors: as Status when the objects cannot be offered; the program works without them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/Driver.h"
#include "app/bus/BusHost.h"
#include "app/bus/BusObject.h"
#include "app/bus/DownloadWaits.h"
#include "base/NotificationCentre.h"
#include "base/RunLoop.h"
#include "base/SWNotifier.h"
#include "records/SearchItem.h"
#include "retrieval/DocumentRetriever.h"

namespace siftwell {

class BusServices {
public:
    // Outlives the services.
    struct Surroundings {
        Driver& driver;
        SWNotifier& notifier;
        NotificationCentre& centre;
        DocumentRetriever& retriever;
        RunLoop& mainLoop;
        // The item that is being scanned under a process name.
        std::function<std::optional<SearchItem>(const std::string&)> runningSearchItemForProcess;
    };

    // NotFound without a session bus, Exists when another process has one of the names.
    static Result<std::unique_ptr<BusServices>> open(const Surroundings& surroundings);

    // Calls that have no answer yet are told that the program ends.
    ~BusServices();

private:
    BusServices(std::unique_ptr<sdbus::IConnection> connection, const Surroundings& surroundings);

    Status publish();
    void addScans();
    void addAdditions();
    void addMaintenance();
    void addSources();
    void addSettings();
    void addNotifier();
    void addRetriever();
    void addRetrieverWaits();
    void passOnNotifications();

    const Surroundings m_surroundings;
    DownloadWaits m_waits;
    const std::shared_ptr<BusHost> m_host;
    BusObject m_driver;
    BusObject m_notifier;
    BusObject m_retriever;
    std::vector<NotificationCentre::Observation> m_observations;
};

}  // namespace siftwell
