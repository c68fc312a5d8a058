#include "index/IndexLocks.h"

namespace siftwell {

int ScanLock::count() const {
    MutexLock lock(m_mutex);
    return m_parties;
}

void ScanLock::begin() {
    MutexLock lock(m_mutex);
    ++m_parties;
    while (m_isTaken) m_ended.wait(m_mutex);
    m_isTaken = true;
}

bool ScanLock::beginPatiently(const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] {
        MutexLock lock(m_mutex);
        m_ended.notifyAll();
    });
    MutexLock lock(m_mutex);
    while (m_parties > 0 && !stop.stop_requested()) m_ended.wait(m_mutex);
    if (stop.stop_requested()) return false;
    ++m_parties;
    m_isTaken = true;
    return true;
}

void ScanLock::end() {
    MutexLock lock(m_mutex);
    --m_parties;
    m_isTaken = false;
    m_ended.notifyAll();
}

void IndexLocks::lockIndex(bool exclusive) {
    if (exclusive) {
        m_index.enterExclusive();
    } else {
        m_index.enterShared();
    }
}

void IndexLocks::unlockIndex(bool exclusive) {
    if (exclusive) {
        m_index.leaveExclusive();
    } else {
        m_index.leaveShared();
    }
}

bool IndexLocks::continueEnumerating() {
    yieldForPriorityThread();
    return m_scan.count() == 1;
}

}  // namespace siftwell
