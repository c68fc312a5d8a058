#include "cli/DriverCommand.h"
#include "cli/ScanWatch.h"

namespace siftwell {

ExitStatus runScan(const ScanOptions& options, const CommandContext& context) {
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        using enum Driver::ScanScope;
        return ScanWatch(reached, context).scan(options.isOffline ? LocalSources : Everything);
    });
}

}  // namespace siftwell
