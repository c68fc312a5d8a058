// Timing: how much processor time a piece of work takes, for diagnosis.
//
// Threads: any, but there is one start for the whole process, whose time it is that counts.
#pragma once

#include <sys/resource.h>

#include <string>

namespace siftwell {

void StartTiming();

// Logs the label and the seconds that the process has used since StartTiming, which goes on.
void StopTiming(const std::string& label);

// User and system time between two records of resource usage.
double processorSeconds(const rusage& start, const rusage& end);

}  // namespace siftwell
