// TestClock: a clock that stands still until a test moves it; waiting moves it too.
#pragma once

#include "base/Clock.h"

namespace siftwell {

class TestClock : public Clock {
public:
    Date now() const override { return m_now; }
    void sleepFor(std::chrono::milliseconds duration) override {
        m_slept += duration;
        advance(std::chrono::duration<double>(duration).count());
    }

    void advance(double seconds) { m_now = m_now + seconds; }
    void setNow(Date now) { m_now = now; }
    std::chrono::milliseconds slept() const { return m_slept; }

private:
    Date m_now = Date::fromReference(800000000);
    std::chrono::milliseconds m_slept{0};
};

}  // namespace siftwell
