#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "base/Translate.h"
#include "cli/Arguments.h"
#include "cli/Definitions.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr int kOutputVersion = 1;  // of what --json prints

// Windows where there can be some; elsewhere what a person needs to know who starts the program for
// the first time.
ExitStatus greet(const CommandContext& context) {
    if (canShowWindows()) return runWindow(context);
    context.console.print(
        _("Siftwell remembers the text of pages and finds them again by the words on them."));
    context.console.print("");
    context.console.print(_("  siftwell add FOLDER      put a folder of pages into the index"));
    context.console.print(_("  siftwell add ADDRESS     put a page of the web into the index"));
    context.console.print(_("  siftwell search WORDS    find pages"));
    context.console.print(_("  siftwell status          show what is indexed"));
    context.console.print(_("  siftwell sources         show where pages come from"));
    context.console.print(_("  siftwell scan            read what is new there"));
    context.console.print(_("  siftwell run             stay, and read again and again"));
    context.console.print(_("  siftwell --help          all commands"));
    context.console.print("");
    context.console.print(_("Siftwell reads its sources now, again and again; Control-C ends it."));
    static_cast<void>(context.console.flush());  // main asks again at the end
    return runResident({}, context);
}

std::string explanationOf(const std::vector<std::string>& unknown) {
    const std::string argument = unmarked(unknown.front());
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
    addReadingCommands(program, command);
    addWritingCommands(program, command);
    addListCommands(program, command);
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
