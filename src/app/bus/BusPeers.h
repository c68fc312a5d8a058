// BusPeers: which processes on the bus are served: those of one user.
//
// A bus may be open to others (a test's, a container's, one that root started).
//
// Threads: that of the connection; asks the bus once for each sender.
#pragma once

#include <sdbus-c++/Message.h>
#include <sys/types.h>

#include <map>
#include <string>

namespace siftwell {

class BusPeers {
public:
    explicit BusPeers(uid_t servedUser) : m_servedUser(servedUser) {}

    // False too when the bus does not say whose the sender is.
    bool isServed(const sdbus::Message& message);

private:
    static constexpr std::size_t kMaxRemembered = 1000;

    const uid_t m_servedUser;
    std::map<std::string, bool> m_remembered;  // by unique name, which a bus gives only once
};

}  // namespace siftwell
