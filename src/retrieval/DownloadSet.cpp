#include "retrieval/DownloadSet.h"

#include <algorithm>
#include <utility>

namespace siftwell {

std::vector<DownloadSet::Entry>::iterator DownloadSet::entryOf(const Downloader& downloader) {
    return std::find_if(m_entries.begin(), m_entries.end(),
                        [&](const Entry& entry) { return entry.downloader == downloader; });
}

void DownloadSet::add(const Downloader& downloader) {
    MutexLock lock(m_mutex);
    m_entries.push_back({.downloader = downloader});
}

void DownloadSet::remove(const Downloader& downloader) {
    MutexLock lock(m_mutex);
    const auto entry = entryOf(downloader);
    if (entry != m_entries.end()) m_entries.erase(entry);
}

// Its end is somebody's business from now on.
void DownloadSet::setAside(Entry& entry) {
    entry.isClaimed = true;
    m_waitingBytes -= std::exchange(entry.waitingBytes, 0);
}

DownloadSet::Downloader DownloadSet::takeFinished() {
    MutexLock lock(m_mutex);
    if (m_finished.empty()) return nullptr;
    Downloader downloader = std::move(m_finished.front());
    m_finished.pop_front();
    setAside(*entryOf(downloader));
    return downloader;
}

std::vector<DownloadSet::Downloader> DownloadSet::claim(const std::optional<std::string>& source) {
    std::vector<Downloader> claimed;
    MutexLock lock(m_mutex);
    for (Entry& entry : m_entries) {
        const bool isMeant = !source || entry.downloader->document().source == *source;
        if (!isMeant || entry.isClaimed) continue;
        setAside(entry);
        std::erase(m_finished, entry.downloader);
        claimed.push_back(entry.downloader);
    }
    return claimed;
}

std::size_t DownloadSet::size() const {
    MutexLock lock(m_mutex);
    return m_entries.size();
}

bool DownloadSet::hasAny(const std::optional<std::string>& source) const {
    MutexLock lock(m_mutex);
    return std::any_of(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        const bool isMeant = !source || entry.downloader->document().source == *source;
        return isMeant && !entry.downloader->cancelled();
    });
}

bool DownloadSet::hasRoomForData() const {
    if (m_waitingBytes < kMaxWaitingBytes) return true;
    m_wasRoomRefused = true;
    return m_waitingBytes < kMaxWaitingBytes;  // or else the refusal was seen by who made room
}

bool DownloadSet::takeNewRoom() {
    return m_waitingBytes < kMaxWaitingBytes && m_wasRoomRefused.exchange(false);
}

void DownloadSet::downloaderFinished(const Downloader& downloader, DownloadError) {
    const std::size_t bytes = downloader->dataSize();
    {
        MutexLock lock(m_mutex);
        const auto entry = entryOf(downloader);
        if (entry == m_entries.end() || entry->isClaimed) return;
        entry->waitingBytes = bytes;
        m_waitingBytes += bytes;
        m_finished.push_back(downloader);
    }
    m_signal->raise();
}

}  // namespace siftwell
