// TaskQueue: what was posted to a loop and waits for its turn.
//
// Threads: any may add; tasks run on the loop's.
#pragma once

#include <deque>

#include "base/Mutex.h"
#include "base/RunLoop.h"

namespace siftwell {

class TaskQueue {
public:
    void add(RunLoop::Task task);
    bool isEmpty();

    // As many tasks as are queued now: one that posts itself again lets others have their turn.
    void runQueued();

private:
    bool take(RunLoop::Task& task);

    Mutex m_mutex;
    std::deque<RunLoop::Task> m_tasks SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
