#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/JsonLine.h"
#include "search/ResultRows.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string jsonFor(const ResultRow& row) {
    nlohmann::ordered_json line;
    line["url"] = repairedUtf8(row.url);
    line["title"] = repairedUtf8(row.title);
    line["score"] = row.score;
    line["date"] = nullptr;
    if (row.moment) line["date"] = row.moment->iso8601();
    line["source"] = repairedUtf8(row.source);
    line["indexer"] = repairedUtf8(row.indexer);
    line["cachePath"] = repairedUtf8(row.cachePath);
    return jsonLine(line);
}

void printForPeople(const ResultRow& row, const Console& console) {
    console.print(printable(row.title));
    console.print("    " + printable(row.url));
    console.print("    " + printable(row.date + "  " + row.source));
}

// The sources that are asked for, each once; none for all.
std::optional<std::vector<std::string>> sourcesIn(const SearchOptions& options) {
    if (options.sources.empty()) return std::nullopt;
    std::vector<std::string> sources;
    for (const std::string& source : options.sources) {
        if (std::find(sources.begin(), sources.end(), source) == sources.end())
            sources.push_back(source);
    }
    return sources;
}

void explainNothingFound(const IndexController& indexes, const SearchOptions& options,
                         Console& console) {
    if (indexes.indexes()->empty()) {
        return console.message(
            _("Nothing is indexed yet. Add a folder of pages with: siftwell add FOLDER"));
    }
    for (const std::string& source : options.sources) {
        if (indexes.isIndexedSource(source)) continue;
        console.message(
            filledIn(_("There are no pages of a source named \"%@\"; see: siftwell status"),
                     printable(source)));
    }
    console.message(_("Nothing found."));
}

ExitStatus exitStatusFor(const CollectedResults& results, bool isErrorReported,
                         const IndexController& indexes) {
    if (!results.errors.empty() || isErrorReported)
        return indexes.indexes()->empty() ? ExitStatus::Unusable : ExitStatus::SomeFailed;
    return results.rows.empty() ? ExitStatus::NothingFound : ExitStatus::Done;
}

}  // namespace

ExitStatus runSearch(const SearchOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    IndexController& indexes = (*session)->indexes();
    const RunningSearches searches = indexes.startSearch(
        sourcesIn(options),
        skSearchQuery(joined(options.words), options.type, indexes.stopWords()));
    const ResultRowMaker maker(indexes, (*session)->clock(), context.paths.resourceFolder);
    const CollectedResults results = collectResults(
        searches, {options.since, options.until, options.limit, options.isSortedByDate}, maker);
    indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));

    for (const ResultRow& row : results.rows) {
        if (options.isJson) {
            context.console.print(jsonFor(row));
        } else {
            printForPeople(row, context.console);
        }
    }
    for (const Status& error : results.errors)
        context.console.message("siftwell: " + printable(error.message()));
    context.mainLoop.turn(std::chrono::milliseconds(0));  // prints what was reported
    const ExitStatus status = exitStatusFor(results, errors.size() > 0, indexes);
    if (status == ExitStatus::NothingFound) explainNothingFound(indexes, options, context.console);
    return status;
}

}  // namespace siftwell
