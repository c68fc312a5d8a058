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
    addScan(program, command);
    addAdd(program, command);
    addRemove(program, command);
    addQuit(program, command);
}

}  // namespace siftwell
