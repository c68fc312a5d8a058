// The road of a page from a folder to a search result, over pages that other people wrote.
//
// $SIFTWELL_SAMPLES names a folder with `pages/` and `expected.json`, whose `queries` say which
// pages words must find and which they must not; script/test --samples sets it. Addresses there are
// those of the site that serves the pages; here each stands for its file.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "app/Session.h"
#include "app/WritingCopy.h"
#include "base/RunLoop.h"
#include "base/Url.h"
#include "samples/Samples.h"
#include "search/ResultRows.h"
#include "search/SearchQuery.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

namespace {

using nlohmann::json;

class SamplePagesTest : public testing::Test {
protected:
    void SetUp() override {
        SW_SAMPLES_OR_SKIP(m_samples);
        m_paths = {.settingsFile = m_home.file("settings.plist"),
                   .oldIndexFolder = m_home.file("old"),
                   .applicationData = m_home.file("data"),
                   .stateFolder = m_home.file("state"),
                   .resourceFolder = std::string(SIFTWELL_SOURCE_DIR) + "/data/Contents/Resources",
                   .indexerTool = Paths::ofThisUser().indexerTool};
    }

    void addAllPages() {
        NotificationCentre centre(*m_loop);
        const auto copy = WritingCopy::reach(m_paths, *m_loop, centre).value();
        copy->waitUntilIndexingIsEnabled();
        Driver& driver = copy->driver();
        ASSERT_TRUE(driver.setSearchItemValue("Siftwell Help", "Index", false).isOk());
        ASSERT_TRUE(driver
                        .addToIndex({.url = Url::fromFilePath(m_samples->file("pages")),
                                     .isScanStarted = false})
                        .isOk());
        ASSERT_TRUE(driver.startScan(Driver::ScanScope::LocalSources).isOk());
        ASSERT_TRUE(m_loop->turnUntil([&] { return driver.scanState()->ended > 0; },
                                      std::chrono::minutes(5)));
        ASSERT_TRUE(copy->close().status.isOk());
    }

    std::unique_ptr<Session> open(Session::Purpose purpose) {
        auto session = Session::open(m_paths, purpose, *m_loop);
        EXPECT_TRUE(session.isOk()) << session.status().message();
        return *std::move(session);
    }

    // The address of the file behind an address of the site; none for an answer that is no file.
    std::optional<std::string> fileAddress(const std::string& base, const std::string& url) const {
        const std::string path = m_samples->file("pages") + url.substr(base.size());
        if (!std::filesystem::is_regular_file(path)) return std::nullopt;
        return Url::fromFilePath(path).absoluteString();
    }

    std::set<std::string> found(Session& session, const std::string& words, SearchType type) {
        IndexController& indexes = session.indexes();
        const RunningSearches searches =
            indexes.startSearch(std::nullopt, skSearchQuery(words, type, indexes.stopWords()));
        const CollectedResults results = collectResults(
            searches, {}, ResultRowMaker(indexes, session.clock(), m_paths.resourceFolder));
        indexes.finishSearchAfterIdlePeriod(std::chrono::seconds(0));
        EXPECT_TRUE(results.errors.empty());
        std::set<std::string> urls;
        for (const ResultRow& row : results.rows) urls.insert(row.url);
        return urls;
    }

    const TemporaryFolder m_home;
    const std::unique_ptr<RunLoop> m_loop = makeHeadlessRunLoop();
    std::optional<Samples> m_samples;
    Paths m_paths;
};

TEST_F(SamplePagesTest, WordsFindTheirPagesAndNoOthers) {
    addAllPages();
    const json expected = m_samples->json("expected.json");
    const std::string base = expected["base"];
    const auto session = open(Session::Purpose::Reading);
    int expectations = 0;
    // What a server would refuse is a file like others here, so that only what the pages say
    // counts.
    for (const json& query : expected["queries"]) {
        if (query["find"].empty() || query.value("note", "").find("header") != std::string::npos) {
            continue;
        }
        const std::string words = query["words"];
        const auto urls = found(*session, words, static_cast<SearchType>(query["type"].get<int>()));
        for (const std::string url : query["find"]) {
            if (const auto address = fileAddress(base, url)) {
                EXPECT_TRUE(urls.contains(*address)) << words << " did not find " << *address;
                ++expectations;
            }
        }
        for (const std::string url : query["not"]) {
            if (const auto address = fileAddress(base, url)) {
                EXPECT_FALSE(urls.contains(*address)) << words << " found " << *address;
                ++expectations;
            }
        }
    }
    EXPECT_GT(expectations, 0);
}

}  // namespace

}  // namespace siftwell
