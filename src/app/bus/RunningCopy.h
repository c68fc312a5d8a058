// RunningCopy: the copy of the program that may write, when that is another process.
//
// What that copy tells of its work arrives at the given centre.
//
// Threads: main. A call waits for its answer, up to its limit.
// Errors: those of the other copy, as it gave them; Busy when it does not answer in time or has
// ended.
#pragma once

#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/IProxy.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/Driver.h"
#include "app/bus/BusConnection.h"
#include "app/bus/BusThread.h"
#include "app/bus/BusValues.h"
#include "base/Mutex.h"
#include "base/NotificationCentre.h"

namespace siftwell {

class RunningCopy : public Driver {
public:
    // NotFound when there is no session bus, nobody offers the driver on it, or it is offered by
    // another process than the expected one (0: whichever it is). The centre outlives the copy.
    static Result<std::unique_ptr<RunningCopy>> connect(
        NotificationCentre& centre, pid_t expectedProcess,
        std::chrono::milliseconds limit = kBusTimeLimit);
    ~RunningCopy() override;

    pid_t process() const { return m_process; }

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

    // Until the other copy has left the bus, or the bus has gone, or the time is over; whether it
    // is gone.
    bool waitUntilGone(std::chrono::milliseconds longest);

private:
    using Connection = std::unique_ptr<sdbus::IConnection>;

    RunningCopy(Connection calls, Connection signals, NotificationCentre& centre,
                std::chrono::milliseconds limit);

    Status find(pid_t expectedProcess);
    void watch();

    // ---- Bus thread
    void passOn(sdbus::Signal& signal);
    void noteEnd();

    Status exchange(sdbus::IProxy& object, const std::string& interface, const std::string& method,
                    const std::function<void(BusWriter&)>& write,
                    const std::function<void(BusReader&)>& read);
    template <typename Answer, typename... Arguments>
    Result<Answer> askBus(const std::string& method, const Arguments&... arguments);
    template <typename Answer, typename... Arguments>
    Result<Answer> ask(const std::string& method, const Arguments&... arguments);
    template <typename... Arguments>
    Status tell(const std::string& method, const Arguments&... arguments);
    void dropLateAnswers();
    Status silence() const;

    NotificationCentre& m_centre;
    const std::chrono::milliseconds m_limit;
    std::string m_owner;  // the unique name of the other copy
    pid_t m_process = 0;

    Mutex m_mutex;
    Condition m_changed;
    bool m_isGone SW_GUARDED_BY(m_mutex) = false;

    // Two connections: one on which a call is sent and its answer waited for, by this thread alone,
    // and one that listens.
    const Connection m_calls;
    const std::unique_ptr<sdbus::IProxy> m_bus;
    std::unique_ptr<sdbus::IProxy> m_driver;
    BusThread m_thread;
    std::unique_ptr<sdbus::IProxy> m_notifications;
    sdbus::Slot m_ownerWatch;
};

}  // namespace siftwell
