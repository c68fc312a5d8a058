// ToolConfinement: what the program that reads browsers' files takes from itself on this system.
//
// Threads: any. It is run for a moment to find out.
#pragma once

#include <optional>

#include "base/Paths.h"

namespace siftwell {

struct ToolConfinement {
    bool hasFileRules = false;         // Landlock: it opens no file but those it is to read
    bool hasSystemCallFilter = false;  // seccomp: no network, no other programs
};

// None when it cannot be run.
std::optional<ToolConfinement> toolConfinement(const Paths& paths);

}  // namespace siftwell
