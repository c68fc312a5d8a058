// NetworkReachability: whether the outside can be reached; a test puts its own answer in place.
#pragma once

#include <string>

namespace siftwell {

class NetworkReachability {
public:
    virtual ~NetworkReachability() = default;

    // Whether a route to the IPv4 address ("192.0.2.1") exists now. Returns at once, sends nothing.
    virtual bool isReachable(const std::string& address) = 0;

    // Whether the name of the host is known and a route to it exists. An address counts as a name,
    // also "[::1]". Asks the network for the name, which may take many seconds; any thread.
    virtual bool isHostReachable(const std::string& host) = 0;
};

// Asks the kernel's routing table through a connected datagram socket. The environment variable
// SIFTWELL_ONLINE ("yes" or "no") overrides it, for machines whose route cannot be judged.
class RouteReachability : public NetworkReachability {
public:
    bool isReachable(const std::string& address) override;
    bool isHostReachable(const std::string& host) override;
};

}  // namespace siftwell
