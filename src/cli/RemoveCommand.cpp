#include <algorithm>
#include <filesystem>

#include "app/Session.h"
#include "base/Translate.h"
#include "base/Url.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

namespace {

// What an argument may stand for: an address; a file by its name, whose folder may be a link; the
// file that the name leads to.
std::vector<Url> urlsOf(const std::string& argument) {
    std::vector<Url> urls;
    if (const auto url = Url::parse(argument); url && url->hasScheme()) urls.push_back(*url);
    std::error_code error;
    const auto path = std::filesystem::absolute(argument, error).lexically_normal();
    if (error) return urls;
    urls.push_back(Url::fromFilePath(path.string()));
    const auto folder = std::filesystem::weakly_canonical(path.parent_path(), error);
    if (!error) urls.push_back(Url::fromFilePath((folder / path.filename()).string()));
    const auto target = std::filesystem::weakly_canonical(path, error);
    if (!error) urls.push_back(Url::fromFilePath(target.string()));
    return urls;
}

// A page may stand in several indexes, from each of which it is to go.
bool removeEverywhere(IndexController& indexes, const Url& url) {
    bool isRemoved = false;
    for (std::size_t i = indexes.indexes()->size(); i > 0; --i) {
        if (indexes.removeURLFromIndex({url}) == 0) break;
        isRemoved = true;
    }
    return isRemoved;
}

bool removeFirstOf(IndexController& indexes, const std::vector<Url>& urls) {
    return std::any_of(urls.begin(), urls.end(),
                       [&indexes](const Url& url) { return removeEverywhere(indexes, url); });
}

}  // namespace

ExitStatus runRemove(const RemoveOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Writing, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    (*session)->waitUntilIndexingIsEnabled();
    bool isAllRemoved = true;
    for (const std::string& argument : options.addresses) {
        if (removeFirstOf((*session)->indexes(), urlsOf(argument))) continue;
        isAllRemoved = false;
        context.console.message(filledIn(_("%@ is not in the index."), printable(argument)));
    }
    if (Status status = (*session)->close(); !status.isOk()) {
        return explainFailure(status, context.console);
    }
    if (errors.indexErrors() > 0) return ExitStatus::Unusable;
    return isAllRemoved && errors.size() == 0 ? ExitStatus::Done : ExitStatus::SomeFailed;
}

}  // namespace siftwell
