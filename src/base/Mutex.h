// Mutex, MutexLock and Condition: what guards data for the length of a few lines.
//
// Threads: a Mutex is never held across a call out of its class, input or output, or a
// notification; what must be held that long is a Gate (base/Gate.h). Every member that several
// threads share says by SW_GUARDED_BY which Mutex guards it, and clang checks it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/HeldLocks.h"
#include "base/ThreadAnnotations.h"

namespace siftwell {

class SW_CAPABILITY("mutex") Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() SW_ACQUIRE() {
        ++heldLocks;
        m_mutex.lock();
    }
    void unlock() SW_RELEASE() {
        m_mutex.unlock();
        --heldLocks;
    }
    bool try_lock() SW_TRY_ACQUIRE(true) {
        ++heldLocks;
        if (m_mutex.try_lock()) return true;
        --heldLocks;
        return false;
    }

private:
    std::mutex m_mutex;
};

class SW_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) SW_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexLock() SW_RELEASE() { m_mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& m_mutex;
};

// Waits are loops: `while (!ready) m_changed.wait(m_mutex);` with the Mutex held.
class Condition {
public:
    void notifyAll() { m_condition.notify_all(); }

    void wait(Mutex& mutex) SW_REQUIRES(mutex) { m_condition.wait(mutex); }

    // False when the time is over without a notification.
    bool waitUntil(Mutex& mutex, std::chrono::steady_clock::time_point end) SW_REQUIRES(mutex) {
        return m_condition.wait_until(mutex, end) == std::cv_status::no_timeout;
    }

private:
    std::condition_variable_any m_condition;
};

}  // namespace siftwell
