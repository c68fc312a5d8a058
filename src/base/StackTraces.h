// Where an exception was thrown, for the log.
//
// Threads: each collects for itself: the last exception that it threw. An exception that has
// crossed threads, or whose unwinding threw and caught others, has no trace any more. Collecting
// costs a few microseconds with each exception that is thrown, and no memory is allocated for it.
//
// Throwing is watched at the door of the C++ runtime (__cxa_throw), which this library stands in
// front of in every program that it is linked into. Builds with sanitizers watch that door
// themselves; they have no traces.
#pragma once

#include <exception>
#include <span>

#include "base/StackCrawl.h"

namespace siftwell {

// Called at the start of a thread: from now on its exceptions have traces.
void collectStackTracesOnThrow();

// Writes the calls that led to the exception to the log, a line each, or that they are unknown.
void printStackTrace(const std::exception& exception);

// The calls that led to the last exception that the thread threw, until it throws the next; empty
// when it does not collect. For a program that is about to end by it; allocates nothing.
std::span<const StackFrame> framesOfLastThrow();

}  // namespace siftwell
