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

    // Does it on the main thread, unless this object is gone by then. Any thread.
    void post(Done done);

private:
    void serve(const std::stop_token& stop);
    Task nextTask();

    RunLoop& m_mainLoop;
    const std::shared_ptr<int> m_life = std::make_shared<int>();
    WorkSignal m_signal;
    Mutex m_mutex;
    std::deque<Task> m_tasks SW_GUARDED_BY(m_mutex);
    std::jthread m_thread;
};

}  // namespace siftwell
