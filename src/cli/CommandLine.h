// CommandLine: from the arguments of the program to the command that they ask for.
//
// Threads: main.
#pragma once

#include "cli/Commands.h"

namespace siftwell {

// Reads the arguments, runs the command, and answers what the program ends with.
ExitStatus runCommandLine(int argc, const char* const* argv, const CommandContext& context);

}  // namespace siftwell
