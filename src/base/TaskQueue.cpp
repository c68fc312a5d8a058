#include "base/TaskQueue.h"

#include <utility>

namespace siftwell {

void TaskQueue::add(RunLoop::Task task) {
    MutexLock lock(m_mutex);
    m_tasks.push_back(std::move(task));
}

bool TaskQueue::isEmpty() {
    MutexLock lock(m_mutex);
    return m_tasks.empty();
}

void TaskQueue::runQueued() {
    std::size_t count = 0;
    {
        MutexLock lock(m_mutex);
        count = m_tasks.size();
    }
    for (RunLoop::Task task; count > 0 && take(task); --count) task();
}

bool TaskQueue::take(RunLoop::Task& task) {
    MutexLock lock(m_mutex);
    if (m_tasks.empty()) return false;
    task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return true;
}

}  // namespace siftwell
