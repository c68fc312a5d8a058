#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "app/ToolConfinement.h"
#include "app/WriterLock.h"
#include "app/bus/RunningCopy.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/JsonLine.h"
#include "index/IndexSizes.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::milliseconds kTimeToAnswer(1500);

// None when there was no scan yet.
std::optional<Date> lastScan(const Settings& settings) {
    const auto date = settings.date("LastIndexScanDate");
    return date && *date > Date::distantPast() ? date : std::nullopt;
}

// The copy that holds the lock, and what it says of itself.
struct OtherCopy {
    pid_t process = 0;  // 0: there is none
    PropertyList::Dictionary status;
    Status failure;  // why it says nothing
};

OtherCopy askOtherCopy(const Paths& paths, NotificationCentre& centre) {
    OtherCopy other{.process = WriterLock::holder(paths.stateFolder)};
    if (other.process == 0) return other;
    const auto copy = RunningCopy::connect(centre, other.process, kTimeToAnswer);
    const auto status = copy ? (*copy)->status() : copy.status();
    other.failure = status.status();
    if (status) other.status = *status;
    return other;
}

std::vector<std::string> runningSources(const PropertyList::Dictionary& status) {
    std::vector<std::string> names;
    const PropertyList* items = find(status, "runningItems");
    if (items == nullptr || items->asArray() == nullptr) return names;
    for (const PropertyList& item : *items->asArray()) {
        if (item.asString() != nullptr) names.push_back(*item.asString());
    }
    return names;
}

struct State {
    std::vector<IndexSize> lines;
    std::optional<Date> lastScan;
    OtherCopy other;
    std::optional<ToolConfinement> tool;
};

// ---- For programs

Json dateOrNull(const std::optional<Date>& date) {
    return date ? Json(date->iso8601()) : Json(nullptr);
}

Json jsonFor(const OtherCopy& other) {
    if (other.process == 0) return nullptr;
    Json json;
    if (!other.failure.isOk()) {
        json["error"] = repairedUtf8(other.failure.message());
        return json;
    }
    json["indexingEnabled"] = booleanFor(other.status, "indexingEnabled");
    json["pending"] = integerFor(other.status, "pending").value_or(0);
    json["scanning"] = booleanFor(other.status, "scanning");
    json["maintaining"] = booleanFor(other.status, "maintaining");
    json["scanStarted"] = dateOrNull(dateFor(other.status, "scanStarted"));
    json["sources"] = Json::array();
    for (const std::string& name : runningSources(other.status)) {
        json["sources"].push_back(repairedUtf8(name));
    }
    json["nextScan"] = dateOrNull(dateFor(other.status, "nextScan"));
    json["networkDown"] = booleanFor(other.status, "networkDown");
    return json;
}

Json jsonFor(const std::optional<ToolConfinement>& tool) {
    if (!tool) return nullptr;
    return {{"landlock", tool->hasFileRules}, {"seccomp", tool->hasSystemCallFilter}};
}

void printJson(const State& state, const Console& console) {
    for (const IndexSize& line : state.lines) {
        Json json;
        json["index"] = repairedUtf8(line.name);
        json["documents"] = line.documents;
        json["bytes"] = line.bytes;
        console.print(jsonLine(json));
    }
    Json json;
    json["lastScan"] = dateOrNull(state.lastScan);
    json["runningCopy"] = nullptr;
    if (state.other.process != 0) json["runningCopy"] = state.other.process;
    json["activity"] = jsonFor(state.other);
    json["indexerTool"] = jsonFor(state.tool);
    console.print(jsonLine(json));
}

// ---- For people

std::string moment(const Date& date) { return date.formattedLocally("%Y-%m-%d %H:%M"); }

void printForPeople(const OtherCopy& other, const Console& console) {
    if (other.process == 0) return console.print(_("Running copy: none"));
    console.print(filledIn(_("Running copy: process %d"), std::int64_t{other.process}));
    if (!other.failure.isOk()) {
        return console.print(
            printable("    " + filledIn(_("It does not answer: %@"), other.failure.message())));
    }
    const auto& status = other.status;
    const auto show = [&console](const std::string& line) { console.print("    " + line); };
    if (!booleanFor(status, "indexingEnabled")) show(_("Indexing is switched off now."));
    if (booleanFor(status, "networkDown")) show(_("There is no network."));
    if (booleanFor(status, "maintaining")) show(_("The index is being worked on."));
    if (booleanFor(status, "scanning")) {
        const auto start = dateFor(status, "scanStarted");
        show(filledIn(_("Scanning since %@"), start ? moment(*start) : "?"));
        for (const std::string& name : runningSources(status)) show(printable("  " + name));
    } else if (const auto next = dateFor(status, "nextScan")) {
        show(filledIn(_("Next scan: %@"), moment(*next)));
    }
    const auto pending = std::max<std::int64_t>(0, integerFor(status, "pending").value_or(0));
    show(filledIn(_("To come: %@"), pageCount(static_cast<std::uint64_t>(pending))));
}

std::string textFor(const std::optional<ToolConfinement>& tool) {
    if (!tool) return _("it cannot be run, so that browsers' files are not read");
    if (tool->hasFileRules && tool->hasSystemCallFilter) {
        return _("confined to the files it reads, without a network (Landlock, seccomp)");
    }
    if (tool->hasSystemCallFilter) {
        return _("without a network (seccomp); the kernel cannot confine it to the files it reads");
    }
    return _("not confined");
}

void printForPeople(const State& state, const Console& console) {
    std::uint64_t documents = 0;
    std::uint64_t bytes = 0;
    for (const IndexSize& line : state.lines) {
        console.print(filledIn(_("%@: %@, %@"), printable(line.name), pageCount(line.documents),
                               humanBytes(line.bytes)));
        documents += line.documents;
        bytes += line.bytes;
    }
    console.print(filledIn(_("All: %@, %@"), pageCount(documents), humanBytes(bytes)));
    console.print(
        filledIn(_("Last scan: %@"), state.lastScan ? moment(*state.lastScan) : _("never")));
    printForPeople(state.other, console);
    console.print(filledIn(_("Reader of browsers' files: %@"), textFor(state.tool)));
}

}  // namespace

ExitStatus runStatus(const StatusOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    State state{.lines = sizesOf(*(*session)->indexes().indexes()),
                .lastScan = lastScan((*session)->settings()),
                .other = {},
                .tool = toolConfinement(context.paths)};
    context.mainLoop.turn(std::chrono::milliseconds(0));
    const bool isDamaged = errors.size() > 0;  // what the other copy reports is its own
    NotificationCentre centre(context.mainLoop);
    state.other = askOtherCopy(context.paths, centre);
    if (options.isJson) {
        printJson(state, context.console);
    } else {
        printForPeople(state, context.console);
    }
    return isDamaged ? ExitStatus::Unusable : ExitStatus::Done;
}

}  // namespace siftwell
