// ContentSearchController: searching as a person at a window does it.
//
// Words and criteria become a query; a worker thread collects what the indexes find, round by
// round, and the main thread hands it to the window. Indexing pauses for the whole search and ten
// seconds more, however the search ends.
//
// Threads: main; collectResultsInThread is the worker's.
// Errors: reported through the notifier with severity 8, indexes that fail with 9.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Clock.h"
#include "base/NotificationCentre.h"
#include "base/RunLoop.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "index/IndexController.h"
#include "search/RecentSearches.h"
#include "search/ResultCollector.h"
#include "search/ResultThreadLock.h"
#include "search/SearchObserver.h"
#include "search/SearchQuery.h"
#include "search/SearchSources.h"
#include "search/Snippet.h"

namespace siftwell {

class ContentSearchController {
public:
    // Outlives the controller.
    struct Surroundings {
        IndexController& indexes;
        Settings& settings;
        RunLoop& mainLoop;
        NotificationCentre& centre;
        SWNotifier& notifier;
        const Clock& clock;
        SearchObserver& observer;
        std::string resourceFolder;
        // Changes "Search" of the search items of that name, and tells of the change.
        std::function<void(const std::string& name, bool isSearched)> setSearched{};
        // Between two rounds, when the main thread does not take what it was given.
        std::chrono::milliseconds longestPause{500};
    };

    explicit ContentSearchController(const Surroundings& surroundings);
    ~ContentSearchController();
    ContentSearchController(const ContentSearchController&) = delete;
    ContentSearchController& operator=(const ContentSearchController&) = delete;

    // ---- Searching

    void setSearchType(SearchType type) { m_searchType = type; }
    SearchType searchType() const { return m_searchType; }
    const std::string& searchQuery() const { return m_searchQuery; }
    // In the engine's language; "" when nothing is asked for.
    std::string skSearchQuery() const;

    // Searches for the text in the place of whatever is being searched.
    void performSearch(const std::string& searchQuery);
    void cancelSearch();
    std::size_t foundItemCount() const { return m_foundItemCount; }

    bool waitingForResults() const { return m_resultThread.hasWorker(); }
    // Returns when the worker has gone, which takes it a few milliseconds at most.
    void stopWaitingForResults();

    // Of a row of the current search; none when its document is gone.
    std::optional<Snippet> snippetFor(const FoundRow& row, std::size_t maxColumns) const;

    // The entry from other programs: text that was selected there, or none. The error is for them.
    Status searchService(const std::optional<std::string>& text);

    // ---- Recent searches, newest first

    std::vector<std::string> recentSearches() const { return m_recent.list(); }
    void addRecentSearch(const std::string& text) { m_recent.add(text); }
    void performRecentSearch(const std::string& title);
    void clearRecentSearches() { m_recent.clear(); }

    // ---- Where to search

    std::vector<SearchSource> searchSourceSettings() const { return m_sources.list(); }
    void saveSearchSourceSettings(const std::vector<SearchSource>& list) { m_sources.save(list); }
    void updateSearchSourceSettings() { m_sources.update(); }
    void setSearchSourceSetting(const std::string& name, bool isSearched);
    // None stands for every index.
    std::optional<std::vector<std::string>> searchSources() const {
        return siftwell::searchSources(m_sources.list());
    }

private:
    using Worker = ResultThreadLock::Worker;

    void askForPhrase();
    void startCollecting(const std::optional<std::vector<std::string>>& sources);
    CollectionRequest requestFor(const std::optional<std::vector<std::string>>& sources,
                                 RunningSearches searches) const;
    void collectResultsInThread(const CollectionRequest& request, Worker worker);
    bool keepWaitingForResults(const CollectionRequest& request, Worker worker) const;
    void deliver(SearchBatch batch);
    void showSearchResults(SearchBatch batch);
    void noteOutcome();
    void showEndOfSearch();
    void reportFailure(const std::exception& exception);

    const Surroundings m_surroundings;
    IndexController& m_indexes;
    RecentSearches m_recent;
    SearchSourceSettings m_sources;
    NotificationCentre::Observation m_observation;
    SearchType m_searchType = SearchType::AllWords;
    std::string m_searchQuery;
    std::optional<SnippetMaker> m_snippets;  // for the current query
    RunningSearches m_searchArray;           // the controller's last search, until its end is shown
    std::size_t m_foundItemCount = 0;
    // Lets a batch that comes late find out that the controller is gone.
    std::shared_ptr<ContentSearchController*> m_self =
        std::make_shared<ContentSearchController*>(this);
    ResultThreadLock m_resultThread;
    std::jthread m_thread;
};

}  // namespace siftwell
