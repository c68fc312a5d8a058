#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <functional>
#include <sstream>

#include "base/Clock.h"
#include "base/Translate.h"
#include "cli/DateArgument.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr int kOutputVersion = 1;  // of what --json prints

using Command = std::function<ExitStatus(const CommandContext&)>;

// CLI11 takes a text in brackets for a list. Behind this mark it is the text that it is.
constexpr char kPlainMark = '\x1F';

std::vector<std::string> markedArguments(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {  // CLI11 wants the last one first
        const std::string_view argument = argv[i];
        const bool isMarked = argument.starts_with('[') || argument.starts_with(kPlainMark);
        arguments.push_back((isMarked ? std::string(1, kPlainMark) : "") + std::string(argument));
    }
    return arguments;
}

std::string unmarked(const std::string& argument) {
    return argument.starts_with(kPlainMark) ? argument.substr(1) : argument;
}

// Readers put what was typed in the place where the command finds it, or say what is wrong.

CLI::callback_t textReader(std::vector<std::string>& texts) {
    return [&texts](const CLI::results_t& values) {
        for (const std::string& value : values) texts.push_back(unmarked(value));
        return true;
    };
}

CLI::callback_t dateReader(Date& date, DayEdge edge) {
    return [&date, edge](const CLI::results_t& values) {
        const auto parsed = dateFromArgument(values.front(), SystemClock().now(), edge);
        if (!parsed) {
            throw CLI::ValidationError(
                filledIn(_("\"%@\" is no date: use YYYY-MM-DD, or 7d, 3w, 2m, 1y back from now."),
                         unmarked(values.front())));
        }
        date = *parsed;
        return true;
    };
}

CLI::callback_t countReader(std::size_t& count) {
    return [&count](const CLI::results_t& values) {
        const std::string& text = values.front();
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, count);
        if (error != std::errc() || stop != end) {
            throw CLI::ValidationError(
                filledIn(_("\"%@\" is no number: use 20, or 0 for all."), unmarked(text)));
        }
        return true;
    };
}

template <typename Choice>
using Choices = std::vector<std::pair<const char*, Choice>>;

template <typename Choice>
CLI::Option& addChoice(CLI::App& command, const char* option, Choice& choice,
                       const Choices<Choice>& choices, const std::string& description) {
    std::string names;
    for (const auto& [name, value] : choices)
        names += (names.empty() ? "" : "|") + std::string(name);
    const auto reader = [&choice, choices, names](const CLI::results_t& values) {
        const auto chosen = std::find_if(choices.begin(), choices.end(), [&](const auto& each) {
            return each.first == values.front();
        });
        if (chosen == choices.end()) {
            throw CLI::ValidationError(
                filledIn(_("\"%@\" is none of %@."), unmarked(values.front()), names));
        }
        choice = chosen->second;
        return true;
    };
    return *command.add_option(option, reader, description)->type_name(names);
}

void addTexts(CLI::App& command, const char* name, std::vector<std::string>& texts,
              const std::string& description) {
    command.add_option(name, textReader(texts), description)
        ->type_name("")
        ->expected(CLI::detail::expected_max_vector_size)
        ->required();
}

// A command that changes nothing may be ended at any moment, and so may a repair, which leaves
// every file as it was or repaired; others that write end by themselves.
void letSignalsEndTheProgram() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void addSearch(CLI::App& program, Command& command) {
    CLI::App& search = *program.add_subcommand("search", _("Find pages by the words on them"));
    const auto options = std::make_shared<SearchOptions>();
    addTexts(search, "WORDS", options->words, _("What to look for"));
    addChoice<SearchType>(search, "--type", options->type,
                          {{"all", SearchType::AllWords},
                           {"fragments", SearchType::AllFragments},
                           {"any", SearchType::AnyWord},
                           {"any-fragments", SearchType::AnyFragment},
                           {"raw", SearchType::Raw}},
                          _("How the words are combined"))
        .default_str("all");
    search
        .add_option("--source", textReader(options->sources),
                    _("Only pages of this source; may be repeated"))
        ->type_name("NAME")
        ->expected(CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false);
    search
        .add_option("--since", dateReader(options->since, DayEdge::Begin),
                    _("Only pages since that day (YYYY-MM-DD, or 7d, 3w, 2m, 1y back)"))
        ->type_name("DATE");
    search
        .add_option("--until", dateReader(options->until, DayEdge::End),
                    _("Only pages until that day"))
        ->type_name("DATE");
    search
        .add_option("--limit", countReader(options->limit), _("How many pages at most; 0 for all"))
        ->type_name("N")
        ->default_str("20");
    addChoice<bool>(search, "--sort", options->isSortedByDate, {{"score", false}, {"date", true}},
                    _("Best or newest first"))
        .default_str("score");
    search.add_flag("--json", options->isJson, _("One JSON object per line"));
    search.callback([options, &command] {
        command = [options](const CommandContext& context) {
            letSignalsEndTheProgram();
            return runSearch(*options, context);
        };
    });
}

void addAdd(CLI::App& program, Command& command) {
    CLI::App& add =
        *program.add_subcommand("add", _("Put pages, files and folders into the index"));
    const auto options = std::make_shared<AddOptions>();
    addTexts(add, "URL|PATH", options->paths, _("Addresses of pages, files and folders"));
    add.callback([options, &command] {
        command = [options](const CommandContext& context) { return runAdd(*options, context); };
    });
}

