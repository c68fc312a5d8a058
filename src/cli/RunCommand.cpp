#include <malloc.h>

#include "app/Resident.h"
#include "base/Alerts.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

namespace {

// A program that is there all day keeps little that it does not use: threads share two arenas.
void keepMemorySmall() { mallopt(M_ARENA_MAX, 2); }

}  // namespace

ExitStatus runResident(const RunOptions& options, const CommandContext& context) {
    keepMemorySmall();
    NotificationCentre centre(context.mainLoop);
    const ErrorList errors(centre, context.console);
    LoggedAlerts alerts;
    auto resident = Resident::start(
        {.paths = context.paths, .mainLoop = context.mainLoop, .centre = centre, .alerts = alerts},
        options.isReplacing ? 0 : 1);
    if (!resident) return explainFailure(resident.status(), context.console);
    (*resident)->run();
    const Status closing = (*resident)->close();
    if (!closing.isOk()) return explainFailure(closing, context.console);
    return ExitStatus::Done;
}

}  // namespace siftwell
