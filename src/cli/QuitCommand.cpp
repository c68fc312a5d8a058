#include <chrono>

#include "app/WriterLock.h"
#include "app/bus/RunningCopy.h"
#include "base/NotificationCentre.h"
#include "base/Translate.h"
#include "cli/Commands.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kTimeToEnd(6000);
constexpr milliseconds kBetweenLooks(20);

// Whether the process lets go of the lock, which it does last of all.
bool isGoneInTime(pid_t process, const CommandContext& context) {
    const auto end = steady_clock::now() + kTimeToEnd;
    while (WriterLock::holder(context.paths.stateFolder) == process) {
        if (steady_clock::now() >= end) return false;
        context.mainLoop.turn(kBetweenLooks);
    }
    return true;
}

}  // namespace

ExitStatus runQuit(const CommandContext& context) {
    const pid_t process = WriterLock::holder(context.paths.stateFolder);
    if (process == 0) {
        context.console.message(_("Siftwell is not running."));
        return ExitStatus::Done;
    }
    NotificationCentre centre(context.mainLoop);
    const auto copy = RunningCopy::connect(centre, process);
    const Status status = copy ? (*copy)->quit() : copy.status();
    // It may have ended by itself meanwhile.
    if (WriterLock::holder(context.paths.stateFolder) != process) return ExitStatus::Done;
    if (!status.isOk()) {
        context.console.message(
            printable("siftwell: " + filledIn(_("The running copy (process %d) cannot be reached: "
                                                "%@"),
                                              std::int64_t{process}, status.message())));
        return ExitStatus::InTheWay;
    }
    if (isGoneInTime(process, context)) return ExitStatus::Done;
    context.console.message(
        "siftwell: " +
        filledIn(_("The running copy (process %d) does not end."), std::int64_t{process}));
    return ExitStatus::InTheWay;
}

}  // namespace siftwell
