#include "search/ContentSearchController.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class Window : public SearchObserver {
public:
    void windowShown(const std::string&) override {}
    void rowsCleared() override { *this = Window(); }
    void rowsAppended(std::vector<FoundRow> rows, float maxRelevance) override {
        batches.push_back(rows.size());
        for (FoundRow& row : rows) titles.push_back(row.title);
        last = rows.back();
        highest = maxRelevance;
    }
    void placeholderShown(const std::string& title) override { titles.push_back(title); }
    void previewBlanked(const std::string& page) override { preview = page; }
    void statusChanged(const std::string& text) override { status = text; }
    void searchDone() override { ++ends; }

    std::vector<std::string> titles;
    std::vector<std::size_t> batches;
    FoundRow last;
    float highest = 0;
    std::string preview;
    std::string status;
    int ends = 0;
};

// A clock that fails whoever is not its owner.
class FaultyClock : public TestClock {
public:
    Date now() const override {
        if (std::this_thread::get_id() != m_owner) throw std::runtime_error("no time");
        return TestClock::now();
    }

private:
    const std::thread::id m_owner = std::this_thread::get_id();
};

class ContentSearchControllerTest : public IndexFixture {
protected:
    ~ContentSearchControllerTest() override { m_controller.reset(); }

    // With a pause that no test outlasts: rounds follow because batches are taken.
    ContentSearchController& controller() {
        if (m_controller == nullptr) make(hours(1), m_clock);
        return *m_controller;
    }
    void make(milliseconds longestPause, const Clock& clock) {
        m_controller.reset();
        m_controller = std::make_unique<ContentSearchController>(
            ContentSearchController::Surroundings{.indexes = store(),
                                                  .settings = *m_settings,
                                                  .mainLoop = m_loop,
                                                  .centre = m_centre,
                                                  .notifier = m_notifier,
                                                  .clock = clock,
                                                  .observer = m_window,
                                                  .resourceFolder = "",
                                                  .longestPause = longestPause});
    }

    void pages(const std::string& source, int count) {
        for (int i = 0; i < count; ++i) {
            const std::string title = source + std::to_string(i);
            add("http://host/" + title, "apple " + title, source, i * 86400.0, title);
        }
    }
    std::vector<std::string> search(const std::string& text) {
        controller().performSearch(text);
        finish();
        return m_window.titles;
    }
    void finish() {
        while (m_window.ends == 0) {
            m_loop.drain();
            std::this_thread::yield();
        }
    }
    bool othersMustWait() {
        bool answer = false;
        std::thread([&] { answer = store().cancelForPriorityThread(); }).join();
        return answer;
    }
    // In virtual time.
    void pass(int seconds) {
        const Date end = m_clock.now() + seconds;
        while (m_clock.now() < end) m_loop.turn(std::chrono::seconds(seconds));
    }
    void searchItems(const std::vector<std::pair<std::string, bool>>& list) {
        std::vector<SearchItem> items;
        for (const auto& [name, isSearched] : list) {
            items.emplace_back().Name = name;
            items.back().Search = isSearched;
        }
        m_settings->set("SearchItems", listOf(items));
        m_centre.post("SiftwellPreferenceChangeNotification", {});
    }

    Window m_window;
    std::unique_ptr<ContentSearchController> m_controller;
};

TEST_F(ContentSearchControllerTest, RowsComeInRoundsAsSoonAsTheLastOnesAreTaken) {
    pages("A", 25);
    pages("B", 3);
    EXPECT_THAT(search("apple"), SizeIs(28));
    ASSERT_GE(m_window.batches.size(), 3U);
    EXPECT_LE(m_window.batches[0], 13U) << "ten of each index";
    EXPECT_EQ(controller().foundItemCount(), 28U);
    EXPECT_GE(m_window.highest, m_window.last.score);
    EXPECT_EQ(m_window.last.source, "A");
    EXPECT_EQ(m_window.status, "");
    EXPECT_THAT(controller().recentSearches(), ElementsAre("apple"));
    const auto snippet = controller().snippetFor(m_window.last, 80);
    ASSERT_TRUE(snippet);
    EXPECT_EQ(snippet->text, "apple " + m_window.last.title);
    EXPECT_THAT(snippet->matches, ElementsAre(Snippet::Range{0, 5}));

    pass(9);
    EXPECT_TRUE(othersMustWait());
    pass(2);
    EXPECT_FALSE(othersMustWait());
}

