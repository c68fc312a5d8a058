// The commands of the command line. Each is handed its options and answers what the program ends
// with.
//
// Threads: main.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

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

struct AddOptions {
    std::vector<std::string> paths;
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

struct CheckOptions {
    bool isRepair = false;
    bool isJson = false;
};
ExitStatus runCheck(const CheckOptions& options, const CommandContext& context);

// Says what is the matter; answers what the program ends with for a session that cannot be opened.
ExitStatus explainFailure(const Status& status, Console& console);

}  // namespace siftwell