void addRemove(CLI::App& program, Command& command) {
    CLI::App& remove = *program.add_subcommand("remove", _("Take pages out of the index"));
    const auto options = std::make_shared<RemoveOptions>();
    addTexts(remove, "URL", options->addresses, _("Addresses, or paths of files"));
    remove.callback([options, &command] {
        command = [options](const CommandContext& context) { return runRemove(*options, context); };
    });
}

void addStatus(CLI::App& program, Command& command) {
    CLI::App& status = *program.add_subcommand("status", _("Show what is indexed"));
    const auto options = std::make_shared<StatusOptions>();
    status.add_flag("--json", options->isJson, _("One JSON object per line"));
    status.callback([options, &command] {
        command = [options](const CommandContext& context) {
            letSignalsEndTheProgram();
            return runStatus(*options, context);
        };
    });
}

void addCheck(CLI::App& program, Command& command) {
    CLI::App& check =
        *program.add_subcommand("check", _("Verify every index file and its records"));
    const auto options = std::make_shared<CheckOptions>();
    check.add_flag("--repair", options->isRepair,
                   _("Bring back what can be of damaged files; these are kept"));
    check.add_flag("--json", options->isJson, _("One JSON object per line"));
    check.callback([options, &command] {
        command = [options](const CommandContext& context) {
            letSignalsEndTheProgram();
            return runCheck(*options, context);
        };
    });
}

// What a person who starts the program for the first time needs to know.
ExitStatus greet(const CommandContext& context) {
    context.console.print(
        _("Siftwell remembers the text of pages and finds them again by the words on them."));
    context.console.print("");
    context.console.print(_("  siftwell add FOLDER      put a folder of pages into the index"));
    context.console.print(_("  siftwell add ADDRESS     put a page of the web into the index"));
    context.console.print(_("  siftwell search WORDS    find pages"));
    context.console.print(_("  siftwell status          show what is indexed"));
    context.console.print(_("  siftwell --help          all commands"));
    return ExitStatus::Done;
}

// What the documentation promises and this version does not have yet.
bool isPlanned(const std::string& argument) {
    constexpr std::array kPlanned = {
        "run",    "scan",  "sources",   "filters",        "defaults",   "errors",
        "why",    "clear", "rebuild",   "compact",        "dump",       "salvage",
        "toggle", "quit",  "--indexer", "--extract-urls", "--contents", "--no-scan"};
    return std::find(kPlanned.begin(), kPlanned.end(), argument) != kPlanned.end();
}

std::string explanationOf(const std::vector<std::string>& unknown) {
    const std::string argument = unmarked(unknown.front());
    if (isPlanned(argument)) {
        return filledIn(_("\"%@\" is not part of this version yet."), argument);
    }
    return filledIn(argument.starts_with('-') ? _("There is no option \"%@\" here.")
                                              : _("There is no command \"%@\"."),
                    argument);
}

// The name in front of what CLI11 says of it: "--limit: 1 required", "WORDS is required".
std::string subjectOf(const CLI::ParseError& error) {
    const std::string text = error.what();
    return text.substr(0, text.find_first_of(": "));
}

ExitStatus explainWrongUsage(const std::string& explanation, Console& console) {
    console.message("siftwell: " + printable(explanation));
    console.message(_("Run with --help for more information."));
    return ExitStatus::WrongUsage;
}

void translateHelp(CLI::App& program) {
    const auto formatter = program.get_formatter();
    formatter->label("Usage", _("Usage"));
    formatter->label("OPTIONS", _("OPTIONS"));
    formatter->label("SUBCOMMAND", _("COMMAND"));
    formatter->label("Positionals", _("Arguments"));
    formatter->label("REQUIRED", "");
    program.option_defaults()->group(_("Options"));
    program.set_help_flag("-h,--help", _("Print this help and exit"));
}

}  // namespace

ExitStatus runCommandLine(int argc, const char* const* argv, const CommandContext& context) {
    CLI::App program(
        _("Siftwell remembers the text of pages and finds them again by the words on them."),
        "siftwell");
    translateHelp(program);
    program.set_version_flag(
        "--version",
        "siftwell " SIFTWELL_VERSION " (output " + std::to_string(kOutputVersion) + ")",
        _("Print the version and exit"));
    program.require_subcommand(0, 1);
    Command command = greet;
    addSearch(program, command);
    addAdd(program, command);
    addRemove(program, command);
    addStatus(program, command);
    addCheck(program, command);
    for (CLI::App* each : program.get_subcommands({})) each->group(_("Commands"));
    try {
        program.parse(markedArguments(argc, argv));
    } catch (const CLI::Success& help) {
        std::ostringstream text;
        program.exit(help, text, text);
        context.console.print(trimmingWhiteSpace(text.str()));
        return ExitStatus::Done;
    } catch (const CLI::ExtrasError&) {
        return explainWrongUsage(explanationOf(program.remaining(true)), context.console);
    } catch (const CLI::RequiredError& error) {
        return explainWrongUsage(filledIn(_("%@ is missing."), subjectOf(error)), context.console);
    } catch (const CLI::ArgumentMismatch& error) {
        return explainWrongUsage(filledIn(_("%@ needs one value."), subjectOf(error)),
                                 context.console);
    } catch (const CLI::ParseError& error) {
        return explainWrongUsage(error.what(), context.console);
    }
    return command(context);
}

}  // namespace siftwell