TEST_F(ContentSearchControllerTest, BatchesOfASearchThatWasReplacedChangeNothing) {
    pages("A", 15);
    pages("B", 1);
    make(milliseconds(0), m_clock);
    controller().performSearch("apple");
    while (controller().waitingForResults()) std::this_thread::yield();  // though nothing is taken
    controller().performSearch("B0");
    EXPECT_EQ(controller().foundItemCount(), 0U);
    finish();
    EXPECT_THAT(m_window.titles, ElementsAre("B0"));
    EXPECT_EQ(m_window.ends, 1);
    EXPECT_EQ(controller().foundItemCount(), 1U);
    EXPECT_THAT(controller().recentSearches(), ElementsAre("B0"));
}

TEST_F(ContentSearchControllerTest, HoweverASearchEndsTheOthersGoOn) {
    pages("A", 25);
    controller().performSearch("apple");  // its worker waits for the first batch to be taken
    store().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
    finish();
    EXPECT_THAT(m_window.titles, IsEmpty()) << "neither rows nor a word of them";
    EXPECT_EQ(m_window.status, "");
    EXPECT_FALSE(othersMustWait());

    controller().performSearch("apple");
    controller().cancelSearch();
    EXPECT_FALSE(controller().waitingForResults());
    EXPECT_EQ(m_window.ends, 1);
    pass(11);
    EXPECT_FALSE(othersMustWait());
    EXPECT_THAT(m_window.titles, IsEmpty());

    controller().performSearch("apple");
    EXPECT_TRUE(othersMustWait());
    m_controller.reset();
    EXPECT_FALSE(othersMustWait());
    m_loop.drain();
    EXPECT_THAT(m_window.titles, IsEmpty());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ContentSearchControllerTest, NothingTypedNothingFoundAndNowhereToLook) {
    pages("A", 1);
    EXPECT_THAT(search("durian"), ElementsAre("-- Nothing found --"));
    EXPECT_THAT(controller().recentSearches(), IsEmpty());

    controller().performSearch("");
    EXPECT_THAT(m_window.titles, ElementsAre("-- Please enter a search phrase --"));
    EXPECT_EQ(m_window.preview,
              "<html> <head> <title>blank</title> </head> <body> </body> </html>");
    EXPECT_TRUE(othersMustWait());
    pass(11);
    EXPECT_FALSE(othersMustWait());

    searchItems({{"A", false}});
    controller().performSearch("apple");
    EXPECT_THAT(errors(), ElementsAre("8 I don't know where to look!  Please use the Search menu "
                                      "to select at least one place to search."));
    EXPECT_FALSE(othersMustWait());
}

TEST_F(ContentSearchControllerTest, WorkerThatFailsSaysSoAndEndsItsSearch) {
    pages("A", 1);
    const SKIndex index = store().skIndexForSource("A", "http", false);
    ASSERT_TRUE(index->index->add(key("http://host/unknown"), "banana", "banana"));
    const FaultyClock clock;
    make(hours(1), clock);
    EXPECT_THAT(search("banana"), IsEmpty());
    EXPECT_THAT(errors(), ElementsAre("8 Your search failed due to an unexpected error."));
    EXPECT_EQ(m_details, "no time");
    EXPECT_THAT(search("A0"), ElementsAre("A0"));
    pass(11);
    EXPECT_FALSE(othersMustWait());
}

