#include <filesystem>

#include "app/Session.h"
#include "base/Translate.h"
#include "base/Url.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"

namespace siftwell {

namespace {

// An address, or the path of a file.
std::optional<Url> urlOf(const std::string& argument) {
    auto url = Url::parse(argument);
    if (url && url->hasScheme()) return url;
    std::error_code error;
    const auto path = std::filesystem::absolute(argument, error).lexically_normal();
    return error ? std::nullopt : std::optional(Url::fromFilePath(path.string()));
}

}  // namespace

ExitStatus runRemove(const RemoveOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Writing, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    (*session)->waitUntilIndexingIsEnabled();
    bool isAllRemoved = true;
    for (const std::string& argument : options.addresses) {
        const auto url = urlOf(argument);
        if (url && (*session)->indexes().removeURLFromIndex({*url}) == 1) continue;
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
