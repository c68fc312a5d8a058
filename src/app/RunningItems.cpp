#include "app/RunningItems.h"

#include <algorithm>

namespace siftwell {

void RunningItems::add(const std::shared_ptr<SearchItemRecord>& item) {
    MutexLock lock(m_mutex);
    m_entries.push_back({item});
}

void RunningItems::setDone(const std::shared_ptr<SearchItemRecord>& item) {
    MutexLock lock(m_mutex);
    for (Entry& entry : m_entries) {
        if (entry.item == item) entry.isDone = true;
    }
    m_done.notifyAll();
}

void RunningItems::waitUntilAllAreDone() {
    MutexLock lock(m_mutex);
    while (!areAllDone()) m_done.wait(m_mutex);
}

void RunningItems::clear() {
    MutexLock lock(m_mutex);
    m_entries.clear();
}

std::vector<std::string> RunningItems::names() const {
    std::vector<std::string> names;
    MutexLock lock(m_mutex);
    for (const Entry& entry : m_entries) {
        if (!entry.isDone) names.push_back(entry.item->item().Name);
    }
    return names;
}

std::optional<SearchItem> RunningItems::itemForProcess(const std::string& processName) const {
    MutexLock lock(m_mutex);
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry) {
        SearchItem item = entry->item->item();
        if (item.ProcessName == processName) return item;
    }
    return std::nullopt;
}

bool RunningItems::areAllDone() const {
    return std::all_of(m_entries.begin(), m_entries.end(),
                       [](const Entry& entry) { return entry.isDone; });
}

}  // namespace siftwell
