#include "ui/preview/PreviewWorker.h"

#include <utility>

namespace siftwell {

PreviewWorker::PreviewWorker() : m_thread([this](const std::stop_token& stop) { run(stop); }) {}

PreviewWorker::~PreviewWorker() {
    m_thread.request_stop();
    drop();
}

void PreviewWorker::start(Task task) {
    m_latest.request_stop();
    m_latest = std::stop_source();
    MutexLock lock(m_mutex);
    m_next = {std::move(task), m_latest};
    m_changed.notifyAll();
}

PreviewWorker::Work PreviewWorker::waitForWork(const std::stop_token& stop) {
    MutexLock lock(m_mutex);
    while (!m_next.task && !stop.stop_requested()) m_changed.wait(m_mutex);
    return std::exchange(m_next, {});
}

void PreviewWorker::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        const Work work = waitForWork(stop);
        if (work.task) work.task(work.stop.get_token());
    }
}

}  // namespace siftwell
