#include "base/NetworkReachability.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include "base/FileDescriptor.h"

namespace siftwell {

namespace {

std::optional<bool> answerOfEnvironment() {
    const char* value = std::getenv("SIFTWELL_ONLINE");
    if (value == nullptr) return std::nullopt;
    if (std::string_view(value) == "yes") return true;
    if (std::string_view(value) == "no") return false;
    return std::nullopt;
}

// Connecting a datagram socket asks for the route and sends nothing.
bool hasRoute(const sockaddr* address, socklen_t size) {
    const FileDescriptor probe(socket(address->sa_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return probe.isOpen() && connect(probe.get(), address, size) == 0;
}

}  // namespace

bool RouteReachability::isReachable(const std::string& address) {
    if (const auto answer = answerOfEnvironment()) return *answer;
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(53);
    if (inet_pton(AF_INET, address.c_str(), &target.sin_addr) != 1) return false;
    const void* const anonymous = &target;
    return hasRoute(static_cast<const sockaddr*>(anonymous), sizeof target);
}

bool RouteReachability::isHostReachable(const std::string& host) {
    if (const auto answer = answerOfEnvironment()) return *answer;
    if (host == "localhost") return true;
    const bool isBracketed = host.starts_with('[') && host.ends_with(']');
    const std::string name = isBracketed ? host.substr(1, host.size() - 2) : host;
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_DGRAM;
    addrinfo* first = nullptr;
    if (getaddrinfo(name.c_str(), "53", &wanted, &first) != 0) return false;
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(first, freeaddrinfo);
    for (const addrinfo* each = first; each != nullptr; each = each->ai_next) {
        if (hasRoute(each->ai_addr, each->ai_addrlen)) return true;
    }
    return false;
}

}  // namespace siftwell
