// ResultThreadLock: which worker may deliver results, and what of them was taken.
//
// A worker that is not the registered one any more notices at its next look and ends. Workers go by
// numbers above 0.
//
// Threads: any.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/Mutex.h"

namespace siftwell {

class ResultThreadLock {
public:
    using Worker = std::int64_t;

    // Registers the next worker. It is registered before its thread begins, so that whoever stops
    // it then does not miss it.
    Worker enter();
    void leave();  // by the worker, at its end
    bool isRegistered(Worker worker) const;
    bool hasWorker() const;

    // Asks the registered worker to stop and waits until it has left.
    void stop();

    void notePosted();
    void noteTaken();
    // Until all that was posted is taken, the worker is to stop, or the time is over.
    void waitUntilTaken(Worker worker, std::chrono::milliseconds longest);

private:
    static constexpr Worker kNone = 0;
    static constexpr Worker kStopping = -1;

    mutable Mutex m_mutex;
    Condition m_changed;
    Worker m_condition SW_GUARDED_BY(m_mutex) = kNone;
    Worker m_last SW_GUARDED_BY(m_mutex) = kNone;
    int m_waiting SW_GUARDED_BY(m_mutex) = 0;  // batches that were posted and not taken
};

}  // namespace siftwell
