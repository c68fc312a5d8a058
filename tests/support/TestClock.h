// TestClock: a clock that stands still until a test moves it; waiting moves it too.
//
// Threads: any.
#pragma once

#include <atomic>

#include "base/Clock.h"

namespace siftwell {

class TestClock : public Clock {
public:
    Date now() const override { return Date::fromReference(m_now); }
    void sleepFor(std::chrono::milliseconds duration) override {
        m_slept += duration.count();
        advance(std::chrono::duration<double>(duration).count());
    }

    void advance(double seconds) { m_now = m_now + seconds; }
    void setNow(Date now) { m_now = now.secondsSinceReference(); }
    std::chrono::milliseconds slept() const { return std::chrono::milliseconds(m_slept); }

private:
    std::atomic<double> m_now = 800000000;
    std::atomic<std::int64_t> m_slept = 0;
};

}  // namespace siftwell
