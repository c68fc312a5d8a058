#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/Session.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "cli/AddressArgument.h"
#include "cli/Commands.h"
#include "cli/MaintenanceWatch.h"
#include "cli/ScanWatch.h"
#include "index/IndexSizes.h"

namespace siftwell {

namespace {

// How much there is now; none, explained, when the index cannot be used.
std::optional<IndexSize> sizeNow(const CommandContext& context) {
    const auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (session) return sumOf(sizesOf(*(*session)->indexes().indexes()));
    explainFailure(session.status(), context.console);
    return std::nullopt;
}

// What keeps a command that takes something away from being done.
std::optional<ExitStatus> hindrance(const std::string& warning, const std::string& question,
                                    bool isConfirmed, Console& console) {
    if (isConfirmed) return std::nullopt;
    if (!console.canAsk()) {
        console.message("siftwell: " + warning + " " + _("Say --yes to go on."));
        return ExitStatus::WrongUsage;
    }
    const auto button =
        console.ask({.title = question, .text = warning, .buttons = {_("No"), _("Yes")}});
    if (button == std::size_t{1}) return std::nullopt;
    return ExitStatus::Done;
}

ExitStatus run(const CommandContext& context, const std::string& progress,
               const MaintenanceWatch::Start& start) {
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        return MaintenanceWatch(reached, context).run(progress, start);
    });
}

}  // namespace

ExitStatus runClear(const MaintenanceOptions& options, const CommandContext& context) {
    const auto size = sizeNow(context);
    if (!size) return ExitStatus::Unusable;
    if (size->documents == 0) context.console.message(_("Nothing is indexed."));
    const std::string warning = filledIn(_("%@ will be taken out of the index. Sources are read "
                                           "from their beginning by the next scan."),
                                         pageCount(size->documents));
    const auto end = hindrance(warning, _("Do you want to clear the index?"), options.isConfirmed,
                               context.console);
    if (end) return *end;
    return run(context, _("Clearing"), [](Driver& driver) { return driver.clearIndex(); });
}

ExitStatus runRebuild(const RebuildOptions& options, const CommandContext& context) {
    const auto size = sizeNow(context);
    if (!size) return ExitStatus::Unusable;
    if (size->documents == 0) {
        context.console.message(_("Nothing is indexed."));
        return ExitStatus::Done;
    }
    const std::string warning =
        filledIn(_("The index will be emptied, and %@ fetched again. What cannot be reached any "
                   "more will be missing then."),
                 pageCount(size->documents));
    const auto end = hindrance(warning, _("Do you want to rebuild the index?"), options.isConfirmed,
                               context.console);
    if (end) return *end;
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        const ExitStatus rebuilt =
            MaintenanceWatch(reached, context).run(_("Rebuilding"), [](Driver& driver) {
                return driver.rebuildIndex();
            });
        if (rebuilt != ExitStatus::Done) return rebuilt;
        if (options.isScanned) {
            return ScanWatch(reached, context).scan(Driver::ScanScope::Everything);
        }
        context.console.message(_("The next scan fetches the pages: siftwell scan"));
        return ExitStatus::Done;
    });
}

ExitStatus runCompact(const MaintenanceOptions& /*options*/, const CommandContext& context) {
    letSignalsEndTheProgram();  // the files are whole at every moment
    const auto before = sizeNow(context);
    if (!before) return ExitStatus::Unusable;
    const ExitStatus result =
        run(context, _("Compacting"), [](Driver& driver) { return driver.compactIndex(); });
    const auto after = sizeNow(context);
    if (result == ExitStatus::Done && after) {
        context.console.message(
            filledIn(_("%@ now, %@ before."), humanBytes(after->bytes), humanBytes(before->bytes)));
    }
    return result;
}

ExitStatus runDump(const DumpOptions& options, const CommandContext& context) {
    letSignalsEndTheProgram();  // the file comes to its place when it is whole
    std::error_code error;
    const std::string path = std::filesystem::absolute(options.file, error).string();
    if (error || options.file.empty()) {
        context.console.message("siftwell: " + _("Please name a file to write to."));
        return ExitStatus::WrongUsage;
    }
    if (fileInfo(path)) {
        const std::string warning = filledIn(_("There is a file %@ already."), printable(path));
        const auto end = hindrance(warning, _("Do you want to replace it?"), options.isConfirmed,
                                   context.console);
        if (end) return *end;
    }
    return run(context, _("Writing"), [&](Driver& driver) {
        return options.hasTerms ? driver.dumpIndex(path) : driver.dumpURLs(path);
    });
}

ExitStatus runSalvage(const SalvageOptions& options, const CommandContext& context) {
    return runAdd({.targets = {options.file}, .indexer = "IndexSalvager"}, context);
}

ExitStatus runApplyFilters(const CommandContext& context) {
    letSignalsEndTheProgram();
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        MaintenanceWatch watch(reached, context);
        const ExitStatus result =
            watch.run(_("Filtering"), [](Driver& driver) { return driver.applyFilters(); });
        if (result == ExitStatus::Done) {
            context.console.message(
                filledIn(_("%@ taken out of the index."), pageCount(watch.removedCount())));
        }
        return result;
    });
}

ExitStatus runRemove(const RemoveOptions& options, const CommandContext& context) {
    std::vector<std::string> addresses;  // all that the arguments may stand for
    for (const std::string& argument : options.addresses) {
        for (const Url& url : urlsOf(argument)) addresses.push_back(url.absoluteString());
    }
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        MaintenanceWatch watch(reached, context);
        const ExitStatus result = watch.run(
            _("Removing"), [&](Driver& driver) { return driver.eraseFromIndex(addresses); });
        if (result != ExitStatus::Done) return result;
        bool isAllRemoved = true;
        for (const std::string& argument : options.addresses) {
            const auto urls = urlsOf(argument);
            if (std::any_of(urls.begin(), urls.end(),
                            [&](const Url& url) { return watch.hasRemoved(url); })) {
                continue;
            }
            isAllRemoved = false;
            context.console.message(filledIn(_("%@ is not in the index."), printable(argument)));
        }
        return isAllRemoved ? ExitStatus::Done : ExitStatus::SomeFailed;
    });
}

}  // namespace siftwell
