// PreviewWorker: a thread for what a preview waits for. What is started last is all that counts.
//
// Threads: start() and drop() main; tasks run on the worker's own, which the end of the object
// waits for. Errors: none; tasks throw nothing.
#pragma once

#include <functional>
#include <stop_token>
#include <thread>

#include "base/Mutex.h"

namespace siftwell {

class PreviewWorker {
public:
    // Told to stop when it no longer counts.
    using Task = std::function<void(const std::stop_token&)>;

    PreviewWorker();
    ~PreviewWorker();

    void start(Task task);
    void drop() { start({}); }

private:
    struct Work {
        Task task;
        std::stop_source stop;
    };

    void run(const std::stop_token& stop);
    Work waitForWork(const std::stop_token& stop);

    Mutex m_mutex;
    Condition m_changed;
    Work m_next SW_GUARDED_BY(m_mutex);
    std::stop_source m_latest;  // main thread
    std::jthread m_thread;
};

}  // namespace siftwell
