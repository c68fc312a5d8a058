// NetworkThroughput: how many bytes per second this computer receives and sends, over all network
// interfaces but the loopback.
//
// Threads: any; a sample blocks its thread for the whole of its time.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Clock.h"

namespace siftwell {

// The counters of one interface, as the kernel keeps them: they begin anew after 2^32 bytes.
struct InterfaceCounters {
    std::string name;
    bool isUp = false;  // or running
    std::uint32_t receivedBytes = 0;
    std::uint32_t sentBytes = 0;
};

struct NetworkThroughput {
    std::uint64_t receivedPerSecond = 0;
    std::uint64_t sentPerSecond = 0;
};

// None when the list of interfaces cannot be read.
using InterfaceReader = std::function<std::optional<std::vector<InterfaceCounters>>()>;
std::optional<std::vector<InterfaceCounters>> readInterfaces();

// Samples for that many seconds; answers 0, or -1 when the list of interfaces cannot be read (both
// rates are 0 then).
int GetNetworkThroughput(std::uint64_t& receivedPerSecond, std::uint64_t& sentPerSecond,
                         float samplingSeconds, Clock& clock,
                         const InterfaceReader& read = &readInterfaces);

// From what passed through the interfaces that were up before and are still there. A counter that
// began anew lowers the 64-bit sum by the backwards difference and one, modulo 2^64: the rate of
// such a sample means nothing, which is accepted. Rates are cut off at the ends of their range.
NetworkThroughput throughputBetween(const std::vector<InterfaceCounters>& before,
                                    const std::vector<InterfaceCounters>& after,
                                    float elapsedSeconds);

}  // namespace siftwell
