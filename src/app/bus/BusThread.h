// BusThread: the one thread that touches a connection, from start() to stop().
//
// The library has an event loop of its own, but that ends the program when the bus goes, and what
// other threads send by it waits for a bus that no longer reads.
//
// Threads: `post` and `hasEnded` from any; the others where it was made. Until start() and after
// stop() the connection is the maker's.
// Errors: those of tasks and of the connection are logged. When the bus goes, the thread ends.
#pragma once

#include <sdbus-c++/IConnection.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <thread>

#include "base/FileDescriptor.h"
#include "base/Mutex.h"

namespace siftwell {

class BusThread {
public:
    using Task = std::function<void()>;

    // `onEnd` is called by the thread when it ends for whatever reason.
    explicit BusThread(std::unique_ptr<sdbus::IConnection> connection, Task onEnd = nullptr);
    ~BusThread();

    sdbus::IConnection& connection() { return *m_connection; }

    void start();
    // Runs what was posted, for a second at most, and ends. No task runs from then on.
    void stop();

    // Runs the task on the thread, after those posted before it; false when more than `maxWaiting`
    // are waiting, or the thread has ended.
    static constexpr std::size_t kAnyNumber = SIZE_MAX;
    bool post(Task task, std::size_t maxWaiting = kAnyNumber);

private:
    void run();
    void serve();
    void runPosted();
    bool takeTask(Task& task);
    void wait();
    void wake() const;
    bool waitForEnd();

    const std::unique_ptr<sdbus::IConnection> m_connection;
    const Task m_onEnd;
    const FileDescriptor m_wakeUp;
    std::atomic<bool> m_isStopping = false;

    Mutex m_mutex;
    Condition m_changed;
    std::deque<Task> m_tasks SW_GUARDED_BY(m_mutex);
    bool m_hasEnded SW_GUARDED_BY(m_mutex) = false;
    std::thread m_thread;
};

}  // namespace siftwell
