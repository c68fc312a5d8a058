// What every program of Siftwell does before it makes its objects.
//
// Threads: main, before there are others.
#pragma once

#include "base/Paths.h"

namespace siftwell {

// Blocks the signals that a run loop takes, in all threads to come, and lets no reader that hangs
// up end the program; sends the log to its file and has faults written there; takes the language
// of the environment. The user's paths.
Paths prepareProgram();

}  // namespace siftwell
