#include "base/NetworkThroughput.h"

#include <ifaddrs.h>
#include <linux/if_link.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>

namespace siftwell {

namespace {

std::uint64_t change(std::uint32_t before, std::uint32_t after) {
    if (after >= before) return std::uint64_t{after} - before;
    return ~(std::uint64_t{before} - after);
}

std::uint64_t perSecond(std::uint64_t sum, float seconds) {
    const float rate = static_cast<float>(sum) / seconds;
    if (!(rate > 0)) return 0;  // also where no time has passed and nothing was counted
    constexpr float kEnd = 18446744073709551616.0F;
    return rate < kEnd ? static_cast<std::uint64_t>(rate)
                       : std::numeric_limits<std::uint64_t>::max();
}

bool hasCounters(const ifaddrs& entry) {
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_PACKET &&
           entry.ifa_data != nullptr;
}

float secondsBetween(Date start, Date end) { return static_cast<float>(end - start); }

}  // namespace

std::optional<std::vector<InterfaceCounters>> readInterfaces() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(first, &freeifaddrs);
    std::vector<InterfaceCounters> result;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (!hasCounters(*entry)) continue;
        const auto& counters = *static_cast<const rtnl_link_stats*>(entry->ifa_data);
        result.push_back({.name = entry->ifa_name,
                          .isUp = (entry->ifa_flags & (IFF_UP | IFF_RUNNING)) != 0,
                          .receivedBytes = counters.rx_bytes,
                          .sentBytes = counters.tx_bytes});
    }
    return result;
}

NetworkThroughput throughputBetween(const std::vector<InterfaceCounters>& before,
                                    const std::vector<InterfaceCounters>& after,
                                    float elapsedSeconds) {
    std::uint64_t received = 0;
    std::uint64_t sent = 0;
    for (const InterfaceCounters& old : before) {
        if (!old.isUp || old.name.starts_with("lo")) continue;
        const auto now = std::find_if(after.begin(), after.end(),
                                      [&](const auto& entry) { return entry.name == old.name; });
        if (now == after.end()) continue;
        received += change(old.receivedBytes, now->receivedBytes);
        sent += change(old.sentBytes, now->sentBytes);
    }
    return {perSecond(received, elapsedSeconds), perSecond(sent, elapsedSeconds)};
}

int GetNetworkThroughput(std::uint64_t& receivedPerSecond, std::uint64_t& sentPerSecond,
                         float samplingSeconds, Clock& clock, const InterfaceReader& read) {
    receivedPerSecond = 0;
    sentPerSecond = 0;
    const Date start = clock.now();
    const auto before = read();
    if (!before) return -1;
    clock.sleepFor(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<float>(samplingSeconds)));
    const auto after = read();
    if (!after) return -1;
    const NetworkThroughput result =
        throughputBetween(*before, *after, secondsBetween(start, clock.now()));
    receivedPerSecond = result.receivedPerSecond;
    sentPerSecond = result.sentPerSecond;
    return 0;
}

}  // namespace siftwell
