#include "app/bus/BusPeers.h"

#include <sdbus-c++/Error.h>

namespace siftwell {

bool BusPeers::isServed(const sdbus::Message& message) {
    const std::string sender = message.getSender();
    const auto known = m_remembered.find(sender);
    if (known != m_remembered.end()) return known->second;
    try {
        // The effective user, which the kernel told the bus as the sender connected; the real one
        // would be looked up by a process number that may have passed to another program.
        const bool isServed = message.getCredsEuid() == m_servedUser;
        if (m_remembered.size() >= kMaxRemembered) m_remembered.clear();
        m_remembered.emplace(sender, isServed);
        return isServed;
    } catch (const sdbus::Error&) {
        return false;  // it is gone already
    }
}

}  // namespace siftwell
