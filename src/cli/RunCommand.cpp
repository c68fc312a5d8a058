#include "app/Resident.h"
#include "base/Alerts.h"
#include "base/Memory.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

ExitStatus runResident(const RunOptions& options, const CommandContext& context) {
    keepMemorySmall();
    tellOfBrowsers(context);
    NotificationCentre centre(context.mainLoop);
    const ErrorList errors(centre, context.console);
    const auto updates = centre.observe(
        "SiftwellUpdateAvailableNotification", [&context](const PropertyList& update) {
            const auto* item = update.asDictionary();
            if (item == nullptr) return;
            context.console.message(
                printable(filledIn(_("Version %@ of Siftwell is available: %@"),
                                   stringFor(*item, "version"), stringFor(*item, "url"))));
        });
    LoggedAlerts alerts;
    auto resident = Resident::start(
        {.paths = context.paths, .mainLoop = context.mainLoop, .centre = centre, .alerts = alerts},
        options.isReplacing ? OtherCopy::Replaced : OtherCopy::LeftAlone);
    if (!resident) return explainFailure(resident.status(), context.console);
    (*resident)->run();
    const ProgramEnd end = (*resident)->close();
    const ExitStatus result =
        end.status.isOk() ? ExitStatus::Done : explainFailure(end.status, context.console);
    if (end.areThreadsLeft) endAtOnce(result, context.console);
    return result;
}

}  // namespace siftwell
