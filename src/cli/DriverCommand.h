// DriverCommand: what every command that changes something does around its change.
//
// Threads: main.
#pragma once

#include <functional>

#include "app/WritingCopy.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

struct ReachedCopy {
    WritingCopy& copy;
    NotificationCentre& centre;  // of what it reports
    const ErrorList& errors;
};

// Reaches whoever may write, calls `change`, and lets go; whatever is reported meanwhile is
// printed. Answers what `change` does, or what is worse; what a running copy reports is not held
// against it.
ExitStatus runThroughDriver(const CommandContext& context,
                            const std::function<ExitStatus(const ReachedCopy& reached)>& change);

// Says what is the matter when the driver refused something: what it was asked for was wrong, or
// it cannot be done.
ExitStatus explainRefusal(const Status& status, Console& console);

}  // namespace siftwell
