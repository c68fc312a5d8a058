// Definitions: the commands with their options, as they are typed.
//
// Threads: main.
#pragma once

#include <functional>

#include "cli/Commands.h"

namespace CLI {
class App;
}

namespace siftwell {

using Command = std::function<ExitStatus(const CommandContext&)>;

// When the program has parsed its arguments, `command` is what they ask for.
void addReadingCommands(CLI::App& program, Command& command);
void addWritingCommands(CLI::App& program, Command& command);
// Those that list something and change it.
void addListCommands(CLI::App& program, Command& command);

}  // namespace siftwell
