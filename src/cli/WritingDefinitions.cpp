#include <memory>

#include "cli/Arguments.h"
#include "cli/Definitions.h"
#include "cli/IndexerNames.h"

namespace siftwell {

namespace {

template <typename Options>
void onParsed(CLI::App& app, const std::shared_ptr<Options>& options,
              ExitStatus (*run)(const Options&, const CommandContext&), Command& command) {
    app.callback([options, run, &command] {
        command = [options, run](const CommandContext& context) { return run(*options, context); };
    });
}

void addRun(CLI::App& program, Command& command) {
    CLI::App& run = *program.add_subcommand(
        "run", _("Stay without windows: scan again and again, and serve other programs"));
    const auto options = std::make_shared<RunOptions>();
    run.add_flag("--replace", options->isReplacing, _("Ask a running copy to quit first"));
    onParsed(run, options, &runResident, command);
}

void addToggle(CLI::App& program, Command& command) {
    CLI::App& toggle =
        *program.add_subcommand("toggle", _("Bring the search window to the front, or hide it"));
    const auto options = std::make_shared<ToggleOptions>();
    toggle.add_option("--search", textReader(options->words), _("Search for these there"))
        ->type_name("WORDS")
        ->expected(1, -1);
    onParsed(toggle, options, &runToggle, command);
}

void addScan(CLI::App& program, Command& command) {
    CLI::App& scan =
        *program.add_subcommand("scan", _("Read what is new in every source that is on"));
    const auto options = std::make_shared<ScanOptions>();
    scan.add_flag("--offline", options->isOffline, _("Only what needs no network"));
    onParsed(scan, options, &runScan, command);
}

CLI::callback_t indexerReader(std::optional<std::string>& indexer) {
    return [&indexer](const CLI::results_t& values) {
        indexer = unmarked(values.front());
        if (!isIndexerName(*indexer)) throw CLI::ValidationError(explanationOfIndexer(*indexer));
        return true;
    };
}

void checkFileUse(const CLI::App& add) {
    std::size_t given = 0;
    for (const char* option : {"--indexer", "--extract-urls", "--contents"}) {
        given += std::min<std::size_t>(1, add.count(option));
    }
    if (given > 1) {
        throw CLI::ValidationError(
            _("Only one of --indexer, --extract-urls and --contents makes sense."));
    }
}

void addAdd(CLI::App& program, Command& command) {
    CLI::App& add =
        *program.add_subcommand("add", _("Put pages, files and folders into the index"));
    const auto options = std::make_shared<AddOptions>();
    addTexts(add, "URL|PATH", options->targets, _("Addresses of pages, files and folders"));
    add.add_option("--indexer", indexerReader(options->indexer), _("What reads them"))
        ->type_name("CLASS");
    add.add_flag_callback(
        "--extract-urls", [options] { options->fileUse = Driver::FileUse::ExtractURLs; },
        _("Of files, index the pages whose addresses are in them"));
    add.add_flag_callback(
        "--contents", [options] { options->fileUse = Driver::FileUse::IndexContents; },
        _("Of files, index what is in them"));
    add.add_flag_callback(
        "--no-scan", [options] { options->isScanned = false; },
        _("Leave the reading to the next scan"));
    add.callback([&add, options, &command] {
        checkFileUse(add);
        command = [options](const CommandContext& context) { return runAdd(*options, context); };
    });
}

void addRemove(CLI::App& program, Command& command) {
    CLI::App& remove = *program.add_subcommand("remove", _("Take pages out of the index"));
    const auto options = std::make_shared<RemoveOptions>();
    addTexts(remove, "URL", options->addresses, _("Addresses, or paths of files"));
    onParsed(remove, options, &runRemove, command);
}

void addYes(CLI::App& app, bool& isConfirmed) {
    app.add_flag("--yes", isConfirmed, _("Do not ask"));
}

void addClear(CLI::App& program, Command& command) {
    CLI::App& clear = *program.add_subcommand("clear", _("Empty the index"));
    const auto options = std::make_shared<MaintenanceOptions>();
    addYes(clear, options->isConfirmed);
    onParsed(clear, options, &runClear, command);
}

void addRebuild(CLI::App& program, Command& command) {
    CLI::App& rebuild =
        *program.add_subcommand("rebuild", _("Empty the index, and fetch all its pages again"));
    const auto options = std::make_shared<RebuildOptions>();
    addYes(rebuild, options->isConfirmed);
    rebuild.add_flag_callback(
        "--no-scan", [options] { options->isScanned = false; },
        _("Leave the fetching to the next scan"));
    onParsed(rebuild, options, &runRebuild, command);
}

// Nothing is lost by it, so that --yes makes no difference.
void addCompact(CLI::App& program, Command& command) {
    CLI::App& compact = *program.add_subcommand(
        "compact", _("Make the files smaller, and erase what was taken out of the index"));
    const auto options = std::make_shared<MaintenanceOptions>();
    addYes(compact, options->isConfirmed);
    onParsed(compact, options, &runCompact, command);
}

void addDump(CLI::App& program, Command& command) {
    CLI::App& dump = *program.add_subcommand(
        "dump", _("Write all pages of the index to a file, as a list of bookmarks"));
    const auto options = std::make_shared<DumpOptions>();
    addText(dump, "FILE", options->file, _("The file; it can be added to an index again"));
    dump.add_flag("--terms", options->hasTerms, _("With the words of each page"));
    addYes(dump, options->isConfirmed);
    onParsed(dump, options, &runDump, command);
}

void addSalvage(CLI::App& program, Command& command) {
    CLI::App& salvage = *program.add_subcommand(
        "salvage", _("Fetch again the pages whose addresses are left in a damaged index file"));
    const auto options = std::make_shared<SalvageOptions>();
    addText(salvage, "INDEX_FILE", options->file, _("A file named SOURCE.SCHEME"));
    onParsed(salvage, options, &runSalvage, command);
}

void addQuit(CLI::App& program, Command& command) {
    CLI::App& quit = *program.add_subcommand("quit", _("End the running copy"));
    quit.callback([&command] {
        command = [](const CommandContext& context) {
            letSignalsEndTheProgram();
            return runQuit(context);
        };
    });
}

}  // namespace

void addWritingCommands(CLI::App& program, Command& command) {
    addRun(program, command);
    addToggle(program, command);
    addScan(program, command);
    addAdd(program, command);
    addRemove(program, command);
    addClear(program, command);
    addRebuild(program, command);
    addCompact(program, command);
    addDump(program, command);
    addSalvage(program, command);
    addQuit(program, command);
}

}  // namespace siftwell
