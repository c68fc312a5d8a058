// SingleInstance: sees to it that one copy of the program runs for a user.
//
// Threads: main, whose loop is served while the other copy ends.
#pragma once

#include <memory>

#include "app/Session.h"
#include "base/Alerts.h"
#include "base/NotificationCentre.h"

namespace siftwell {

// What becomes of another copy that runs, where the user cannot be asked.
enum class OtherCopy { Replaced, LeftAlone };

// Opens the session of the copy that is to run. Where another copy has the lock, the user is asked
// which one that is; the other copy is asked to end, or it is Busy.
Result<std::unique_ptr<Session>> openOnlySession(const Paths& paths, RunLoop& mainLoop,
                                                 NotificationCentre& centre, Alerts& alerts,
                                                 OtherCopy otherCopy);

}  // namespace siftwell
