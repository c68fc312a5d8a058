#include "search/ResultThreadLock.h"

namespace siftwell {

ResultThreadLock::Worker ResultThreadLock::enter() {
    MutexLock lock(m_mutex);
    m_condition = ++m_last;
    return m_condition;
}

void ResultThreadLock::leave() {
    MutexLock lock(m_mutex);
    m_condition = kNone;
    m_changed.notifyAll();
}

bool ResultThreadLock::isRegistered(Worker worker) const {
    MutexLock lock(m_mutex);
    return m_condition == worker;
}

bool ResultThreadLock::hasWorker() const {
    MutexLock lock(m_mutex);
    return m_condition != kNone;
}

void ResultThreadLock::stop() {
    MutexLock lock(m_mutex);
    if (m_condition == kNone) return;
    m_condition = kStopping;
    m_changed.notifyAll();
    while (m_condition != kNone) m_changed.wait(m_mutex);
}

void ResultThreadLock::notePosted() {
    MutexLock lock(m_mutex);
    ++m_waiting;
}

void ResultThreadLock::noteTaken() {
    MutexLock lock(m_mutex);
    --m_waiting;
    m_changed.notifyAll();
}

void ResultThreadLock::waitUntilTaken(Worker worker, std::chrono::milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    MutexLock lock(m_mutex);
    while (m_waiting > 0 && m_condition == worker && m_changed.waitUntil(m_mutex, end)) {
    }
}

}  // namespace siftwell
