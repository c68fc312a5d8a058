// TestRunLoop: a run loop in virtual time. Nothing waits: a turn that would wait moves the clock.
//
// Threads: tasks may be posted from any; the rest belongs to the test's thread.
#pragma once

#include <deque>
#include <map>
#include <thread>

#include "base/Mutex.h"
#include "base/RunLoop.h"
#include "support/TestClock.h"

namespace siftwell {

class TestRunLoop : public RunLoop {
public:
    explicit TestRunLoop(TestClock& clock) : m_clock(clock) {}

    void post(Task task) override {
        MutexLock lock(m_mutex);
        m_queue.push_back(std::move(task));
    }

    TimerID startTimer(std::chrono::milliseconds delay, Task task) override {
        const double seconds = std::chrono::duration<double>(delay).count();
        m_timers[++m_lastTimer] = {m_clock.now() + seconds, std::move(task)};
        return m_lastTimer;
    }

    void cancelTimer(TimerID timer) override { m_timers.erase(timer); }

    void watchSignal(int signal, Task task) override { m_signals[signal] = std::move(task); }
    void raise(int signal) { post(m_signals.at(signal)); }

    void turn(std::chrono::milliseconds longestWait) override {
        if (runQueued()) return;
        const Date end = m_clock.now() + std::chrono::duration<double>(longestWait).count();
        const auto next = nextTimer();
        if (next == m_timers.end() || next->second.due > end) {
            m_clock.setNow(end);
            return;
        }
        const Task task = std::move(next->second.task);
        m_clock.setNow(std::max(m_clock.now(), next->second.due));
        m_timers.erase(next);
        task();
    }

    void run() override {
        while (!m_isStopped) turn(std::chrono::hours(1));
    }

    void stop() override { m_isStopped = true; }

    bool isOwnedByThisThread() const override { return std::this_thread::get_id() == m_owner; }

    // Runs what is posted, and what that posts, without moving the clock.
    void drain() {
        while (runQueued()) {
        }
    }

    std::size_t pendingTimers() const { return m_timers.size(); }

private:
    struct Timer {
        Date due;
        Task task;
    };

    std::map<TimerID, Timer>::iterator nextTimer() {
        return std::min_element(m_timers.begin(), m_timers.end(), [](const auto& a, const auto& b) {
            return a.second.due < b.second.due;
        });
    }

    bool runQueued() {
        std::deque<Task> tasks;
        {
            MutexLock lock(m_mutex);
            tasks.swap(m_queue);
        }
        for (const Task& task : tasks) task();
        return !tasks.empty();
    }

    TestClock& m_clock;
    const std::thread::id m_owner = std::this_thread::get_id();
    std::map<TimerID, Timer> m_timers;
    std::map<int, Task> m_signals;
    TimerID m_lastTimer = 0;
    bool m_isStopped = false;
    Mutex m_mutex;
    std::deque<Task> m_queue SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
