#include "base/Translate.h"
#include "cli/AddressArgument.h"
#include "cli/DriverCommand.h"

namespace siftwell {

namespace {

// How many pages went of what the argument stands for first.
Result<std::size_t> removeFirstOf(Driver& driver, const std::vector<Url>& urls) {
    for (const Url& url : urls) {
        auto removed = driver.removeFromIndex({url.absoluteString()});
        if (!removed || *removed > 0) return removed;
    }
    return std::size_t{0};
}

ExitStatus removeAll(const std::vector<std::string>& arguments, Driver& driver, Console& console) {
    bool isAllRemoved = true;
    for (const std::string& argument : arguments) {
        const auto removed = removeFirstOf(driver, urlsOf(argument));
        if (!removed) return explainFailure(removed.status(), console);
        if (*removed > 0) continue;
        isAllRemoved = false;
        console.message(filledIn(_("%@ is not in the index."), printable(argument)));
    }
    return isAllRemoved ? ExitStatus::Done : ExitStatus::SomeFailed;
}

}  // namespace

ExitStatus runRemove(const RemoveOptions& options, const CommandContext& context) {
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        reached.copy.waitUntilIndexingIsEnabled();
        return removeAll(options.addresses, reached.copy.driver(), context.console);
    });
}

}  // namespace siftwell
