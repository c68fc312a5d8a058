#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/IndexAddition.h"
#include "app/Session.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "cli/AddressArgument.h"
#include "cli/Commands.h"
#include "cli/IndexPlaces.h"
#include "cli/Refusal.h"
#include "cli/ScanWatch.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

using Addition = Driver::Addition;
using FileUse = Driver::FileUse;

// Asked once for all files of a command.
class FileUseChoice {
public:
    FileUseChoice(FileUse fileUse, Console& console) : m_fileUse(fileUse), m_console(console) {}

    // None, explained, when nobody says what the file stands for.
    std::optional<FileUse> choiceFor(const std::string& argument) {
        if (m_fileUse == FileUse::Ask) ask(argument);
        return m_fileUse == FileUse::Ask ? std::nullopt : std::optional(m_fileUse);
    }

private:
    void ask(const std::string& argument) {
        if (!m_console.canAsk()) {
            m_console.message(printable(filledIn(
                _("siftwell: What is to be done with the file %@? With --contents it is indexed "
                  "itself, with --extract-urls the addresses in it are."),
                argument)));
            return;
        }
        m_console.message(printable(argument));
        const auto button = m_console.ask(fileQuestion());
        if (button) m_fileUse = *button == 0 ? FileUse::ExtractURLs : FileUse::IndexContents;
    }

    FileUse m_fileUse;
    Console& m_console;
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

// What is to be added, from the arguments; none, explained, when one of them cannot be.
class AdditionReader {
public:
    AdditionReader(const AddOptions& options, Console& console)
        : m_options(options), m_console(console), m_fileUse(options.fileUse, console) {}

    std::optional<std::vector<Addition>> additions() {
        std::vector<Addition> additions;
        for (const std::string& argument : m_options.targets) {
            const auto page = pageAddressIn(argument);
            auto addition = page ? forPage(*page) : forPath(argument);
            if (!addition) return std::nullopt;
            addition->indexer = m_options.indexer;
            addition->isScanStarted = false;
            additions.push_back(*std::move(addition));
        }
        return additions;
    }

private:
    std::optional<Addition> forPage(const Url& url) {
        const std::string scheme = lowerCasedAscii(url.scheme());
        if (scheme != "http" && scheme != "https" && scheme != "feed") {
            m_console.message(printable(filledIn(_("siftwell: Addresses of the kind \"%@\" cannot "
                                                   "be loaded, only http, https and feed."),
                                                 url.scheme())));
            return std::nullopt;
        }
        if (url.host().value_or("").empty()) return noName();
        return Addition{.url = url};
    }

    std::optional<Addition> forPath(const std::string& argument) {
        std::error_code error;
        const std::string path = std::filesystem::canonical(pathIn(argument), error).string();
        const auto info = fileInfo(path);
        if (error || !info) {
            m_console.message(printable("siftwell: " + explanationOf(argument, error)));
            return std::nullopt;
        }
        if (lastPathComponent(path) == "/") return noName();
        Addition addition{.url = Url::fromFilePath(path)};
        if (info->isFolder || m_options.indexer) return addition;
        const auto fileUse = m_fileUse.choiceFor(argument);
        if (!fileUse) return std::nullopt;
        addition.fileUse = *fileUse;
        return addition;
    }

    std::optional<Addition> noName() {
        m_console.message("siftwell: " + _("Please enter a valid URL to a page or document."));
        m_console.message(_("It must contain a path or host name."));
        return std::nullopt;
    }

    const AddOptions& m_options;
    Console& m_console;
    FileUseChoice m_fileUse;
};

// Takes away the pages that would be left out without a word, and says which; how many.
std::size_t refuse(std::vector<Addition>& additions, const Settings& settings, Console& console) {
    Admission admission(settings);
    admission.applyPreferences();
    return std::erase_if(additions, [&](const Addition& addition) {
        if (addition.url.isFile()) return false;
        const auto reason = refusalOf(addition.url, admission.judge(addition.url));
        if (reason) console.message(printable("siftwell: " + *reason));
        return reason.has_value();
    });
}

// Whether the index is complete with what this computer holds.
bool isReadWithoutNetwork(const Addition& addition) {
    const std::string indexer = addition.indexer.value_or("");
    const bool isReadItself = indexer.empty() || indexer == "LocalFiles" || indexer == "SingleURL";
    return addition.url.isFile() && isReadItself && addition.fileUse != FileUse::ExtractURLs;
}

// A page of the web, which is read anew however often it is added.
bool isSinglePage(const Addition& addition) {
    return !addition.url.isFile() && addition.indexer.value_or("SingleURL") == "SingleURL";
}

// Not every file ends with an error or in the index: a text of no known kind is just dropped.
std::size_t nameMissingFiles(const std::vector<Addition>& additions,
                             const CommandContext& context) {
    const auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return 0;
    std::size_t missing = 0;
    for (const Addition& addition : additions) {
        const bool isFile = addition.fileUse == FileUse::IndexContents;
        if (!isFile || !placesOf(addition.url, (*session)->indexes()).empty()) continue;
        ++missing;
        context.console.message(
            printable(filledIn(_("Not indexed: %@"), addition.url.path().value_or(""))));
    }
    return missing;
}

// The first refusal, explained.
std::optional<ExitStatus> hand(const std::vector<Addition>& additions, const ReachedCopy& reached,
                               const CommandContext& context) {
    for (const Addition& addition : additions) {
        const std::size_t errors = reached.errors.size();
        const Status status = reached.copy.driver().addToIndex(addition);
        context.mainLoop.turn(std::chrono::milliseconds(0));
        if (status.isOk()) continue;
        if (reached.errors.size() > errors) return ExitStatus::WrongUsage;  // it was told
        return explainRefusal(status, context.console);
    }
    return std::nullopt;
}

ExitStatus addAll(const std::vector<Addition>& additions, const AddOptions& options,
                  const ReachedCopy& reached, const CommandContext& context, bool& isScanned) {
    if (const auto refusal = hand(additions, reached, context)) return *refusal;
    if (!options.isScanned) {
        context.console.message(_("The next scan reads it: siftwell scan"));
        return ExitStatus::Done;
    }
    const bool isLocal = std::all_of(additions.begin(), additions.end(), &isReadWithoutNetwork);
    ScanWatch watch(reached, context);
    const ExitStatus result =
        watch.scan(isLocal ? Driver::ScanScope::LocalSources : Driver::ScanScope::Everything);
    isScanned = watch.isFinished();
    // Pages are dropped like files.
    const bool isNothingAdded = !reached.copy.isOtherProcess() && watch.added() == 0 &&
                                std::any_of(additions.begin(), additions.end(), &isSinglePage);
    return isNothingAdded ? std::max(result, ExitStatus::SomeFailed) : result;
}

}  // namespace

ExitStatus runAdd(const AddOptions& options, const CommandContext& context) {
    auto additions = AdditionReader(options, context.console).additions();
    if (!additions) return ExitStatus::WrongUsage;
    std::size_t refused = 0;
    {
        const auto session =
            Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
        if (!session) return explainFailure(session.status(), context.console);
        refused = refuse(*additions, (*session)->settings(), context.console);
    }
    if (additions->empty()) return ExitStatus::SomeFailed;
    bool isScanned = false;
    const ExitStatus result = runThroughDriver(context, [&](const ReachedCopy& reached) {
        return addAll(*additions, options, reached, context, isScanned);
    });
    const std::size_t missing = isScanned ? nameMissingFiles(*additions, context) : 0;
    return refused + missing == 0 ? result : std::max(result, ExitStatus::SomeFailed);
}

}  // namespace siftwell
