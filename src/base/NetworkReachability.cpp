#include "base/NetworkReachability.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdlib>
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

}  // namespace

bool RouteReachability::isReachable(const std::string& address) {
    if (const auto answer = answerOfEnvironment()) return *answer;
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(53);
    if (inet_pton(AF_INET, address.c_str(), &target.sin_addr) != 1) return false;
    const FileDescriptor socketOfProbe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socketOfProbe.isOpen()) return false;
    const void* const anonymous = &target;
    return connect(socketOfProbe.get(), static_cast<const sockaddr*>(anonymous), sizeof target) ==
           0;
}

}  // namespace siftwell
