#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/DriverCommand.h"
#include "cli/JsonLine.h"
#include "cli/NearNames.h"
#include "records/URLFilter.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using Action = FiltersOptions::Action;

void list(const std::vector<URLFilter>& filters, bool isJson, const Console& console) {
    for (const URLFilter& filter : filters) {
        if (isJson) {
            console.print(
                jsonLine({{"filter", repairedUtf8(filter.String)}, {"enabled", filter.Enabled}}));
        } else {
            console.print(printable((filter.Enabled ? _("on ") : _("off")) + "  " + filter.String));
        }
    }
}

bool isConfirmed(Console& console) {
    const auto button =
        console.ask({.title = _("Do you want to reload Siftwell's default URL filters?"),
                     .text = _("You will lose any changes you have made to these settings."),
                     .buttons = {_("Yes"), _("No")}});
    return button == std::size_t{0};
}

// What keeps the change from being made.
std::optional<ExitStatus> hindrance(const FiltersOptions& options,
                                    const std::vector<URLFilter>& filters, Console& console) {
    const auto refuse = [&console](const std::string& explanation) {
        console.message(printable("siftwell: " + explanation));
        return ExitStatus::WrongUsage;
    };
    std::vector<std::string> texts;
    texts.reserve(filters.size());
    for (const URLFilter& filter : filters) texts.push_back(filter.String);
    const bool isThere = std::find(texts.begin(), texts.end(), options.text) != texts.end();
    switch (options.action) {
        case Action::Add:
            if (options.text.empty()) {
                return refuse(_("An empty filter keeps nothing out of the index."));
            }
            if (!isValidUtf8(options.text)) return refuse(_("A filter is a text in UTF-8."));
            if (!isThere) return std::nullopt;
            console.message(
                printable(filledIn(_("The filter \"%@\" is there already."), options.text)));
            return ExitStatus::Done;
        case Action::Delete:
            if (isThere) return std::nullopt;
            return refuse(filledIn(_("There is no filter \"%@\"."), options.text) +
                          meantPerhaps(options.text, texts));
        case Action::Reset:
            if (options.isConfirmed) return std::nullopt;
            if (!console.canAsk()) {
                return refuse(_("You will lose any changes you have made to these settings.") +
                              " " + _("Say --yes to go on."));
            }
            if (isConfirmed(console)) return std::nullopt;
            return ExitStatus::Done;
        case Action::List:
        case Action::Apply:
            break;
    }
    return std::nullopt;
}

Status change(Driver& driver, const FiltersOptions& options) {
    switch (options.action) {
        case Action::Add:
            return driver.addURLFilter(options.text);
        case Action::Delete:
            return driver.deleteURLFilter(options.text);
        case Action::Reset:
            return driver.resetURLFilters();
        case Action::List:
        case Action::Apply:
            break;
    }
    return {};
}

}  // namespace

ExitStatus runFilters(const FiltersOptions& options, const CommandContext& context) {
    if (options.action == Action::Apply) return runApplyFilters(context);
    std::vector<URLFilter> filters;
    {
        const auto session =
            Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
        if (!session) return explainFailure(session.status(), context.console);
        filters = urlFiltersIn((*session)->settings().array("URLFilters"));
    }
    if (options.action == Action::List) {
        list(filters, options.isJson, context.console);
        return ExitStatus::Done;
    }
    if (const auto end = hindrance(options, filters, context.console)) return *end;
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        const Status status = change(reached.copy.driver(), options);
        return status.isOk() ? ExitStatus::Done : explainRefusal(status, context.console);
    });
}

}  // namespace siftwell
