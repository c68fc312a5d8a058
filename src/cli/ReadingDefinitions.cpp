#include <memory>

#include "cli/Arguments.h"
#include "cli/Definitions.h"

namespace siftwell {

namespace {

// `run` with the options; it may be ended at any moment.
template <typename Options>
void onParsed(CLI::App& app, const std::shared_ptr<Options>& options,
              ExitStatus (*run)(const Options&, const CommandContext&), Command& command) {
    app.callback([options, run, &command] {
        command = [options, run](const CommandContext& context) {
            letSignalsEndTheProgram();
            return run(*options, context);
        };
    });
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
    addJsonFlag(search, options->isJson);
    onParsed(search, options, &runSearch, command);
}

void addStatus(CLI::App& program, Command& command) {
    CLI::App& status =
        *program.add_subcommand("status", _("Show what is indexed, and what goes on"));
    const auto options = std::make_shared<StatusOptions>();
    addJsonFlag(status, options->isJson);
    onParsed(status, options, &runStatus, command);
}

void addErrors(CLI::App& program, Command& command) {
    CLI::App& errors =
        *program.add_subcommand("errors", _("Show what went wrong in the last days"));
    const auto options = std::make_shared<ErrorsOptions>();
    addJsonFlag(errors, options->isJson);
    onParsed(errors, options, &runErrors, command);
}

void addWhy(CLI::App& program, Command& command) {
    CLI::App& why = *program.add_subcommand("why", _("Show why a page is indexed, or is not"));
    const auto options = std::make_shared<WhyOptions>();
    addText(why, "URL", options->address, _("An address, or the path of a file"));
    addJsonFlag(why, options->isJson);
    onParsed(why, options, &runWhy, command);
}

void addCheck(CLI::App& program, Command& command) {
    CLI::App& check =
        *program.add_subcommand("check", _("Verify every index file and its records"));
    const auto options = std::make_shared<CheckOptions>();
    check.add_flag("--repair", options->isRepair,
                   _("Bring back what can be of damaged files; these are kept"));
    addJsonFlag(check, options->isJson);
    // A repair leaves every file as it was or repaired.
    onParsed(check, options, &runCheck, command);
}

}  // namespace

void addReadingCommands(CLI::App& program, Command& command) {
    addSearch(program, command);
    addStatus(program, command);
    addErrors(program, command);
    addWhy(program, command);
    addCheck(program, command);
}

}  // namespace siftwell
