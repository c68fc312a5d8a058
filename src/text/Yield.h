// Yield: what a long operation on a text calls again and again, so that more urgent work gets its
// turn. An empty one is never called.
//
// A Yield that throws ends the operation; the text then holds something between old and new.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>

namespace siftwell {

using Yield = std::function<void()>;

// Calls back when a pass over a text stands on a multiple of 1,000 bytes. A pass says where it
// stands and reads no further than it is told before it says so again; what it jumps over (an
// entity, a deleted stretch) thereby causes no call.
class ReadYield {
public:
    static constexpr std::size_t kInterval = 1000;

    explicit ReadYield(const Yield& yield) : m_yield(yield) {}

    // How far to read, at most to `end`. Positions rise from call to call.
    std::size_t standingAt(std::size_t position, std::size_t end) {
        if (position >= m_next) reach(position);
        return std::min(end, m_next);
    }

private:
    void reach(std::size_t position) {
        m_next = (position / kInterval + 1) * kInterval;
        if (position % kInterval == 0 && m_yield) m_yield();
    }

    const Yield& m_yield;
    std::size_t m_next = 0;
};

}  // namespace siftwell
