#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "search/ResultRows.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string jsonLine(const ResultRow& row) {
    nlohmann::ordered_json line;
    line["url"] = repairedUtf8(row.url);
    line["title"] = repairedUtf8(row.title);
    line["score"] = row.score;
    line["date"] = nullptr;
    if (row.moment) line["date"] = row.moment->iso8601();
    line["source"] = repairedUtf8(row.source);
    line["indexer"] = repairedUtf8(row.indexer);
    line["cachePath"] = repairedUtf8(row.cachePath);
    return line.dump();
}

void printForPeople(const ResultRow& row, const Console& console) {
    console.print(printable(row.title));
    console.print("    " + printable(row.url));
    console.print("    " + printable(row.date + "  " + row.source));
}

void explainNothingFound(IndexController& indexes, Console& console) {
    console.message(
        indexes.indexes()->empty()
            ? _("Nothing is indexed yet. Add a folder of pages with: siftwell add FOLDER")
            : _("Nothing found."));
}

}  // namespace

ExitStatus runSearch(const SearchOptions& options, const CommandContext& context) {
    auto session = Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
    if (!session) return explainFailure(session.status(), context.console);
    const ErrorList errors((*session)->centre(), context.console);
    IndexController& indexes = (*session)->indexes();
    const auto sources = options.sources.empty() ? std::nullopt : std::optional(options.sources);
    const RunningSearches searches = indexes.startSearch(
        sources, skSearchQuery(joined(options.words), options.type, indexes.stopWords()));
    const ResultRowMaker maker(indexes, (*session)->clock(), context.paths.resourceFolder);
    const CollectedResults results = collectResults(
        searches, {options.since, options.until, options.limit, options.isSortedByDate}, maker);
    indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));

    for (const ResultRow& row : results.rows) {
        if (options.isJson) {
            context.console.print(jsonLine(row));
        } else {
            printForPeople(row, context.console);
        }
    }
    for (const Status& error : results.errors)
        context.console.message("siftwell: " + error.message());
    context.mainLoop.turn(std::chrono::milliseconds(0));  // prints what was reported
    if (!results.errors.empty() || errors.size() > 0) return ExitStatus::SomeFailed;
    if (!results.rows.empty()) return ExitStatus::Done;
    explainNothingFound(indexes, context.console);
    return ExitStatus::NothingFound;
}

}  // namespace siftwell
