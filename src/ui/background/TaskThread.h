// TaskThread: a thread that works for a window and hands back what came of it.
//
// Threads: made, asked and ended on the main thread. Its end waits for the task that runs, which is
// told by its token and comes back soon; tasks and results that wait then are dropped.
// Errors: none; a task handles its own.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <stop_token>
#include <thread>

#include "base/Mutex.h"
#include "base/RunLoop.h"
#include "base/WorkSignal.h"

namespace siftwell {

class TaskThread {
public:
    using Done = std::function<void()>;
    using Task = std::function<Done(const std::stop_token& stop)>;

    // `name` is the thread's, of at most 15 characters. The loop outlives the object.
    TaskThread(RunLoop& mainLoop, const char* name);
    ~TaskThread();

    // Has the task done after those before it; what it returns is done on the main thread then.
    void run(Task task);

    // Drops the tasks before it first, as `drop` does.
    void runInstead(Task task);

    // What was asked for no longer counts: what runs is told so, and its result is not done.
    void drop();

    // Does it on the main thread, unless this object is gone by then. Any thread.
    void post(Done done);

private:
    struct Work {
        Task task;
        std::stop_token stop;
    };

    void serve(const std::stop_token& stop);
    Work nextWork();

    RunLoop& m_mainLoop;
    const std::shared_ptr<int> m_life = std::make_shared<int>();
    WorkSignal m_signal;
    Mutex m_mutex;
    std::deque<Work> m_works SW_GUARDED_BY(m_mutex);
    std::stop_source m_counting;  // of all that was asked for and not dropped; main thread
    std::jthread m_thread;
};

}  // namespace siftwell
