#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/ErrorLog.h"
#include "app/Session.h"
#include "base/Translate.h"
#include "cli/AddressArgument.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/IndexPlaces.h"
#include "cli/JsonLine.h"
#include "cli/LoggedErrors.h"
#include "cli/Refusal.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using Json = nlohmann::ordered_json;

std::optional<LoggedError> lastErrorOf(const Url& url, const std::string& stateFolder) {
    std::vector<LoggedError> errors = ErrorLog::read(stateFolder);
    const auto last = std::find_if(errors.rbegin(), errors.rend(), [&url](const auto& error) {
        return error.url == url.absoluteString();
    });
    return last == errors.rend() ? std::nullopt : std::optional(*last);
}

// What is known of an address that is in no index.
struct Absence {
    Url url;
    Verdict verdict = Verdict::Accepted;
    std::string filter;  // that keeps it out
    std::optional<LoggedError> error;

    bool isRefused() const { return verdict != Verdict::Accepted; }
};

Json orNull(bool isThere, const std::string& text) {
    return isThere ? Json(repairedUtf8(text)) : Json(nullptr);
}

const char* ruleOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::NotAnAddress:
            return "notAnAddress";
        case Verdict::SchemeRefused:
            return "scheme";
        case Verdict::ExtensionFiltered:
            return "extension";
        case Verdict::ExtractorsOff:
            return "extractorsOff";
        case Verdict::Filtered:
            return "filter";
        case Verdict::Accepted:
        case Verdict::FailedBefore:
            break;
    }
    return "";
}

Json jsonFor(const Url& url, const IndexPlace& place) {
    const bool hasRecord = place.record.has_value();
    const PropertyRecord record = place.record.value_or(PropertyRecord{});
    Json json;
    json["url"] = repairedUtf8(url.absoluteString());
    json["state"] = "indexed";
    json["index"] = repairedUtf8(place.index);
    json["source"] = orNull(hasRecord, record.source);
    json["date"] = orNull(hasRecord, record.date.iso8601());
    json["indexer"] = orNull(hasRecord, record.indexer);
    json["title"] = orNull(hasRecord, record.title);
    json["cachePath"] = repairedUtf8(record.cachePath.value_or(""));
    return json;
}

Json jsonFor(const Absence& absence) {
    Json json;
    json["url"] = repairedUtf8(absence.url.absoluteString());
    json["state"] = absence.isRefused() ? "refused" : absence.error ? "failed" : "unknown";
    json["rule"] = orNull(absence.isRefused(), ruleOf(absence.verdict));
    json["filter"] = orNull(!absence.filter.empty(), absence.filter);
    json["lastError"] = nullptr;
    if (absence.error) json["lastError"] = jsonFor(*absence.error);
    return json;
}

void printForPeople(const Url& url, const IndexPlace& place, const Console& console) {
    console.print(
        printable(filledIn(_("%@ is in the index %@."), url.absoluteString(), place.index)));
    if (!place.record) return;
    const PropertyRecord& record = *place.record;
    const auto show = [&console](const std::string& pattern, const std::string& value) {
        if (!value.empty()) console.print(printable("    " + filledIn(pattern, value)));
    };
    show(_("Title: %@"), record.title);
    show(_("Source: %@"), record.source);
    show(_("Date: %@"), record.date.formattedLocally("%Y-%m-%d %H:%M"));
    show(_("Read by: %@"), record.indexer);
    show(_("Cached copy: %@"), record.cachePath.value_or(""));
}

void printForPeople(const Absence& absence, const Console& console) {
    const std::string address = absence.url.absoluteString();
    if (const auto refusal = refusalOf(absence.url, absence.verdict)) {
        console.print(printable(*refusal));
        if (!absence.filter.empty()) {
            console.print(printable("    " + filledIn(_("Filter: %@"), absence.filter)));
        }
    }
    if (absence.error) {
        console.print(
            printable(filledIn(_("%@ could not be indexed at %@:"), address, absence.error->date)));
        console.print(printable("    " + absence.error->error));
        if (!absence.error->details.empty()) {
            console.print(printable("    " + absence.error->details));
        }
    } else if (!absence.isRefused()) {
        console.print(printable(filledIn(_("%@ is not in the index, and nothing went wrong with "
                                           "it: no source has led to it yet."),
                                         address)));
    }
}

Absence absenceOf(const Url& url, Session& session) {
    Absence absence{.url = url,
                    .verdict = session.indexes().admission().judge(url),
                    .error = lastErrorOf(url, session.paths().stateFolder)};
    if (absence.verdict == Verdict::Filtered) {
        absence.filter = filterAgainst(url, session.settings());
    }
    return absence;
}

// Whether the argument leads to a page of the index, which is printed.
bool printPlaces(const std::vector<Url>& urls, const IndexController& indexes, bool isJson,
                 const Console& console) {
    for (const Url& url : urls) {
        const std::vector<IndexPlace> places = placesOf(url, indexes);
        for (const IndexPlace& place : places) {
            if (isJson) {
                console.print(jsonLine(jsonFor(url, place)));
            } else {
                printForPeople(url, place, console);
            }
        }
        if (!places.empty()) return true;
    }
    return false;
}

}  // namespace

ExitStatus runWhy(const WhyOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    const std::vector<Url> urls = urlsOf(options.address);
    const bool isIndexed =
        printPlaces(urls, (*session)->indexes(), options.isJson, context.console);
    if (!isIndexed && !urls.empty()) {
        // The file that a name leads to, rather than the name.
        const Url& meant = urls.front().isFile() ? urls.back() : urls.front();
        const Absence absence = absenceOf(meant, **session);
        if (options.isJson) {
            context.console.print(jsonLine(jsonFor(absence)));
        } else {
            printForPeople(absence, context.console);
        }
    }
    context.mainLoop.turn(std::chrono::milliseconds(0));
    if (errors.size() > 0) return ExitStatus::SomeFailed;
    return isIndexed ? ExitStatus::Done : ExitStatus::NothingFound;
}

}  // namespace siftwell
