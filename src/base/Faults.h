// Faults: what becomes of a read through a wild pointer, an unreadable mapped page or an illegal
// instruction.
//
// Within a FaultGuard such a fault is thrown as a NamedException "SIGSEGV", "SIGBUS" or "SIGILL"
// without a reason, from the instruction that met it, and unwinds like any other exception.
// Everywhere else the calls that led to it go to standard error and to the log file, and the
// program dies of the signal. It also dies when the fault
//   - comes while the thread holds a Mutex or a Gate that guards data, which may be half changed;
//   - is within the memory allocator, or is the end of the stack;
//   - was sent by another process or thread, and is none of the thread's own;
//   - is below code that expects no exception: a destructor, a noexcept function, or one that has
//     something to destroy and called a function of the C library. The program then ends by
//     SIGABRT, as for an exception that nobody catches.
// All of Siftwell is built to expect exceptions from its own instructions, by GCC on x86-64. Builds
// by other compilers, for other processors or with sanitizers have no guards; those with sanitizers
// have no handlers either, for theirs say more.
//
// Locks within libraries are not known here; a guard belongs around work whose library objects are
// its own.
//
// There is no handler for children that end: base/Processes collects each by its own ID. To collect
// "any child" would take from libraries the ones that they started.
//
// Threads: guards are for any thread, each its own; one stands on the stack and is no member.
// Errors: none.
#pragma once

#include <string_view>

#include "base/StackTraces.h"

namespace siftwell {

// Called by main, once, before there are other threads. The path is that of the log's file, if it
// has one. Unexpected ends by an exception that nobody catches are written there as well.
void installFaultHandlers(std::string_view logFile = {});

// Whether this build can turn faults into exceptions.
bool canThrowFaults();

class FaultGuard {
public:
    FaultGuard();
    ~FaultGuard();
    FaultGuard(const FaultGuard&) = delete;
    FaultGuard& operator=(const FaultGuard&) = delete;

private:
    const FaultGuard* const m_outer;
    void* m_signalStack = nullptr;
};

}  // namespace siftwell
