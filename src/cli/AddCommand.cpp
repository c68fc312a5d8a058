#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

#include "app/FileAdding.h"
#include "app/Session.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "base/Url.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kBetweenProgress(100);

// What stands in the way of adding what the argument names.
std::string explanationOf(const std::string& argument, const std::error_code& error) {
    const auto url = Url::parse(argument);
    if (url && url->hasScheme() && !url->isFile()) {
        return filledIn(_("Only files and folders can be added yet, not the address \"%@\"."),
                        argument);
    }
    if (argument.empty() || error == std::errc::no_such_file_or_directory ||
        error == std::errc::not_a_directory) {
        return filledIn(_("There is no file or folder named \"%@\". Please check its name."),
                        argument);
    }
    return filledIn(_("\"%@\" cannot be reached (%@)."), argument, error.message());
}

// A path, or the address of a file.
std::string pathIn(const std::string& argument) {
    const auto url = Url::parse(argument);
    return url && url->isFile() ? url->path().value_or(argument) : argument;
}

// What an argument stands for; none, explained, when it cannot be added.
std::optional<FileAdding::Target> targetFor(const std::string& argument, Console& console) {
    std::error_code error;
    const std::string path = std::filesystem::canonical(pathIn(argument), error).string();
    const auto info = fileInfo(path);
    if (error || !info) {
        console.message(printable("siftwell: " + explanationOf(argument, error)));
        return std::nullopt;
    }
    const std::string source = lastPathComponent(path);
    if (source.empty() || source == "/") {
        console.message("siftwell: " + _("Please enter a valid URL to a page or document."));
        console.message(_("It must contain a path or host name."));
        return std::nullopt;
    }
    return FileAdding::Target{path, source, info->isFolder ? "LocalFiles" : "SingleURL"};
}

std::string progressLine(const FileAdding::Progress& progress) {
    const std::string bar =
        progress.isWalkDone ? progressBar(progress.done, progress.found) + " " : "";
    const std::string of = progress.isWalkDone ? " / " : _(" of at least ");
    return bar + filledIn(_("Adding: %@ files, %@ of text"),
                          grouped(progress.done) + of + grouped(progress.found),
                          humanBytes(progress.bytes));
}

// Counts the pages that were added, as the index tells of them.
class AdditionCounter {
public:
    explicit AdditionCounter(NotificationCentre& centre)
        : m_observation(
              centre.observe("SiftwellStatusAddURLNotification", [this](const PropertyList& added) {
                  // Lists tell what was there before.
                  if (added.asDictionary() != nullptr) ++m_count;
              })) {}

    std::uint64_t count() const { return m_count; }

private:
    std::uint64_t m_count = 0;
    NotificationCentre::Observation m_observation;
};

unsigned workerCount() { return std::clamp(std::thread::hardware_concurrency(), 1U, 8U); }

// Whether all files were seen: not after SIGINT or SIGTERM, and not when the index cannot take
// more.
bool addAll(Session& session, std::vector<FileAdding::Target> targets, const ErrorList& errors,
            Console& console, FileAdding::Progress& progress) {
    bool isInterrupted = false;
    for (const int signal : {SIGINT, SIGTERM}) {
        session.mainLoop().watchSignal(signal, [&isInterrupted] { isInterrupted = true; });
    }
    const std::size_t errorsBefore = errors.indexErrors();
    const auto isLeftOff = [&] { return isInterrupted || errors.indexErrors() > errorsBefore; };
    FileAdding adding(session.indexes(), session.notifier(), session.settings());
    adding.start(std::move(targets), workerCount(),
                 [&loop = session.mainLoop()] { loop.post([] {}); });  // wakes it
    for (progress = adding.progress(); !progress.isDone && !isLeftOff();
         progress = adding.progress()) {
        console.showProgress(progressLine(progress));
        session.mainLoop().turnUntil([&] { return isLeftOff() || adding.progress().isDone; },
                                     kBetweenProgress);
    }
    const bool isComplete = !isLeftOff();
    adding.stop();
    progress = adding.progress();
    console.clearProgress();
    return isComplete;
}

void printSummary(std::uint64_t added, const FileAdding::Progress& progress, Console& console) {
    console.message(filledIn(_("%@ added from %@, %@ of them unchanged."), pageCount(added),
                             fileCount(progress.done), grouped(progress.unchanged)));
    if (progress.filtered == 0) return;
    console.message(
        filledIn(_("Left out by your address filters: %@."), fileCount(progress.filtered)));
}

}  // namespace

ExitStatus runAdd(const AddOptions& options, const CommandContext& context) {
    std::vector<FileAdding::Target> targets;
    for (const std::string& path : options.paths) {
        auto target = targetFor(path, context.console);
        if (!target) return ExitStatus::WrongUsage;
        targets.push_back(*std::move(target));
    }
    auto session = Session::open(context.paths, Session::Purpose::Writing, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    (*session)->waitUntilIndexingIsEnabled();
    if (!(*session)->indexes().indexFolder()) {
        context.mainLoop.turn(std::chrono::milliseconds(0));
        return ExitStatus::Unusable;
    }
    const std::size_t errorsBefore = errors.indexErrors();
    FileAdding::Progress progress;
    std::uint64_t added = 0;
    bool isComplete = false;
    Status closing;
    {
        const AdditionCounter additions((*session)->centre());
        isComplete = addAll(**session, std::move(targets), errors, context.console, progress);
        closing = (*session)->close();
        added = additions.count();
    }
    const bool isSaved = closing.isOk() && errors.indexErrors() == errorsBefore;
    if (isSaved) printSummary(added, progress, context.console);
    if (!isComplete || !isSaved) {
        context.console.message(
            _("Left off. What was added stays; run the same command again to go on."));
    }
    if (!closing.isOk()) return explainFailure(closing, context.console);
    if (errors.indexErrors() > 0) return ExitStatus::Unusable;
    return errors.size() > 0 || !isComplete ? ExitStatus::SomeFailed : ExitStatus::Done;
}

}  // namespace siftwell
