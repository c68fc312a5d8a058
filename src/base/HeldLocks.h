// heldLocks: how many locks the thread holds, or is about to take, that guard data.
//
// A fault in the midst of such data cannot be survived: it may be half changed (base/Faults.h).
// Mutex and Gate keep the count. They raise it before they lock and lower it after they have
// unlocked, so that no compiler moves the guarded accesses out of between.
//
// Threads: one count each; a signal handler may read its own thread's.
#pragma once

namespace siftwell {

inline constinit thread_local int heldLocks = 0;

}  // namespace siftwell
