#include <nlohmann/json.hpp>
#include <set>

#include "app/BrowserItems.h"
#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/DriverCommand.h"
#include "cli/JsonLine.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using State = BrowserItem::State;
using Browsers = std::vector<BrowserItems>;

std::vector<SearchItem> itemsIn(const Browsers& browsers, State state) {
    std::vector<SearchItem> items;
    for (const BrowserItems& browser : browsers) {
        for (const BrowserItem& each : browser.items) {
            if (each.state == state) items.push_back(each.item);
        }
    }
    return items;
}

struct StateWords {
    const char* key;   // for programs
    std::string text;  // for people
};

// What it was, or, when it is switched on, what has become of it.
StateWords wordsFor(State state, bool isEnabling) {
    switch (state) {
        case State::New:
            return isEnabling ? StateWords{"added", _("added")} : StateWords{"new", _("new")};
        case State::Off:
            return isEnabling ? StateWords{"enabled", _("switched on")}
                              : StateWords{"off", _("off")};
        case State::On:
            break;
    }
    return {"on", _("on")};
}

void printJson(const BrowserProfile& profile, const BrowserItem& item, bool isEnabling,
               const Console& console) {
    nlohmann::ordered_json json;
    json["browser"] = profile.browser;
    json["packaging"] = nullptr;
    if (!profile.packaging.empty()) json["packaging"] = profile.packaging;
    json["profile"] = nullptr;
    if (!profile.name.empty()) json["profile"] = profile.name;
    json["source"] = repairedUtf8(item.item.Name);
    json["path"] = repairedUtf8(item.item.Path);
    json["indexer"] = repairedUtf8(item.item.Indexer);
    json["state"] = wordsFor(item.state, isEnabling).key;
    console.print(jsonLine(json));
}

void printForPeople(const BrowserItems& browser, bool isEnabling, const Console& console) {
    std::string title = browserName(browser.profile);
    if (!browser.profile.name.empty()) title += ": " + browser.profile.name;
    console.print(printable(title));
    for (const BrowserItem& each : browser.items) {
        console.print(
            printable("  " + each.item.Name + "  [" + wordsFor(each.state, isEnabling).text + "]"));
        console.print(printable("    " + each.item.Path));
    }
}

void list(const Browsers& browsers, const SourcesOptions& options, const Console& console) {
    for (const BrowserItems& browser : browsers) {
        if (!options.isJson) printForPeople(browser, options.isEnabling, console);
        for (const BrowserItem& each : browser.items) {
            if (options.isJson) {
                printJson(browser.profile, each, options.isEnabling, console);
            }
        }
    }
}

std::vector<SearchItem> switchedOn(std::vector<SearchItem> items) {
    for (SearchItem& item : items) item.Index = true;
    return items;
}

// Those that are on already are left as they are.
std::vector<SearchItem> itemsToEnable(const Browsers& browsers) {
    std::vector<SearchItem> items = switchedOn(itemsIn(browsers, State::New));
    for (SearchItem& item : switchedOn(itemsIn(browsers, State::Off))) items.push_back(item);
    return items;
}

Browsers browsersBeside(Session& session) {
    return browserItems(searchItemsIn(session.settings().array("SearchItems")), session.paths());
}

Result<Browsers> browsersOfUser(const CommandContext& context) {
    const auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return session.status();
    return browsersBeside(**session);
}

// Each once, however many profiles it has.
std::string namesOf(const Browsers& browsers) {
    std::string names;
    std::set<std::string> named;
    for (const BrowserItems& browser : browsers) {
        const std::string name = browserName(browser.profile);
        if (named.insert(name).second) names += (names.empty() ? "" : ", ") + name;
    }
    return names;
}

}  // namespace

ExitStatus runDiscover(const SourcesOptions& options, const CommandContext& context) {
    Console& console = context.console;
    if (!options.isEnabling) letSignalsEndTheProgram();
    const auto browsers = browsersOfUser(context);
    if (!browsers) return explainFailure(browsers.status(), console);
    if (browsers->empty()) {
        console.message(_("There is no browser here that was used."));
        return ExitStatus::NothingFound;
    }
    const std::vector<SearchItem> items = itemsToEnable(*browsers);
    if (!options.isEnabling || items.empty()) {
        list(*browsers, options, console);
        console.message(items.empty()
                            ? _("All of them are read at each scan.")
                            : _("To have all of them read: siftwell sources discover --enable"));
        return ExitStatus::Done;
    }
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        const Status status = reached.copy.driver().addMissingItems(items);
        if (!status.isOk()) return explainRefusal(status, console);
        list(*browsers, options, console);
        console.message(_("The next scan reads them: siftwell scan"));
        return ExitStatus::Done;
    });
}

void tellOfBrowsers(const CommandContext& context) {
    const auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    // Whoever starts the program will be told why this does not work.
    if (!session) return;
    const Settings& settings = (*session)->settings();
    if (settings.boolean("FirstRunExplanationShown") || settings.boolean("BrowsersTold")) return;
    const Browsers browsers = browsersBeside(**session);
    if (itemsIn(browsers, State::New).empty()) return;
    context.console.message(
        printable(filledIn(_("Browsers on this computer: %@."), namesOf(browsers))));
    context.console.message(
        _("To find the pages that you saw in them: siftwell sources discover --enable"));
}

}  // namespace siftwell
