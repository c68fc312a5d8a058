#include <sys/types.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "app/FileAdding.h"
#include "app/Session.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kBetweenProgress(100);

// What a path given on the command line stands for; none, explained, when it cannot be added.
std::optional<FileAdding::Target> targetFor(const std::string& argument, Console& console) {
    const auto info = fileInfo(argument);
    if (!info) {
        console.message(
            filledIn(_("There is no file or folder named \"%@\". Please check its name."),
                     printable(argument)));
        return std::nullopt;
    }
    std::error_code error;
    const std::string path = std::filesystem::canonical(argument, error).string();
    const std::string source = lastPathComponent(path);
    if (error || source.empty() || source == "/") {
        console.message(_("Please enter a valid URL to a page or document."));
        console.message(_("It must contain a path or host name."));
        return std::nullopt;
    }
    return FileAdding::Target{path, source, info->isFolder ? "LocalFiles" : "SingleURL"};
}

std::string progressLine(const FileAdding::Progress& progress) {
    const std::string of = progress.isWalkDone ? " / " : _(" of at least ");
    return filledIn(_("Adding: %@ files, %@ of text"),
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

// Whether all files were seen; false after SIGINT or SIGTERM.
bool addAll(Session& session, std::vector<FileAdding::Target> targets, Console& console,
            FileAdding::Progress& progress) {
    bool isInterrupted = false;
    for (const int signal : {SIGINT, SIGTERM}) {
        session.mainLoop().watchSignal(signal, [&isInterrupted] { isInterrupted = true; });
    }
    FileAdding adding(session.indexes(), session.notifier(), session.settings());
    adding.start(std::move(targets), workerCount());
    for (progress = adding.progress(); !progress.isDone && !isInterrupted;
         progress = adding.progress()) {
        console.showProgress(progressLine(progress));
        session.mainLoop().turnUntil([&] { return isInterrupted || adding.progress().isDone; },
                                     kBetweenProgress);
    }
    adding.stop();
    progress = adding.progress();
    console.clearProgress();
    return !isInterrupted;
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
    FileAdding::Progress progress;
    std::uint64_t added = 0;
    bool isComplete = false;
    Status closing;
    {
        const AdditionCounter additions((*session)->centre());
        isComplete = addAll(**session, std::move(targets), context.console, progress);
        closing = (*session)->close();
        added = additions.count();
    }
    context.console.message(filledIn(_("%@ pages added from %@ files, %@ of them unchanged."),
                                     grouped(added), grouped(progress.done),
                                     grouped(progress.unchanged)));
    if (!closing.isOk()) return explainFailure(closing, context.console);
    if (!isComplete) {
        context.console.message(
            _("Left off. What was added stays; run the same command again to go on."));
    }
    if (errors.indexErrors() > 0) return ExitStatus::Unusable;
    return errors.size() > 0 || !isComplete ? ExitStatus::SomeFailed : ExitStatus::Done;
}

}  // namespace siftwell
