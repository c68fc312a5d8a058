// The commands of the command line. Each is handed its options and answers what the program ends
// with.
//
// Threads: main.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "app/Driver.h"
#include "base/Date.h"
#include "base/Paths.h"
#include "base/RunLoop.h"
#include "base/Status.h"
#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "search/SearchQuery.h"

namespace siftwell {

// What every command works with.
struct CommandContext {
    const Paths& paths;
    RunLoop& mainLoop;
    Console& console;
};

struct SearchOptions {
    std::vector<std::string> words;
    SearchType type = SearchType::AllWords;
    std::vector<std::string> sources;  // none: everywhere
    Date since = Date::distantPast();
    Date until = Date::distantFuture();
    std::size_t limit = 20;  // 0: all
    bool isSortedByDate = false;
    bool isJson = false;
};
ExitStatus runSearch(const SearchOptions& options, const CommandContext& context);

struct RunOptions {
    bool isReplacing = false;  // a running copy is asked to quit first
};
ExitStatus runResident(const RunOptions& options, const CommandContext& context);

// Whether there is a display, and the program with windows beside this one.
bool canShowWindows();
// Opens the search window: the running copy's, or else by becoming the program with windows.
ExitStatus runWindow(const CommandContext& context);

struct ToggleOptions {
    std::vector<std::string> words;  // to be searched for; none: only the windows come or go
};
ExitStatus runToggle(const ToggleOptions& options, const CommandContext& context);

struct ScanOptions {
    bool isOffline = false;
};
ExitStatus runScan(const ScanOptions& options, const CommandContext& context);

struct AddOptions {
    std::vector<std::string> targets;  // addresses and paths
    std::optional<std::string> indexer;
    Driver::FileUse fileUse = Driver::FileUse::Ask;
    bool isScanned = true;
};
ExitStatus runAdd(const AddOptions& options, const CommandContext& context);

struct RemoveOptions {
    std::vector<std::string> addresses;
};
ExitStatus runRemove(const RemoveOptions& options, const CommandContext& context);

struct StatusOptions {
    bool isJson = false;
};
ExitStatus runStatus(const StatusOptions& options, const CommandContext& context);

struct ErrorsOptions {
    bool isJson = false;
};
ExitStatus runErrors(const ErrorsOptions& options, const CommandContext& context);

struct WhyOptions {
    std::string address;
    bool isJson = false;
};
ExitStatus runWhy(const WhyOptions& options, const CommandContext& context);

struct SourcesOptions {
    enum class Action { List, Discover, Enable, Disable, Delete, Reset, Set };
    Action action = Action::List;
    bool isJson = false;
    bool isEnabling = false;  // what is discovered is added and switched on
    std::vector<std::string> names;
    std::string key;  // to be set
    std::string value;
};
ExitStatus runSources(const SourcesOptions& options, const CommandContext& context);
ExitStatus runDiscover(const SourcesOptions& options, const CommandContext& context);
// Before the very first start: tells which browsers there are, and how to have them read.
void tellOfBrowsers(const CommandContext& context);

struct FiltersOptions {
    enum class Action { List, Add, Delete, Reset, Apply };
    Action action = Action::List;
    bool isJson = false;
    bool isConfirmed = false;  // a reset is not asked about
    std::string text;
};
ExitStatus runFilters(const FiltersOptions& options, const CommandContext& context);
// Takes out what the filters keep out by now.
ExitStatus runApplyFilters(const CommandContext& context);

struct DefaultsOptions {
    enum class Action { Read, Write, Delete };
    Action action = Action::Read;
    bool isJson = false;
    std::optional<std::string> key;  // none: all are read
    std::string value;
};
ExitStatus runDefaults(const DefaultsOptions& options, const CommandContext& context);

struct MaintenanceOptions {
    bool isConfirmed = false;  // it is not asked about
};
ExitStatus runClear(const MaintenanceOptions& options, const CommandContext& context);

struct RebuildOptions {
    bool isConfirmed = false;
    bool isScanned = true;
};
ExitStatus runRebuild(const RebuildOptions& options, const CommandContext& context);

ExitStatus runCompact(const MaintenanceOptions& options, const CommandContext& context);

struct DumpOptions {
    std::string file;
    bool hasTerms = false;
    bool isConfirmed = false;  // a file of that name is replaced
};
ExitStatus runDump(const DumpOptions& options, const CommandContext& context);

struct SalvageOptions {
    std::string file;
};
ExitStatus runSalvage(const SalvageOptions& options, const CommandContext& context);

ExitStatus runQuit(const CommandContext& context);

struct CheckOptions {
    bool isRepair = false;
    bool isJson = false;
};
ExitStatus runCheck(const CheckOptions& options, const CommandContext& context);

// Ends the process without destroying anything, for threads that hang may use it still.
[[noreturn]] void endAtOnce(ExitStatus status, Console& console);

// Says what is the matter; answers what the program ends with for a session that cannot be opened.
ExitStatus explainFailure(const Status& status, Console& console);

}  // namespace siftwell
