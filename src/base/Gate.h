// Gates: what may be held across calls, threads' waits and run-loop turns.
//
// A gate keeps its holder and a count under a Mutex of its own, which is held for a few lines only.
// Leaving is left to the holders below, so that unwinding never forgets it.
#pragma once

#include <atomic>
#include <map>
#include <thread>

#include "base/Mutex.h"

namespace siftwell {

// Gate: held by one thread at a time, which may enter again.
class Gate {
public:
    // What holding it means when the holder meets a fault of the processor (base/Faults.h).
    enum class Guards {
        Data,   // may be half changed then: the program ends
        Turns,  // nothing: the hold is released by unwinding and the next one has its turn
    };

    Gate() = default;
    explicit Gate(Guards guards) : m_guards(guards) {}

    void enter();
    bool tryEnter();  // false, at once, when another thread holds it
    void leave();     // by the thread that entered, once for each entry

    // Waits for as long as another thread holds the gate and leaves it untouched. Costs one atomic
    // read when nobody does.
    void passThrough();

    bool isHeld() const { return m_held.load(std::memory_order_acquire); }
    bool isHeldByThisThread() const;

private:
    bool isClosedToThisThread() const SW_REQUIRES(m_mutex);
    void countEntry() SW_REQUIRES(m_mutex);

    const Guards m_guards = Guards::Data;
    mutable Mutex m_mutex;
    Condition m_left;
    std::thread::id m_holder SW_GUARDED_BY(m_mutex);
    int m_entries SW_GUARDED_BY(m_mutex) = 0;
    std::atomic<bool> m_held = false;
};

// SharedGate: many sharers or one exclusive holder; an exclusive holder that waits goes first.
//
// Holds are counted by thread: a thread that is inside passes again, whoever waits meanwhile. A
// thread that only shares must not ask for the exclusive hold (two of them would wait for each
// other); the program ends with a message when one does.
class SharedGate {
public:
    void enterShared();
    void leaveShared();
    void enterExclusive();
    void leaveExclusive();

    int holders() const;  // threads inside

private:
    int& holdsOfThisThread() SW_REQUIRES(m_mutex);
    void dropHold() SW_REQUIRES(m_mutex);

    mutable Mutex m_mutex;
    Condition m_changed;
    std::map<std::thread::id, int> m_holds SW_GUARDED_BY(m_mutex);
    int m_waitingExclusive SW_GUARDED_BY(m_mutex) = 0;
    std::thread::id m_exclusive SW_GUARDED_BY(m_mutex);
};

class GateHold {
public:
    explicit GateHold(Gate& gate) : m_gate(gate) { m_gate.enter(); }
    ~GateHold() { m_gate.leave(); }
    GateHold(const GateHold&) = delete;
    GateHold& operator=(const GateHold&) = delete;

private:
    Gate& m_gate;
};

class SharedHold {
public:
    explicit SharedHold(SharedGate& gate) : m_gate(gate) { m_gate.enterShared(); }
    ~SharedHold() { m_gate.leaveShared(); }
    SharedHold(const SharedHold&) = delete;
    SharedHold& operator=(const SharedHold&) = delete;

private:
    SharedGate& m_gate;
};

class ExclusiveHold {
public:
    explicit ExclusiveHold(SharedGate& gate) : m_gate(gate) { m_gate.enterExclusive(); }
    ~ExclusiveHold() { m_gate.leaveExclusive(); }
    ExclusiveHold(const ExclusiveHold&) = delete;
    ExclusiveHold& operator=(const ExclusiveHold&) = delete;

private:
    SharedGate& m_gate;
};

}  // namespace siftwell
