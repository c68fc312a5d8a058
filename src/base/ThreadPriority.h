// Thread names and the lowest priority, at which background work runs.
#pragma once

namespace siftwell {

// The calling thread runs only when nothing else wants the processor (SCHED_IDLE, or nice 19 where
// that is refused) and its input and output go last.
void useLowestThreadPriority();

void nameThisThread(const char* name);  // at most 15 characters

}  // namespace siftwell
