#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <thread>

#include "app/FileAdding.h"
#include "app/PageAdding.h"
#include "app/Session.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "base/Url.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kBetweenProgress(100);

struct Targets {
    std::vector<FileAdding::Target> files;
    std::vector<PageAdding::Target> pages;
};

// What stands in the way of adding what the argument names.
std::string explanationOf(const std::string& argument, const std::error_code& error) {
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

// The address of a page, as people type it: with blanks, and with letters of any language in its
// path.
std::optional<Url> pageAddressIn(const std::string& argument) {
    const std::size_t colon = argument.find("://");
    if (colon == std::string::npos || std::filesystem::exists(argument)) return std::nullopt;
    const std::string scheme = lowerCasedAscii(argument.substr(0, colon));
    if (scheme == "file") return std::nullopt;
    auto url = Url::parse(argument);
    return url ? url : Url::parse(percentEncoded(argument));
}

// False, explained, when the page cannot be added.
bool addPage(const Url& url, Targets& targets, Console& console) {
    const std::string scheme = lowerCasedAscii(url.scheme());
    if (scheme != "http" && scheme != "https" && scheme != "feed") {
        console.message(printable(filledIn(_("siftwell: Addresses of the kind \"%@\" cannot be "
                                             "loaded, only http, https and feed."),
                                           url.scheme())));
        return false;
    }
    if (url.host().value_or("").empty()) {
        console.message("siftwell: " + _("Please enter a valid URL to a page or document."));
        console.message(_("It must contain a path or host name."));
        return false;
    }
    targets.pages.push_back({url, *url.host()});
    return true;
}

// False, explained, when the file or folder cannot be added.
bool addPath(const std::string& argument, Targets& targets, Console& console) {
    std::error_code error;
    const std::string path = std::filesystem::canonical(pathIn(argument), error).string();
    const auto info = fileInfo(path);
    if (error || !info) {
        console.message(printable("siftwell: " + explanationOf(argument, error)));
        return false;
    }
    const std::string source = lastPathComponent(path);
    if (source.empty() || source == "/") {
        console.message("siftwell: " + _("Please enter a valid URL to a page or document."));
        console.message(_("It must contain a path or host name."));
        return false;
    }
    targets.files.push_back({path, source, info->isFolder ? "LocalFiles" : "SingleURL"});
    return true;
}

bool addTarget(const std::string& argument, Targets& targets, Console& console) {
    const auto page = pageAddressIn(argument);
    return page ? addPage(*page, targets, console) : addPath(argument, targets, console);
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

// One run of the command: what is to be added, and when it is to be left off.
class Adding {
public:
    Adding(Session& session, const ErrorList& errors, Console& console)
        : m_session(session),
          m_errors(errors),
          m_console(console),
          m_additions(session.centre()),
          m_errorsBefore(errors.indexErrors()) {
        for (const int signal : {SIGINT, SIGTERM}) {
            // The loop keeps the task for longer than this run lasts.
            session.mainLoop().watchSignal(signal, [flag = m_isInterrupted] { *flag = true; });
        }
    }

    // Left off after SIGINT or SIGTERM, and when the index cannot take more.
    bool isLeftOff() const { return *m_isInterrupted || m_errors.indexErrors() > m_errorsBefore; }
    std::uint64_t added() const { return m_additions.count(); }

    FileAdding::Progress addFiles(std::vector<FileAdding::Target> targets) {
        FileAdding adding(m_session.indexes(), m_session.notifier(), m_session.settings());
        adding.start(std::move(targets), workerCount(),
                     [&loop = m_session.mainLoop()] { loop.post([] {}); });  // wakes it
        turnUntil([&adding] { return adding.progress().isDone; },
                  [&adding] { return progressLine(adding.progress()); });
        if (isLeftOff()) m_session.stopExtracting();
        adding.stop();
        m_session.mainLoop().turn(std::chrono::milliseconds(0));  // of what was still added
        return adding.progress();
    }

    void addPages(std::vector<PageAdding::Target> targets) {
        std::erase_if(targets, [this](const auto& target) { return isRefused(target.url); });
        if (targets.empty()) return;
        PageAdding adding(m_session.indexes(), m_session.retriever(), m_session.clock());
        adding.start(targets);
        turnUntil([&adding] { return adding.isDone(); },
                  [&adding] { return filledIn(_("Adding: %@ loaded"), pageCount(adding.done())); });
    }

    std::size_t refusedPages() const { return m_refusedPages; }

private:
    template <typename IsDone, typename Line>
    void turnUntil(IsDone isDone, Line line) {
        while (!isDone() && !isLeftOff()) {
            m_console.showProgress(line());
            m_session.mainLoop().turnUntil([&] { return isLeftOff() || isDone(); },
                                           kBetweenProgress);
        }
        m_session.mainLoop().turn(std::chrono::milliseconds(0));  // the last reports
        m_console.clearProgress();
    }

    // What nobody would tell the user later.
    bool isRefused(const Url& url) {
        const auto reason = refusalBy(m_session.indexes().admission().judge(url));
        if (!reason) return false;
        m_console.message(printable("siftwell: " + filledIn(*reason, url.absoluteString())));
        ++m_refusedPages;
        return true;
    }

    static std::optional<std::string> refusalBy(Verdict verdict) {
        switch (verdict) {
            case Verdict::Accepted:
                return std::nullopt;
            case Verdict::ExtensionFiltered:
                return _("%@ was left out: files with its extension hold no text.");
            case Verdict::ExtractorsOff:
                return _(
                    "%@ was left out: such documents are read only while \"UseContentExtractors\" "
                    "is on.");
            case Verdict::Filtered:
                return _("%@ was left out by your address filters.");
            case Verdict::NotAnAddress:
            case Verdict::SchemeRefused:
            case Verdict::FailedBefore:
                break;
        }
        return _("%@ cannot be indexed.");
    }

    Session& m_session;
    const ErrorList& m_errors;
    Console& m_console;
    const AdditionCounter m_additions;
    const std::size_t m_errorsBefore;
    const std::shared_ptr<bool> m_isInterrupted = std::make_shared<bool>(false);
    std::size_t m_refusedPages = 0;
};

void printFileSummary(std::uint64_t added, const FileAdding::Progress& progress, Console& console) {
    console.message(filledIn(_("%@ added from %@, %@ of them unchanged."), pageCount(added),
                             fileCount(progress.done), grouped(progress.unchanged)));
    if (progress.filtered == 0) return;
    console.message(
        filledIn(_("Left out by your address filters: %@."), fileCount(progress.filtered)));
}

// Not every page ends with an error or in the index: a text of no known kind is just dropped.
void printPageSummary(std::uint64_t added, std::size_t asked, Console& console) {
    console.message(added == 0 && asked > 0
                        ? _("No page was added.")
                        : filledIn(_("%@ added from the web."), pageCount(added)));
}

}  // namespace

ExitStatus runAdd(const AddOptions& options, const CommandContext& context) {
    Targets targets;
    for (const std::string& argument : options.paths) {
        if (!addTarget(argument, targets, context.console)) return ExitStatus::WrongUsage;
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
    Adding adding(**session, errors, context.console);
    const std::size_t pages = targets.pages.size();
    FileAdding::Progress files;
    const bool hasFiles = !targets.files.empty();
    if (hasFiles) files = adding.addFiles(std::move(targets.files));
    const std::uint64_t addedFromFiles = adding.added();
    if (!adding.isLeftOff()) adding.addPages(std::move(targets.pages));
    const bool isComplete = !adding.isLeftOff();
    const std::uint64_t addedFromPages = adding.added() - addedFromFiles;
    const Status closing = (*session)->close();
    const bool isSaved = closing.isOk() && errors.indexErrors() == errorsBefore;
    if (isSaved && hasFiles) printFileSummary(addedFromFiles, files, context.console);
    if (isSaved && pages > 0) printPageSummary(addedFromPages, pages, context.console);
    if (!isComplete || !isSaved) {
        context.console.message(
            _("Left off. What was added stays; run the same command again to go on."));
    }
    if (!closing.isOk()) return explainFailure(closing, context.console);
    if (errors.indexErrors() > 0) return ExitStatus::Unusable;
    const bool isNothingMissing =
        errors.size() == 0 && adding.refusedPages() == 0 && (pages == 0 || addedFromPages > 0);
    return isNothingMissing && isComplete ? ExitStatus::Done : ExitStatus::SomeFailed;
}

}  // namespace siftwell
