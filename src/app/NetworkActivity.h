// NetworkActivity: how much is being downloaded by everything on this computer, so that a scan can
// stay out of the way.
//
// Nothing measures by itself: until networkMonitorTimer is called, both rates are 0 and the network
// never counts as busy.
//
// Threads: any; a measurement blocks its thread for five seconds.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include "base/Clock.h"

namespace siftwell {

class NetworkActivity {
public:
    explicit NetworkActivity(Clock& clock) : m_clock(clock) {}

    // Measures, on the calling thread, or on one of its own.
    void getMaxDownloadThroughput();
    void networkMonitorTimer();

    // What was measured, in bytes per second.
    void note(std::uint64_t rate);

    // At least 20,000 bytes per second, and half of the highest rate that was seen.
    bool isBusy() const;

    std::uint64_t latestDownloadThroughput() const { return m_latest; }
    std::uint64_t maxDownloadThroughput() const { return m_max; }

private:
    Clock& m_clock;
    std::atomic<std::uint64_t> m_latest = 0;
    std::atomic<std::uint64_t> m_max = 0;
    std::jthread m_thread;
};

}  // namespace siftwell
