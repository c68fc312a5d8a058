#include "base/Gate.h"

#include <cstdio>
#include <cstdlib>

#include "base/HeldLocks.h"

namespace siftwell {

namespace {

[[noreturn]] void endWithMisuse(const char* what) {
    std::fprintf(stderr, "siftwell: %s\n", what);
    std::abort();
}

}  // namespace

bool Gate::isClosedToThisThread() const {
    return m_entries > 0 && m_holder != std::this_thread::get_id();
}

void Gate::countEntry() {
    m_holder = std::this_thread::get_id();
    ++m_entries;
    m_held.store(true, std::memory_order_release);
    if (m_guards == Guards::Data) ++heldLocks;
}

void Gate::enter() {
    MutexLock lock(m_mutex);
    while (isClosedToThisThread()) m_left.wait(m_mutex);
    countEntry();
}

bool Gate::tryEnter() {
    MutexLock lock(m_mutex);
    if (isClosedToThisThread()) return false;
    countEntry();
    return true;
}

void Gate::leave() {
    MutexLock lock(m_mutex);
    if (m_entries == 0 || isClosedToThisThread()) {
        endWithMisuse("a gate was left by a thread that does not hold it");
    }
    if (m_guards == Guards::Data) --heldLocks;
    if (--m_entries > 0) return;
    m_held.store(false, std::memory_order_release);
    m_left.notifyAll();
}

void Gate::passThrough() {
    if (!isHeld()) return;
    MutexLock lock(m_mutex);
    while (isClosedToThisThread()) m_left.wait(m_mutex);
}

bool Gate::isHeldByThisThread() const {
    MutexLock lock(m_mutex);
    return m_entries > 0 && !isClosedToThisThread();
}

int& SharedGate::holdsOfThisThread() { return m_holds[std::this_thread::get_id()]; }

void SharedGate::dropHold() {
    const auto hold = m_holds.find(std::this_thread::get_id());
    if (hold == m_holds.end()) endWithMisuse("a gate was left by a thread that is not inside");
    --heldLocks;
    if (--hold->second > 0) return;
    m_holds.erase(hold);
    if (m_exclusive == std::this_thread::get_id()) m_exclusive = std::thread::id();
    if (m_holds.empty()) m_changed.notifyAll();
}

void SharedGate::enterShared() {
    MutexLock lock(m_mutex);
    const auto self = std::this_thread::get_id();
    while (!m_holds.contains(self) &&
           (m_waitingExclusive > 0 || m_exclusive != std::thread::id())) {
        m_changed.wait(m_mutex);
    }
    ++holdsOfThisThread();
    ++heldLocks;
}

void SharedGate::leaveShared() {
    MutexLock lock(m_mutex);
    dropHold();
}

void SharedGate::enterExclusive() {
    MutexLock lock(m_mutex);
    const auto self = std::this_thread::get_id();
    if (m_exclusive != self) {
        if (m_holds.contains(self)) endWithMisuse("a shared hold cannot become exclusive");
        ++m_waitingExclusive;
        while (!m_holds.empty()) m_changed.wait(m_mutex);
        --m_waitingExclusive;
        m_exclusive = self;
    }
    ++holdsOfThisThread();
    ++heldLocks;
}

void SharedGate::leaveExclusive() {
    MutexLock lock(m_mutex);
    dropHold();
}

int SharedGate::holders() const {
    MutexLock lock(m_mutex);
    return static_cast<int>(m_holds.size());
}

}  // namespace siftwell
