#include "cli/DriverCommand.h"

#include <algorithm>

namespace siftwell {

ExitStatus explainRefusal(const Status& status, Console& console) {
    if (status.code() != StatusCode::NotFound && status.code() != StatusCode::Invalid) {
        return explainFailure(status, console);
    }
    console.message("siftwell: " + printable(status.message()));
    return ExitStatus::WrongUsage;
}

ExitStatus runThroughDriver(const CommandContext& context,
                            const std::function<ExitStatus(const ReachedCopy& reached)>& change) {
    NotificationCentre centre(context.mainLoop);
    const ErrorList errors(centre, context.console);
    auto copy = WritingCopy::reach(context.paths, context.mainLoop, centre);
    context.mainLoop.turn(std::chrono::milliseconds(0));  // what was reported meanwhile
    if (!copy) return explainFailure(copy.status(), context.console);
    const bool isOtherProcess = (*copy)->isOtherProcess();
    const ExitStatus result = change({**copy, centre, errors});
    const ProgramEnd end = (*copy)->close();
    context.mainLoop.turn(std::chrono::milliseconds(0));
    if (end.areThreadsLeft) endAtOnce(ExitStatus::SomeFailed, context.console);
    if (!end.status.isOk()) return explainFailure(end.status, context.console);
    if (isOtherProcess || errors.size() == 0 || result == ExitStatus::WrongUsage) return result;
    return std::max(result,
                    errors.indexErrors() > 0 ? ExitStatus::Unusable : ExitStatus::SomeFailed);
}

}  // namespace siftwell
