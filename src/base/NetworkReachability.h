// NetworkReachability: whether the outside can be reached; a test puts its own answer in place.
#pragma once

#include <string>

namespace siftwell {

class NetworkReachability {
public:
    virtual ~NetworkReachability() = default;

    // Whether a route to the IPv4 address ("192.0.2.1") exists now. Returns at once, sends nothing.
    virtual bool isReachable(const std::string& address) = 0;
};

// Asks the kernel's routing table through a connected datagram socket. The environment variable
// SIFTWELL_ONLINE ("yes" or "no") overrides it, for machines whose route cannot be judged.
class RouteReachability : public NetworkReachability {
public:
    bool isReachable(const std::string& address) override;
};

}  // namespace siftwell
