#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <map>

#include "base/Clock.h"
#include "base/Translate.h"
#include "cli/DateArgument.h"

namespace siftwell {

namespace {

constexpr int kOutputVersion = 1;  // of what --json prints

using Command = std::function<ExitStatus(const CommandContext&)>;

// Reads into the place where the command finds it; the message goes to whoever typed it.
CLI::callback_t dateReader(Date& date, DayEdge edge) {
    return [&date, edge](const CLI::results_t& values) {
        const auto parsed = dateFromArgument(values.front(), SystemClock().now(), edge);
        if (!parsed)
            throw CLI::ValidationError(
                values.front(), _("is no date: use YYYY-MM-DD, or 7d, 3w, 2m, 1y back from now"));
        date = *parsed;
        return true;
    };
}

void addSearch(CLI::App& program, Command& command) {
    static const std::map<std::string, SearchType> kTypes = {
        {"all", SearchType::AllWords},
        {"fragments", SearchType::AllFragments},
        {"any", SearchType::AnyWord},
        {"any-fragments", SearchType::AnyFragment},
        {"raw", SearchType::Raw}};
    static const std::map<std::string, bool> kSorts = {{"score", false}, {"date", true}};
    CLI::App& search = *program.add_subcommand("search", _("Find pages by the words on them"));
    const auto options = std::make_shared<SearchOptions>();
    search.add_option("WORDS", options->words, _("What to look for"))->required();
    search.add_option("--type", options->type, _("How the words are combined"))
        ->transform(
            CLI::CheckedTransformer(kTypes).description("all|fragments|any|any-fragments|raw"));
    search
        .add_option("--source", options->sources, _("Only pages of this source; may be repeated"))
        ->allow_extra_args(false);
    search
        .add_option("--since", dateReader(options->since, DayEdge::Begin),
                    _("Only pages since that day (YYYY-MM-DD, or 7d, 3w, 2m, 1y back)"))
        ->type_name("DATE");
    search
        .add_option("--until", dateReader(options->until, DayEdge::End),
                    _("Only pages until that day"))
        ->type_name("DATE");
    search.add_option("--limit", options->limit, _("How many pages at most; 0 for all"))
        ->capture_default_str();
    search.add_option("--sort", options->isSortedByDate, _("Best or newest first"))
        ->transform(CLI::CheckedTransformer(kSorts).description("score|date"));
    search.add_flag("--json", options->isJson, _("One JSON object per line"));
    search.callback([options, &command] {
        command = [options](const CommandContext& context) { return runSearch(*options, context); };
    });
}

void addAdd(CLI::App& program, Command& command) {
    CLI::App& add =
        *program.add_subcommand("add", _("Put files and folders of pages into the index"));
    const auto options = std::make_shared<AddOptions>();
    add.add_option("PATH", options->paths, _("Files and folders"))->required();
    add.callback([options, &command] {
        command = [options](const CommandContext& context) { return runAdd(*options, context); };
    });
}

void addRemove(CLI::App& program, Command& command) {
    CLI::App& remove = *program.add_subcommand("remove", _("Take pages out of the index"));
    const auto options = std::make_shared<RemoveOptions>();
    remove.add_option("URL", options->addresses, _("Addresses, or paths of files"))->required();
    remove.callback([options, &command] {
        command = [options](const CommandContext& context) { return runRemove(*options, context); };
    });
}

void addStatus(CLI::App& program, Command& command) {
    CLI::App& status = *program.add_subcommand("status", _("Show what is indexed"));
    const auto options = std::make_shared<StatusOptions>();
    status.add_flag("--json", options->isJson, _("One JSON object per line"));
    status.callback([options, &command] {
        command = [options](const CommandContext& context) { return runStatus(*options, context); };
    });
}

void addCheck(CLI::App& program, Command& command) {
    CLI::App& check =
        *program.add_subcommand("check", _("Verify every index file and its records"));
    const auto options = std::make_shared<CheckOptions>();
    check.add_flag("--json", options->isJson, _("One JSON object per line"));
    check.callback([options, &command] {
        command = [options](const CommandContext& context) { return runCheck(*options, context); };
    });
}

// What a person who starts the program for the first time needs to know.
ExitStatus greet(const CommandContext& context) {
    context.console.print(
        _("Siftwell remembers the text of pages and finds them again by the words on them."));
    context.console.print("");
    context.console.print(_("  siftwell add FOLDER      put a folder of pages into the index"));
    context.console.print(_("  siftwell search WORDS    find pages"));
    context.console.print(_("  siftwell status          show what is indexed"));
    context.console.print(_("  siftwell --help          all commands"));
    return ExitStatus::Done;
}

}  // namespace

ExitStatus runCommandLine(int argc, const char* const* argv, const CommandContext& context) {
    CLI::App program(
        _("Siftwell remembers the text of pages and finds them again by the words on them."),
        "siftwell");
    program.set_version_flag("--version", "siftwell " SIFTWELL_VERSION " (output " +
                                              std::to_string(kOutputVersion) + ")");
    program.require_subcommand(0, 1);
    Command command = greet;
    addSearch(program, command);
    addAdd(program, command);
    addRemove(program, command);
    addStatus(program, command);
    addCheck(program, command);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? ExitStatus::Done : ExitStatus::WrongUsage;
    }
    return command(context);
}

}  // namespace siftwell
