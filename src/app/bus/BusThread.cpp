#include "app/bus/BusThread.h"

#include <poll.h>
#include <sdbus-c++/Error.h>
#include <sys/eventfd.h>

#include <array>
#include <exception>
#include <utility>

#include "app/bus/BusConnection.h"
#include "base/Log.h"
#include "base/ThreadPriority.h"

namespace siftwell {

BusThread::BusThread(std::unique_ptr<sdbus::IConnection> connection, Task onEnd)
    : m_connection(std::move(connection)),
      m_onEnd(std::move(onEnd)),
      m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

BusThread::~BusThread() { stop(); }

void BusThread::start() {
    m_thread = std::thread([this] { run(); });
}

void BusThread::stop() {
    if (!m_thread.joinable()) return;
    m_isStopping = true;
    wake();
    if (!waitForEnd()) shutDown(*m_connection);
    m_thread.join();
}

bool BusThread::waitForEnd() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    MutexLock lock(m_mutex);
    while (!m_hasEnded) {
        if (!m_changed.waitUntil(m_mutex, end) && !m_hasEnded) return false;
    }
    return true;
}

bool BusThread::post(Task task, std::size_t maxWaiting) {
    {
        MutexLock lock(m_mutex);
        if (m_hasEnded || m_tasks.size() >= maxWaiting) return false;
        m_tasks.push_back(std::move(task));
    }
    wake();
    return true;
}

void BusThread::wake() const {
    const std::uint64_t one = 1;
    // A full counter means that the thread is about to wake up anyway.
    static_cast<void>(write(m_wakeUp.get(), &one, sizeof one) < 0);
}

void BusThread::run() {
    nameThisThread("bus");
    try {
        serve();
    } catch (const std::exception& error) {
        if (!m_isStopping)
            writeLog(std::string("The connection to the bus ended: ") + error.what());
    }
    std::deque<Task> dropped;
    {
        MutexLock lock(m_mutex);
        m_hasEnded = true;
        dropped.swap(m_tasks);
        m_changed.notifyAll();
    }
    if (m_onEnd) m_onEnd();
}

void BusThread::serve() {
    while (true) {
        const bool isLastRound = m_isStopping;
        runPosted();
        if (isLastRound) return;
        if (!m_connection->processPendingRequest()) wait();
    }
}

void BusThread::runPosted() {
    for (Task task; takeTask(task);) {
        try {
            task();
        } catch (const std::exception& error) {
            writeLog(std::string("Nothing was sent to the bus: ") + error.what());
        }
    }
}

bool BusThread::takeTask(Task& task) {
    MutexLock lock(m_mutex);
    if (m_tasks.empty()) return false;
    task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return true;
}

void BusThread::wait() {
    const auto bus = m_connection->getEventLoopPollData();
    std::array<pollfd, 2> files = {pollfd{bus.fd, bus.events, 0},
                                   pollfd{m_wakeUp.get(), POLLIN, 0}};
    poll(files.data(), files.size(), bus.getPollTimeout());
    std::uint64_t count = 0;
    static_cast<void>(read(m_wakeUp.get(), &count, sizeof count) < 0);
}

}  // namespace siftwell
