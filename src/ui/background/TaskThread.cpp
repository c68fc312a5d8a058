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
    drop();
    m_signal.raise();
}

void TaskThread::run(Task task) {
    {
        MutexLock lock(m_mutex);
        m_works.push_back({std::move(task), m_counting.get_token()});
    }
    m_signal.raise();
}

void TaskThread::runInstead(Task task) {
    drop();
    run(std::move(task));
}

void TaskThread::drop() {
    m_counting.request_stop();
    m_counting = {};
    MutexLock lock(m_mutex);
    m_works.clear();
}

void TaskThread::post(Done done) {
    m_mainLoop.post([life = std::weak_ptr(m_life), task = std::move(done)] {
        if (!life.expired()) task();
    });
}

void TaskThread::serve(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        const Work work = nextWork();
        if (!work.task) {
            m_signal.wait(kLongestSleep);
        } else if (Done done = work.task(work.stop)) {
            post([done = std::move(done), counting = work.stop] {
                if (!counting.stop_requested()) done();
            });
        }
    }
}

TaskThread::Work TaskThread::nextWork() {
    MutexLock lock(m_mutex);
    if (m_works.empty()) return {};
    Work work = std::move(m_works.front());
    m_works.pop_front();
    return work;
}

}  // namespace siftwell
