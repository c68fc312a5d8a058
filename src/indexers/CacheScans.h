// CacheScans: how many caches are still to be scanned before histories hand anything over.
//
// A page whose bytes a browser kept is not asked for: histories find it indexed already, if they
// wait for the caches.
//
// Threads: any.
#pragma once

#include <chrono>

#include "base/Mutex.h"

namespace siftwell {

class CacheScans {
public:
    // Called for each cache before the first item of a scan starts.
    void announce() {
        MutexLock lock(m_mutex);
        ++m_toCome;
    }
    // Once for each that was announced, however its scan ended.
    void end() {
        MutexLock lock(m_mutex);
        --m_toCome;
        m_ended.notifyAll();
    }
    // Whether none is left; waits for that no longer than so long.
    bool waitUntilNone(std::chrono::milliseconds longest) {
        MutexLock lock(m_mutex);
        const auto end = std::chrono::steady_clock::now() + longest;
        while (m_toCome > 0) {
            if (!m_ended.waitUntil(m_mutex, end)) break;
        }
        return m_toCome == 0;
    }

private:
    Mutex m_mutex;
    Condition m_ended;
    int m_toCome SW_GUARDED_BY(m_mutex) = 0;
};

}  // namespace siftwell
