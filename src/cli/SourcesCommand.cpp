#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "app/PreferenceCommands.h"
#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/DriverCommand.h"
#include "cli/IndexerNames.h"
#include "cli/JsonLine.h"
#include "cli/NearNames.h"
#include "cli/Values.h"
#include "records/SearchItem.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using Action = SourcesOptions::Action;

// ---- The list

struct ResultWords {
    int result;
    const char* key;        // for programs
    std::string (*text)();  // for people
};

const std::array<ResultWords, 6> kResults = {
    {{scanResult::kSuccess, "success", [] { return _("done"); }},
     {scanResult::kFailure, "failure", [] { return _("stopped before its end"); }},
     {scanResult::kConfigurationError, "configurationError",
      [] { return _("its settings are wrong"); }},
     {scanResult::kCopyFailed, "copyFailed", [] { return _("a file could not be copied"); }},
     {scanResult::kDownloadsUnfinished, "downloadsUnfinished",
      [] { return _("its pages did not come in time"); }},
     {scanResult::kUnexpectedError, "unexpectedError", [] { return _("unexpected error"); }}}};

const ResultWords* wordsFor(std::optional<int> result) {
    const auto words = std::find_if(kResults.begin(), kResults.end(),
                                    [&](const ResultWords& each) { return each.result == result; });
    return words == kResults.end() ? nullptr : &*words;
}

std::optional<Date> lastScanOf(const SearchItem& item) {
    const auto date = item.LastScanDate;
    return date && *date > Date::distantPast() ? date : std::nullopt;
}

nlohmann::ordered_json jsonFor(const SearchItem& item) {
    nlohmann::ordered_json json;
    json["source"] = repairedUtf8(item.Name);
    json["index"] = item.Index;
    json["search"] = item.Search;
    json["expire"] = item.Expire;
    json["lastScan"] = nullptr;
    if (const auto date = lastScanOf(item)) json["lastScan"] = date->iso8601();
    const ResultWords* words = wordsFor(item.ScanResult);
    json["result"] = nullptr;
    if (words != nullptr) json["result"] = words->key;
    json["path"] = repairedUtf8(item.Path);
    json["indexer"] = repairedUtf8(item.Indexer);
    json["indexOnce"] = item.IndexOnce;
    json["builtIn"] = !item.UserItem;
    return json;
}

void printForPeople(const SearchItem& item, const Console& console) {
    console.print(printable((item.Index ? _("on ") : _("off")) + "  " + item.Name));
    std::string line = item.Search ? _("searched") : _("not searched");
    if (item.Expire) line += ", " + _("expires");
    if (const auto date = lastScanOf(item)) {
        line += ", " + filledIn(_("read up to %@"), date->formattedLocally("%Y-%m-%d %H:%M"));
    }
    if (const ResultWords* words = wordsFor(item.ScanResult)) {
        line += ", " + filledIn(_("last scan: %@"), words->text());
    }
    console.print("     " + line);
    console.print(printable("     " + item.Path));
}

void list(const std::vector<SearchItem>& items, bool isJson, const Console& console) {
    for (const SearchItem& item : items) {
        if (isJson) {
            console.print(jsonLine(jsonFor(item)));
        } else {
            printForPeople(item, console);
        }
    }
}

// ---- What was typed

// False, explained, when there is a name that no source bears.
bool areKnown(const std::vector<std::string>& names, const std::vector<SearchItem>& items,
              Console& console) {
    std::vector<std::string> known;
    known.reserve(items.size());
    for (const SearchItem& item : items) known.push_back(item.Name);
    bool areAllKnown = true;
    for (const std::string& name : names) {
        if (std::find(known.begin(), known.end(), name) != known.end()) continue;
        areAllKnown = false;
        console.message(
            printable("siftwell: " + filledIn(_("There is no source named \"%@\"."), name) +
                      meantPerhaps(name, known)));
    }
    if (!areAllKnown) console.message(_("To see all sources: siftwell sources"));
    return areAllKnown;
}

std::vector<std::string> namesOf(const PropertyList::Dictionary& dictionary) {
    std::vector<std::string> names;
    for (const auto& [name, value] : dictionary) names.push_back(name);
    return names;
}

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

// None, explained, when the key or the value makes no sense.
std::optional<PropertyList> valueFor(const std::string& key, const std::string& text,
                                     Console& console) {
    const auto refuse = [&console](const std::string& explanation) {
        console.message(printable("siftwell: " + explanation));
        return std::nullopt;
    };
    const auto settable = settableItemValues();
    const PropertyList* example = find(settable, key);
    if (example == nullptr) {
        const auto names = namesOf(settable);
        return refuse(filledIn(_("\"%@\" cannot be set."), key) + meantPerhaps(key, names) + " " +
                      filledIn(_("These can: %@."), listed(names)));
    }
    if (key == "Indexer" && !isIndexerName(text)) return refuse(explanationOfIndexer(text));
    auto value = valueLike(*example, text);
    const bool isEmptyName = text.empty() && (key == "Name" || key == "Path");
    if (!value || isEmptyName) {
        return refuse(filledIn(_("\"%@\" is no value for %@, which takes %@."), text, key,
                               allowedLike(*example)));
    }
    return value;
}

// ---- Changing

Status changeOne(Driver& driver, const std::string& name, Action action, const std::string& key,
                 const PropertyList& value) {
    switch (action) {
        case Action::Enable:
            return driver.setSearchItemValue(name, "Index", true);
        case Action::Disable:
            return driver.setSearchItemValue(name, "Index", false);
        case Action::Delete:
            return driver.deleteSearchItem(name);
        case Action::Reset:
            return driver.resetScanDate(name);
        case Action::Set:
            return driver.setSearchItemValue(name, key, value);
        case Action::List:
        case Action::Discover:
            break;
    }
    return {};
}

// Those come into the list again with the next start.
void explainBuiltIn(const std::vector<std::string>& names, const std::vector<SearchItem>& items,
                    Console& console) {
    for (const std::string& name : names) {
        const bool isBuiltIn = std::any_of(
            items.begin(), items.end(),
            [&name](const SearchItem& item) { return item.Name == name && !item.UserItem; });
        if (!isBuiltIn) continue;
        console.message(printable(filledIn(
            _("\"%@\" is built in and comes back with the next start. To keep it from being read: "
              "siftwell sources disable"),
            name)));
    }
}

}  // namespace

ExitStatus runSources(const SourcesOptions& options, const CommandContext& context) {
    if (options.action == Action::Discover) return runDiscover(options, context);
    std::vector<SearchItem> items;
    {
        const auto session =
            Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
        if (!session) return explainFailure(session.status(), context.console);
        items = searchItemsIn((*session)->settings().array("SearchItems"));
    }
    if (options.action == Action::List) {
        list(items, options.isJson, context.console);
        return ExitStatus::Done;
    }
    if (!areKnown(options.names, items, context.console)) return ExitStatus::WrongUsage;
    std::optional<PropertyList> value = PropertyList();
    if (options.action == Action::Set) {
        value = valueFor(options.key, options.value, context.console);
        if (!value) return ExitStatus::WrongUsage;
    }
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        for (const std::string& name : options.names) {
            const Status status =
                changeOne(reached.copy.driver(), name, options.action, options.key, *value);
            if (!status.isOk()) return explainRefusal(status, context.console);
        }
        if (options.action == Action::Delete) {
            explainBuiltIn(options.names, items, context.console);
        }
        return ExitStatus::Done;
    });
}

}  // namespace siftwell
