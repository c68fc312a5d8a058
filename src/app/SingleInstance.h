// SingleInstance: sees to it that one copy of the program runs for a user.
//
// Threads: main, whose loop is served while the other copy ends.
#pragma once

#include <memory>

#include "app/Session.h"
#include "base/Alerts.h"
#include "base/NotificationCentre.h"

namespace siftwell {

// Opens the session of the copy that is to run. Where another copy has the lock, the alert's answer
// decides: 0 asks that copy to end and waits for that, 1 leaves it alone. Busy when it stays.
Result<std::unique_ptr<Session>> openOnlySession(const Paths& paths, RunLoop& mainLoop,
                                                 NotificationCentre& centre, Alerts& alerts,
                                                 std::size_t safeAnswer);

}  // namespace siftwell
