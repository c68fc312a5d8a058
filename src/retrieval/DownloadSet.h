// DownloadSet: the downloads that are under way, and their ends that nobody has dealt with yet.
//
// Every download in the set comes to one end, with which one thread deals: the one that takes it
// from the finished ones, or the one that claims it to cancel it.
//
// Threads: any. It may outlive the retriever in a loader's last call.
#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "base/WorkSignal.h"
#include "retrieval/DocumentDownloader.h"

namespace siftwell {

class DownloadSet : public DownloadDelegate {
public:
    using Downloader = std::shared_ptr<DocumentDownloader>;

    // The signal is raised when one has finished.
    explicit DownloadSet(std::shared_ptr<WorkSignal> signal) : m_signal(std::move(signal)) {}

    void add(const Downloader& downloader);
    // The end was dealt with.
    void remove(const Downloader& downloader);

    // The one that finished first; null when there is none.
    Downloader takeFinished();
    // Those of the source, or all when there is none, with whose end nobody deals yet.
    std::vector<Downloader> claim(const std::optional<std::string>& source);

    std::size_t size() const;
    // Whether one of the source, or any, is under way that was not cancelled.
    bool hasAny(const std::optional<std::string>& source) const;

    void downloaderFinished(const Downloader& downloader, DownloadError withError) override;
    bool hasRoomForData() const override;
    // Whether there is room again since somebody was told that there was none.
    bool takeNewRoom();

private:
    struct Entry {
        Downloader downloader;
        bool isClaimed = false;
        std::size_t waitingBytes = 0;  // of a finished one
    };

    std::vector<Entry>::iterator entryOf(const Downloader& downloader) SW_REQUIRES(m_mutex);
    void setAside(Entry& entry) SW_REQUIRES(m_mutex);

    static constexpr std::size_t kMaxWaitingBytes = std::size_t{64} << 20;

    const std::shared_ptr<WorkSignal> m_signal;
    std::atomic<std::size_t> m_waitingBytes = 0;
    mutable std::atomic<bool> m_wasRoomRefused = false;
    mutable Mutex m_mutex;
    std::vector<Entry> m_entries SW_GUARDED_BY(m_mutex);
    std::deque<Downloader> m_finished SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
