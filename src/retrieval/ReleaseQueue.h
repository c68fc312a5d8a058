// ReleaseQueue keeps finished downloaders for a while longer: a connection that has just ended may
// still have something to say to its own.
//
// Threads: releaseAfterDelay any; the rest happens on the main thread. Tasks of the main loop keep
// it alive.
#pragma once

#include <chrono>
#include <deque>
#include <memory>

#include "base/RunLoop.h"
#include "retrieval/DocumentDownloader.h"

namespace siftwell {

class ReleaseQueue : public std::enable_shared_from_this<ReleaseQueue> {
public:
    using Downloader = std::shared_ptr<DocumentDownloader>;

    // The loop outlives the queue.
    explicit ReleaseQueue(RunLoop& mainLoop) : m_mainLoop(mainLoop) {}

    // Lets go of it thirty seconds later, or sooner when a thousand others have come since.
    void releaseAfterDelay(const Downloader& downloader);

private:
    struct Entry {
        Downloader downloader;
        std::chrono::steady_clock::time_point due;
    };

    void add(const Downloader& downloader);
    void releaseNow();  // the oldest one
    void waitForOldest();
    void releaseDue();

    RunLoop& m_mainLoop;
    std::deque<Entry> m_waiting;  // main thread, like the flag
    bool m_isTimerRunning = false;
};

}  // namespace siftwell
