// WorkSignal wakes a thread that waits for work of any kind.
//
// Threads: any raises it, one waits. What was raised while nobody waited ends the next wait.
#pragma once

#include <chrono>
#include <utility>

#include "base/Mutex.h"

namespace siftwell {

class WorkSignal {
public:
    void raise() {
        MutexLock lock(m_mutex);
        m_isRaised = true;
        m_raised.notifyAll();
    }

    void wait(std::chrono::milliseconds longest) {
        const auto end = std::chrono::steady_clock::now() + longest;
        MutexLock lock(m_mutex);
        while (!m_isRaised && m_raised.waitUntil(m_mutex, end)) {
        }
        m_isRaised = false;
    }

private:
    Mutex m_mutex;
    Condition m_raised;
    bool m_isRaised SW_GUARDED_BY(m_mutex) = false;
};

}  // namespace siftwell
