// DownloadWaits: waiting for the retriever without keeping a thread.
//
// Threads: main, where the answers are called too.
#pragma once

#include <chrono>
#include <functional>
#include <list>

#include "base/RunLoop.h"
#include "base/Status.h"

namespace siftwell {

class DownloadWaits {
public:
    // Outlives the waits.
    explicit DownloadWaits(RunLoop& mainLoop) : m_mainLoop(mainLoop) {}
    ~DownloadWaits() { m_mainLoop.cancelTimer(m_timer); }
    DownloadWaits(const DownloadWaits&) = delete;
    DownloadWaits& operator=(const DownloadWaits&) = delete;

    // Asks `isDone` now and then, for `seconds` or ten minutes at most, and answers with what it
    // said last. Busy when 64 waits are under way, Invalid for a time that is none.
    void add(std::function<bool()> isDone, double seconds,
             std::function<void(const Result<bool>&)> answer);

private:
    struct Wait {
        std::function<bool()> isDone;
        std::chrono::milliseconds left;
        std::function<void(const Result<bool>&)> answer;
    };

    void startTimer();
    void ask();

    RunLoop& m_mainLoop;
    RunLoop::TimerID m_timer = 0;
    std::list<Wait> m_waits;
};

}  // namespace siftwell