TEST_F(ContentSearchControllerTest, DateLimitsAreThoseOfTheSettings) {
    const auto day = [](int number) { return Date::fromReference(number * 86400.0); };
    pages("A", 9);
    m_clock.setNow(day(8));
    for (const auto& [key, value] : PropertyList::Dictionary{{"constraintTime", 2},
                                                             {"constraintTimeUnits", 1440},
                                                             {"constraintDate1", day(4)},
                                                             {"constraintDate2", day(3)}}) {
        m_settings->set(key, value);
    }
    m_settings->set("constrainDate", 1);
    EXPECT_THAT(search("apple"), UnorderedElementsAre("A6", "A7", "A8"));
    m_settings->set("constrainDate", 2);
    EXPECT_THAT(search("apple"), UnorderedElementsAre("A3", "A4"));
    EXPECT_EQ(controller().foundItemCount(), 2U);
    m_settings->set("constrainDate", 3);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(dateLimits(*m_settings, day(8)), "filterByDate == 2");
}

TEST_F(ContentSearchControllerTest, SourcesFollowTheSearchItems) {
    pages("A", 1);
    pages("B", 1);
    add("gopher://host/A", "apple", "A");
    searchItems({{"A", true}, {"B", true}});
    EXPECT_THAT(search("apple"), SizeIs(3));
    searchItems({{"B", false}, {"A", false}, {"A", true}});
    EXPECT_THAT(controller().searchSourceSettings(),
                ElementsAre(SearchSource{"B", false}, SearchSource{"A", true}));
    EXPECT_THAT(search("apple"), ElementsAre("A0"));
    controller().setSearchSourceSetting("B", true);
    EXPECT_EQ(controller().searchSources(), std::nullopt);
    EXPECT_THAT(search("apple"), SizeIs(3));
}

TEST_F(ContentSearchControllerTest, RecentSearchesAndOtherProgramsSearchToo) {
    pages("A", 1);
    controller().setSearchType(SearchType::AllFragments);
    EXPECT_EQ(controller().searchService(std::nullopt).message(),
              "Error: Nothing to search for.  Please select some text and try again.");
    EXPECT_TRUE(controller().searchService("app").isOk());
    finish();
    EXPECT_THAT(m_window.titles, ElementsAre("A0"));
    for (int i = 0; i < 25; ++i) controller().addRecentSearch(std::to_string(i % 21));
    const auto recent = controller().recentSearches();
    EXPECT_THAT(recent, SizeIs(20));
    EXPECT_EQ(recent[0] + " " + recent[3] + " " + recent[4] + " " + recent[19], "3 0 20 5");
    controller().performRecentSearch("0");
    EXPECT_EQ(controller().searchQuery(), "0");
    finish();
    EXPECT_EQ(controller().recentSearches().front(), "0");
    controller().clearRecentSearches();
    EXPECT_THAT(controller().recentSearches(), IsEmpty());
}

TEST_F(ContentSearchControllerTest, PagesMayComeGoAndBeCompactedDuringSearches) {
    pages("A", 40);
    make(milliseconds(0), m_clock);
    const SKIndex index = store().skIndexForSource("A", "http", false);
    std::jthread others([&index](const std::stop_token& stop) {
        for (unsigned i = 0; !stop.stop_requested(); ++i) {
            EXPECT_TRUE(index->index->add({"http", "//new/" + std::to_string(i)}, "apple", "a"));
            static_cast<void>(index->index->remove(i / 2 + 1));
            if (i % 4 == 0) EXPECT_TRUE(index->flush().isOk());
            if (i % 8 == 0) EXPECT_TRUE(index->index->compact().isOk());
        }
    });
    for (int round = 0; round < 20; ++round) {
        controller().performSearch(round % 3 == 0 ? "apple" : "A1*");
        if (round % 4 == 0) finish();
        m_loop.drain();
        if (!m_window.batches.empty()) {
            EXPECT_NE(m_window.last.url, "");
            static_cast<void>(controller().snippetFor(m_window.last, 80));
        }
        if (round % 5 == 0) store().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
    }
    finish();
    m_controller.reset();
    store().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
    others = {};
    EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace siftwell
