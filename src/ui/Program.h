// Program: what every window works with.
//
// Threads: main, but for what its members say of themselves.
#pragma once

#include "app/AppController.h"
#include "app/Session.h"
#include "search/ResultActions.h"
#include "ui/Commands.h"

namespace siftwell {

// Borrowed; all of it outlives the windows.
struct Program {
    Session& session;
    AppController& driver;
    Desktop& desktop;
    Alerts& alerts;
    Commands& commands;
};

}  // namespace siftwell
