#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/ErrorList.h"
#include "cli/JsonLine.h"
#include "cli/SnippetLines.h"
#include "search/ResultRows.h"
#include "search/SearchSources.h"
#include "search/Snippet.h"
#include "text/TitleText.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

constexpr std::size_t kJsonColumns = 160;
constexpr std::string_view kIndent = "    ";

std::string jsonFor(const FoundRow& row, const SnippetMaker& snippets) {
    const auto snippet = snippets.snippetFor(row, kJsonColumns);
    nlohmann::ordered_json line;
    line["url"] = repairedUtf8(row.url);
    line["title"] = repairedUtf8(row.title);
    line["score"] = row.score;
    line["date"] = nullptr;
    if (row.moment) line["date"] = row.moment->iso8601();
    line["source"] = repairedUtf8(row.source);
    line["indexer"] = repairedUtf8(row.indexer);
    line["cachePath"] = repairedUtf8(row.cachePath);
    line["snippet"] = nullptr;
    if (snippet) line["snippet"] = snippet->text;
    return jsonLine(line);
}

void printSnippet(const FoundRow& row, const SnippetMaker& snippets, const Console& console) {
    constexpr std::size_t kLeast = 20;
    const std::size_t columns =
        std::max(console.outputColumns(), kIndent.size() + kLeast) - kIndent.size();
    const auto snippet = snippets.snippetFor(row, 2 * columns - columns / 8);  // lines end early
    if (!snippet) return;
    for (const std::string& line : snippetLines(*snippet, columns, console.isBoldShown())) {
        console.print(std::string(kIndent) + line);
    }
}

void printForPeople(const FoundRow& row, const SnippetMaker& snippets, const Console& console) {
    console.print(printable(titleToShow(row.title)));
    console.print(std::string(kIndent) + printable(row.url));
    if (console.isOutputTerminal()) printSnippet(row, snippets, console);
    console.print(std::string(kIndent) + printable(row.date + "  " + row.source));
}

// The sources that are asked for, each once; otherwise those that take part in searches, or none
// when all do.
std::optional<std::vector<std::string>> sourcesFor(const SearchOptions& options,
                                                   const Settings& settings) {
    if (options.sources.empty()) {
        return searchSources(searchSourcesOf(searchItemsIn(settings.array("SearchItems"))));
    }
    std::vector<std::string> sources;
    for (const std::string& source : options.sources) {
        if (std::find(sources.begin(), sources.end(), source) == sources.end())
            sources.push_back(source);
    }
    return sources;
}

void explainNothingFound(const IndexController& indexes, const SearchOptions& options,
                         bool isRestricted, Console& console) {
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
    if (isRestricted && options.sources.empty()) {
        console.message(_("Some sources take no part in searches; see: siftwell sources"));
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
    const auto sources = sourcesFor(options, (*session)->settings());
    const std::string query =
        skSearchQuery(joined(options.words), options.type, indexes.stopWords());
    const RunningSearches searches = indexes.startSearch(sources, query);
    const ResultRowMaker maker(indexes, (*session)->clock(), context.paths.resourceFolder);
    const CollectedResults results = collectResults(
        searches, {options.since, options.until, options.limit, options.isSortedByDate}, maker);
    indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));

    const SnippetMaker snippets(query, indexes.stopWords());
    for (const FoundRow& row : results.rows) {
        if (options.isJson) {
            context.console.print(jsonFor(row, snippets));
        } else {
            printForPeople(row, snippets, context.console);
        }
    }
    for (const Status& error : results.errors)
        context.console.message("siftwell: " + printable(error.message()));
    context.mainLoop.turn(std::chrono::milliseconds(0));  // prints what was reported
    const ExitStatus status = exitStatusFor(results, errors.size() > 0, indexes);
    if (status == ExitStatus::NothingFound) {
        explainNothingFound(indexes, options, sources.has_value(), context.console);
    }
    return status;
}

}  // namespace siftwell
