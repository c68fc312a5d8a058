#include "index/IndexCounters.h"

#include <algorithm>

#include "base/Log.h"

namespace siftwell {

std::int64_t DocumentCounter::value() const {
    MutexLock lock(m_mutex);
    return m_value;
}

std::int64_t DocumentCounter::add(std::int64_t change) {
    MutexLock lock(m_mutex);
    const std::int64_t sum = m_value + change;
    m_value = std::max<std::int64_t>(sum, 0);
    return sum;
}

std::int64_t DocumentCounter::set(std::int64_t value) {
    MutexLock lock(m_mutex);
    m_value = std::max<std::int64_t>(value, 0);
    return value;
}

void IndexingGate::enable() {
    int reasonsBefore = 0;
    {
        MutexLock lock(m_mutex);
        reasonsBefore = m_reasons;
        m_reasons = std::max(m_reasons - 1, 0);
    }
    if (reasonsBefore == 0) {
        writeLog(
            "[IndexController enableIndexing] attempted to enable indexing when it was already "
            "enabled.");
    } else if (reasonsBefore == 1) {
        m_centre.postMainThreadNotificationName("SiftwellIndexingToggleNotification", true);
    }
}

bool IndexingGate::disable() {
    {
        MutexLock lock(m_mutex);
        if (++m_reasons > 1) return false;
    }
    m_centre.postMainThreadNotificationName("SiftwellIndexingToggleNotification", false);
    return true;
}

bool IndexingGate::isEnabled() const { return reasons() == 0; }

int IndexingGate::reasons() const {
    MutexLock lock(m_mutex);
    return m_reasons;
}

}  // namespace siftwell
