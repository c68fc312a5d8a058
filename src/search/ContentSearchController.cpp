#include "search/ContentSearchController.h"

#include <system_error>
#include <utility>

#include "base/StackTraces.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr std::chrono::seconds kIdlePeriod(10);
constexpr int kMonthlyFormat = 1;
constexpr const char* kBlankPage =
    "<html> <head> <title>blank</title> </head> <body> </body> </html>";

}  // namespace

ContentSearchController::ContentSearchController(const Surroundings& surroundings)
    : m_surroundings(surroundings),
      m_indexes(surroundings.indexes),
      m_recent(surroundings.settings),
      m_sources(surroundings.settings) {
    m_observation = m_surroundings.centre.observe(
        "SiftwellPreferenceChangeNotification",
        [this](const PropertyList&) { updateSearchSourceSettings(); });
    updateSearchSourceSettings();
}

ContentSearchController::~ContentSearchController() {
    stopWaitingForResults();
    if (m_searchArray != nullptr) m_indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));
}

std::string ContentSearchController::skSearchQuery() const {
    return siftwell::skSearchQuery(m_searchQuery, m_searchType, m_indexes.stopWords());
}

// Without a gap from one search to the next: the store ends the current one only when the new one
// takes its place, and keeps the priority.
void ContentSearchController::performSearch(const std::string& searchQuery) {
    const auto sources = searchSources();
    if (sources && sources->empty()) {
        return m_surroundings.notifier.reportError(
            _("I don't know where to look!  Please use the Search menu to select at least one "
              "place to search."),
            8, "", "");
    }
    m_searchQuery = searchQuery;
    stopWaitingForResults();
    m_foundItemCount = 0;
    m_surroundings.observer.rowsCleared();
    if (m_searchQuery.empty()) return askForPhrase();
    m_surroundings.observer.statusChanged(_("Searching"));
    startCollecting(sources);
}

void ContentSearchController::askForPhrase() {
    m_searchArray = nullptr;
    m_surroundings.observer.placeholderShown(_("-- Please enter a search phrase --"));
    m_surroundings.observer.previewBlanked(kBlankPage);
    m_indexes.finishSearchAfterIdlePeriod(kIdlePeriod);
    m_surroundings.observer.statusChanged("");
}

void ContentSearchController::startCollecting(
    const std::optional<std::vector<std::string>>& sources) {
    const std::string query = skSearchQuery();
    m_snippets.emplace(query, m_indexes.stopWords());
    CollectionRequest request = requestFor(sources, m_indexes.startSearch(sources, query));
    m_searchArray = request.searchArray;
    const Worker worker = m_resultThread.enter();
    try {
        m_thread = std::jthread([this, request = std::move(request), worker] {
            collectResultsInThread(request, worker);
        });
    } catch (const std::system_error& error) {
        m_resultThread.leave();
        reportFailure(error);
        cancelSearch();
    }
}

CollectionRequest ContentSearchController::requestFor(
    const std::optional<std::vector<std::string>>& sources, RunningSearches searches) const {
    const Date now = m_surroundings.clock.now();
    CollectionRequest request{.searchArray = std::move(searches),
                              .query = skSearchQuery(),
                              .userQuery = m_searchQuery,
                              .userType = m_searchType,
                              .limits = dateLimits(m_surroundings.settings, now),
                              .moment = now,
                              .sources = std::nullopt};
    if (sources && m_indexes.indexFormat() == kMonthlyFormat) {
        request.sources.emplace(sources->begin(), sources->end());
    }
    return request;
}

void ContentSearchController::cancelSearch() {
    stopWaitingForResults();
    if (m_searchArray == nullptr) return;
    m_indexes.finishSearchAfterIdlePeriod(kIdlePeriod);
    showEndOfSearch();
}

void ContentSearchController::stopWaitingForResults() {
    if (m_searchArray != nullptr) {
        for (const RunningSearch& running : *m_searchArray) running.search->cancel();
    }
    m_resultThread.stop();
}

// ---- The worker

