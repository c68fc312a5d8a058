#include "base/NotificationCentre.h"

namespace siftwell {

NotificationCentre::Observation NotificationCentre::observe(const std::string& name,
                                                            Observer observer) {
    auto owned = std::make_shared<Observer>(std::move(observer));
    MutexLock lock(m_mutex);
    m_observers[name].push_back(owned);
    return Observation(std::move(owned));
}

void NotificationCentre::post(const std::string& name, const PropertyList& object) {
    for (const auto& observer : observersOf(name)) {
        // One that is called may end the observation of another that comes after it.
        if (const auto alive = observer.lock()) (*alive)(object);
    }
}

void NotificationCentre::postMainThreadNotificationName(const std::string& name,
                                                        PropertyList object) {
    m_mainLoop.post([this, name, object = std::move(object)] { post(name, object); });
}

std::vector<std::weak_ptr<NotificationCentre::Observer>> NotificationCentre::observersOf(
    const std::string& name) {
    MutexLock lock(m_mutex);
    const auto entry = m_observers.find(name);
    if (entry == m_observers.end()) return {};
    std::erase_if(entry->second, [](const auto& observer) { return observer.expired(); });
    return entry->second;
}

}  // namespace siftwell
