// NotificationCentre: who is told what by name.
//
// Threads: observers are called on the main thread only, while no lock is held. `post` is for the
// main thread; `postMainThreadNotificationName` for any, and returns at once.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "base/PropertyList.h"
#include "base/RunLoop.h"

namespace siftwell {

class NotificationCentre {
public:
    using Observer = std::function<void(const PropertyList& object)>;

    // Ends an observation when it goes; it may outlive the centre.
    class Observation {
    public:
        Observation() = default;
        explicit Observation(std::shared_ptr<Observer> observer)
            : m_observer(std::move(observer)) {}

    private:
        std::shared_ptr<Observer> m_observer;
    };

    explicit NotificationCentre(RunLoop& mainLoop) : m_mainLoop(mainLoop) {}

    [[nodiscard]] Observation observe(const std::string& name, Observer observer);

    void post(const std::string& name, const PropertyList& object);
    void postMainThreadNotificationName(const std::string& name, PropertyList object);

private:
    std::vector<std::weak_ptr<Observer>> observersOf(const std::string& name);

    RunLoop& m_mainLoop;
    Mutex m_mutex;
    std::map<std::string, std::vector<std::weak_ptr<Observer>>> m_observers SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
