// IndexLocks: how indexing, maintenance and searching share the indexes.
//
// Order, where more than one is held: scan turn, index lock, the set's gate for making indexes, the
// gate of one index and its records. The priority is passed through at safe points and never held
// while waiting for another lock.
//
// Threads: any.
#pragma once

#include <stop_token>

#include "base/Gate.h"
#include "base/Mutex.h"

namespace siftwell {

// ScanLock: who wants the indexes for an enumeration (load, expiry, filtering). One at a time has
// its turn; the others wait, and an enumeration that can be broken off ends when somebody does.
class ScanLock {
public:
    // The party's turn, from construction (which waits for it) to destruction.
    class Turn {
    public:
        explicit Turn(ScanLock& lock) : m_lock(lock), m_isTaken(true) { m_lock.begin(); }
        // Nobody ends for its sake: waits until nobody else wants the indexes, or for the stop,
        // and then has no turn.
        Turn(ScanLock& lock, const std::stop_token& stop)
            : m_lock(lock), m_isTaken(m_lock.beginPatiently(stop)) {}
        ~Turn() {
            if (m_isTaken) m_lock.end();
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        bool isTaken() const { return m_isTaken; }

    private:
        ScanLock& m_lock;
        const bool m_isTaken;
    };

    int count() const;  // parties that have their turn or wait for it

private:
    void begin();
    bool beginPatiently(const std::stop_token& stop);
    void end();

    mutable Mutex m_mutex;
    Condition m_ended;
    int m_parties SW_GUARDED_BY(m_mutex) = 0;
    bool m_isTaken SW_GUARDED_BY(m_mutex) = false;
};

class IndexLocks {
public:
    // The index lock: shared by adding, removing, look-ups, compaction, dump, loader and filter
    // pass; exclusive for load, close and the purge at the end of expiry. An exclusive holder that
    // waits goes first; a thread that is inside passes again. Searching takes no index lock.
    void lockIndex(bool exclusive);
    void unlockIndex(bool exclusive);
    bool indexLocked() const { return m_index.holders() != 0; }
    SharedGate& indexGate() { return m_index; }

    // The priority: while a thread holds it, every background thread waits at its next safe point.
    void takePriority() { m_priority.enter(); }
    void releasePriority() { m_priority.leave(); }
    void yieldForPriorityThread() { m_priority.passThrough(); }
    // Whether another thread has the priority, so that the caller is to give up what it does.
    bool cancelForPriorityThread() const {
        return m_priority.isHeld() && !m_priority.isHeldByThisThread();
    }

    ScanLock& scanLock() { return m_scan; }

    // To be called by an enumeration between documents: whether it is still the only party.
    bool continueEnumerating();

private:
    Gate m_priority;
    ScanLock m_scan;
    SharedGate m_index;
};

}  // namespace siftwell
