#include "search/ResultRows.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

Date day(int number) { return Date::fromReference(number * 86400.0); }

class ResultRowsTest : public IndexFixture {
protected:
    using Sources = std::optional<std::vector<std::string>>;

    CollectedResults search(const std::string& query, const ResultLimits& limits = {},
                            const Sources& sources = std::nullopt) {
        const RunningSearches searches = store().startSearch(sources, query);
        CollectedResults results = collectResults(
            searches, limits, ResultRowMaker(store(), m_clock, "/opt/siftwell/Contents/Resources"));
        store().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
        EXPECT_THAT(results.errors, IsEmpty());
        return results;
    }

    std::vector<std::string> titles(const std::string& query, const ResultLimits& limits = {},
                                    const Sources& sources = std::nullopt) {
        std::vector<std::string> titles;
        for (const ResultRow& row : search(query, limits, sources).rows)
            titles.push_back(row.title);
        return titles;
    }

    void page(const std::string& title, const std::string& text, int onDay,
              const std::string& source = "Pages", const std::string& scheme = "http") {
        add(scheme + ":///" + title, text, source, onDay * 86400.0, title);
    }
};

TEST_F(ResultRowsTest, ARowTellsWhatTheRecordKnows) {
    add("http://host/a/b.html", "apple", "Pages", 86400.5, "A title");
    const auto rows = search("apple").rows;
    ASSERT_THAT(rows, SizeIs(1));
    EXPECT_EQ(rows[0].url, "http://host/a/b.html");
    EXPECT_EQ(rows[0].title, "A title");
    EXPECT_EQ(rows[0].source, "Pages");
    EXPECT_EQ(rows[0].indexer, "Tester");
    EXPECT_EQ(rows[0].cachePath, "");
    EXPECT_EQ(rows[0].moment, Date::fromReference(86400.5));
    EXPECT_EQ(rows[0].date, rows[0].moment->formattedLocally("%Y/%m/%d %H:%M"));
    EXPECT_GT(rows[0].score, 0);
}

TEST_F(ResultRowsTest, BestComeFirstFromAllIndexesUpToTheLimit) {
    page("some", "apple banana cherry", 3, "A");
    page("most", "apple apple apple", 1, "A");
    page("none", "banana banana", 1, "A");
    page("other", "apple banana", 2, "B");
    page("nothing", "cherry", 2, "B");
    const auto all = search("apple").rows;
    ASSERT_THAT(all, SizeIs(3));
    EXPECT_TRUE(all[0].score >= all[1].score && all[1].score >= all[2].score);
    for (std::size_t count = 1; count <= 4; ++count) {
        const auto first = titles("apple", {.count = count});
        ASSERT_EQ(first.size(), std::min<std::size_t>(count, 3));
        for (std::size_t i = 0; i < first.size(); ++i) EXPECT_EQ(first[i], all[i].title);
    }
    EXPECT_THAT(titles(""), IsEmpty());
    EXPECT_THAT(titles("durian", {.count = 5, .isSortedByDate = true}), IsEmpty());
}

TEST_F(ResultRowsTest, DateLimitsHoldOnBothDaysAndDoNotEatUpTheCount) {
    for (int i = 1; i <= 50; ++i) page("p" + std::to_string(i), "apple", i);
    EXPECT_THAT(titles("apple", {.since = day(48)}), UnorderedElementsAre("p48", "p49", "p50"));
    EXPECT_THAT(titles("apple", {.until = day(2)}), UnorderedElementsAre("p1", "p2"));
    EXPECT_THAT(titles("apple", {.since = day(7), .until = day(7)}), ElementsAre("p7"));
    EXPECT_THAT(titles("apple", {.since = day(8), .until = day(7)}), IsEmpty());
    EXPECT_THAT(titles("apple", {.since = day(50), .count = 1}), ElementsAre("p50"));
    EXPECT_THAT(titles("apple", {.until = day(40), .count = 5}), SizeIs(5));
}

TEST_F(ResultRowsTest, NewestComeFirstWhenAskedForWhateverTheirScores) {
    page("best", "apple apple apple", 1);
    page("newest", "apple and many other words that are not asked for", 9);
    page("middle", "apple", 5, "B");
    EXPECT_THAT(titles("apple", {.isSortedByDate = true}), ElementsAre("newest", "middle", "best"));
    EXPECT_THAT(titles("apple", {.count = 1, .isSortedByDate = true}), ElementsAre("newest"));
    EXPECT_THAT(titles("apple", {.until = day(8), .count = 1, .isSortedByDate = true}),
                ElementsAre("middle"));
}

TEST_F(ResultRowsTest, NamedSourcesAreSearchedInFourSchemesAllOfThemWithoutNames) {
    for (const char* scheme : {"http", "https", "file", "feed", "gopher"}) {
        page(scheme, "apple", 1, "A", scheme);
    }
    page("b", "apple", 1, "B");
    EXPECT_THAT(titles("apple"), SizeIs(6));
    EXPECT_THAT(titles("apple", {}, Sources({"A"})),
                UnorderedElementsAre("http", "https", "file", "feed"));
    EXPECT_THAT(titles("apple", {}, Sources({"B", "nobody"})), ElementsAre("b"));
    EXPECT_THAT(titles("apple", {}, Sources(std::in_place)), IsEmpty());
    EXPECT_FALSE(hasIndexFile("nobody.http"));
}

TEST_F(ResultRowsTest, ADocumentWithoutARecordIsShownByItsAddress) {
    page("known", "apple", 5);
    const SKIndex index = store().skIndexForSource("Pages", "http", false);
    ASSERT_TRUE(index->index->add(key("http://host/folder/unknown%FF.html"), "apple", "apple"));
    const auto rows = search("apple", {.isSortedByDate = true}).rows;
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_EQ(rows[1].url, "http://host/folder/unknown%FF.html");
    EXPECT_EQ(rows[1].title, "unknown\xEF\xBF\xBD.html");
    EXPECT_EQ(rows[1].moment, std::nullopt);
    EXPECT_EQ(rows[1].date, m_clock.now().formattedLocally("%Y/%m/%d %H:%M"));
    EXPECT_EQ(rows[1].source + rows[1].indexer + rows[1].cachePath, "");
}

TEST_F(ResultRowsTest, HelpPagesAreShownFromTheProgramThatRuns) {
    const auto urlOfHelp = [this](const std::string& address, const std::string& source) {
        add(address, "apple", source, 86400, "Help");
        const auto rows = search("apple").rows;
        const std::string shown = rows.empty() ? "" : rows[0].url;
        store().removeURLFromIndex({url(address)});
        return shown;
    };
    constexpr const char* kThere =
        "file:///old%20place/Contents/x/Contents/Resources/Help/a%20b.html";
    EXPECT_EQ(urlOfHelp(kThere, "Siftwell Help"),
              "file:///opt/siftwell/Contents/Resources/Help/a%20b.html");
    EXPECT_EQ(urlOfHelp(kThere, "Pages"), kThere);
    EXPECT_EQ(urlOfHelp("file:///elsewhere/a.html", "Siftwell Help"), "file:///elsewhere/a.html");
}

}  // namespace
}  // namespace siftwell
