#include "ui/background/TaskThread.h"

#include <utility>

#include "base/ThreadPriority.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kLongestSleep(60'000);

}  // namespace

TaskThread::TaskThread(RunLoop& mainLoop, const char* name)
    : m_mainLoop(mainLoop), m_thread([this, name](const std::stop_token& stop) {
          nameThisThread(name);
          serve(stop);
      }) {}

TaskThread::~TaskThread() {
    m_thread.request_stop();
    m_signal.raise();
}

void TaskThread::run(Task task) {
    {
        MutexLock lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    m_signal.raise();
}

void TaskThread::post(Done done) {
    m_mainLoop.post([life = std::weak_ptr(m_life), task = std::move(done)] {
        if (!life.expired()) task();
    });
}

void TaskThread::serve(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        const Task task = nextTask();
        if (!task) {
            m_signal.wait(kLongestSleep);
        } else if (Done done = task(stop)) {
            post(std::move(done));
        }
    }
}

TaskThread::Task TaskThread::nextTask() {
    MutexLock lock(m_mutex);
    if (m_tasks.empty()) return {};
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return task;
}

}  // namespace siftwell