void ContentSearchController::collectResultsInThread(const CollectionRequest& request,
                                                     Worker worker) {
    nameThisThread("search");
    collectStackTracesOnThrow();
    const ResultCollector::Worker self{
        .keepWaitingForResults = [&] { return keepWaitingForResults(request, worker); },
        .deliver = [this](SearchBatch batch) { deliver(std::move(batch)); },
        .waitForNextRound =
            [&] { m_resultThread.waitUntilTaken(worker, m_surroundings.longestPause); }};
    SearchBatch last{.searchArray = request.searchArray, .resultArray = {}, .searchDone = true};
    try {
        const ResultRowMaker maker(m_indexes, m_surroundings.clock, m_surroundings.resourceFolder);
        ResultCollector(request, maker, m_surroundings.notifier, self).collect();
    } catch (const std::exception& exception) {
        reportFailure(exception);
        last.hasFailed = true;
    }
    if (m_resultThread.isRegistered(worker)) deliver(std::move(last));
    m_resultThread.leave();
}

// A search that somebody else has ended is over, too.
bool ContentSearchController::keepWaitingForResults(const CollectionRequest& request,
                                                    Worker worker) const {
    return m_resultThread.isRegistered(worker) &&
           m_indexes.currentSearch().running == request.searchArray;
}

void ContentSearchController::deliver(SearchBatch batch) {
    m_resultThread.notePosted();
    m_surroundings.mainLoop.post(
        [self = std::weak_ptr(m_self), batch = std::make_shared<SearchBatch>(std::move(batch))] {
            if (const auto controller = self.lock())
                (*controller)->showSearchResults(std::move(*batch));
        });
}

void ContentSearchController::reportFailure(const std::exception& exception) {
    printStackTrace(exception);
    m_surroundings.notifier.reportError(_("Your search failed due to an unexpected error."), 8, "",
                                        exception.what());
}

// ---- Back on the main thread

void ContentSearchController::showSearchResults(SearchBatch batch) {
    m_resultThread.noteTaken();
    const RunningSearches searches = batch.searchArray.lock();
    if (searches == nullptr || m_indexes.currentSearch().running != searches) {
        // Ended by somebody else and followed by no other: the window must not wait for ever.
        if (batch.searchDone && searches != nullptr && searches == m_searchArray) showEndOfSearch();
        return;
    }
    m_foundItemCount += batch.resultArray.size();
    if (!batch.resultArray.empty()) {
        m_surroundings.observer.rowsAppended(std::move(batch.resultArray), batch.maxRelevance);
    }
    if (!batch.searchDone) return m_surroundings.observer.statusChanged(_("Searching"));
    m_indexes.finishSearchAfterIdlePeriod(kIdlePeriod);
    if (!batch.hasFailed) noteOutcome();
    showEndOfSearch();
}

void ContentSearchController::noteOutcome() {
    if (m_foundItemCount > 0) {
        addRecentSearch(m_searchQuery);
    } else {
        m_surroundings.observer.placeholderShown(_("-- Nothing found --"));
    }
}

void ContentSearchController::showEndOfSearch() {
    m_searchArray = nullptr;
    m_surroundings.observer.statusChanged("");
    m_surroundings.observer.searchDone();
}

std::optional<Snippet> ContentSearchController::snippetFor(const FoundRow& row,
                                                           std::size_t maxColumns) const {
    return m_snippets ? m_snippets->snippetFor(row, maxColumns) : std::nullopt;
}

void ContentSearchController::performRecentSearch(const std::string& title) {
    m_surroundings.observer.windowShown(title);
    performSearch(title);
}

Status ContentSearchController::searchService(const std::optional<std::string>& text) {
    if (!text) {
        return {StatusCode::Invalid,
                _("Error: Nothing to search for.  Please select some text and try again.")};
    }
    m_surroundings.observer.windowShown(*text);
    performSearch(*text);
    return {};
}

void ContentSearchController::setSearchSourceSetting(const std::string& name, bool isSearched) {
    m_sources.set(name, isSearched);
    if (m_surroundings.setSearched) m_surroundings.setSearched(name, isSearched);
}

}  // namespace siftwell
