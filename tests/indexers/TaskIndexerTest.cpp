// Indexers whose readers are in another process: with one that does what the test says, and with
// the real one.

#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "IndexerFixture.h"
#include "base/Sanitizers.h"
#include "indexers/IndexerTool.h"
#include "sources/CacheBytes.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TaskIndexerTest : public IndexerFixture {
protected:
    TaskIndexerTest() {
        setenv("TMPDIR", m_folder.path().c_str(), 1);
        m_item.Path = m_folder.file("files/*");
    }
    ~TaskIndexerTest() override {
        unsetenv("TMPDIR");
        const std::filesystem::path copies(m_folder.file("siftwell-" + std::to_string(getuid())));
        EXPECT_TRUE(!std::filesystem::exists(copies) || std::filesystem::is_empty(copies));
    }

    void useFakeTool() { m_paths.indexerTool = SIFTWELL_FAKE_TOOL; }
    std::vector<std::string> scanned(const std::string& indexer) {
        EXPECT_EQ(scan(indexer), scanResult::kSuccess);
        return begun();
    }
    void serve(const std::vector<std::string>& addresses) {
        for (const std::string& address : addresses) m_site.text(address, html("", "word"));
    }

    static std::string stopped(const std::string& path, const std::string& reason) {
        return ": FirefoxHistory indexer stopped.  " + path + " : " + reason +
               " (This index scan will be retried next time.)";
    }
};

TEST_F(TaskIndexerTest, WhatTheToolFindsIsHandedOverAndItsDatesAreKept) {
    useFakeTool();
    serve({"http://h/1", "http://h/2"});
    file("a", "300 http://h/1 First page\n200 javascript:x Program\n250 not:an:address x\n");
    file("b", "400 http://h/2 Second\n");
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre("http://h/1", "http://h/2"));
    EXPECT_EQ(filed("http://h/1"), "300 Item FirefoxHistory");
    EXPECT_EQ(filed("http://h/2"), "400 Item FirefoxHistory");
    EXPECT_EQ(seconds(m_item.LastURLDate), 400);
    EXPECT_EQ(seconds(m_item.LastScanDate), 400);
    EXPECT_THAT(*m_item.ProcessName, testing::MatchesRegex("Item\\.-?[0-9]+\\.[0-9]+"));
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(TaskIndexerTest, AFileOnWhichTheToolDiesIsReportedAndTheOthersAreRead) {
    useFakeTool();
    serve({"http://h/1", "http://h/2", "http://h/3"});
    file("a", "300 http://h/1 x\n");
    const std::string dies = file("dies", "");
    const std::string ends = file("ends", "");
    const std::string garbage = file("garbage", "");
    file("m", "300 http://h/2 x\n");
    const std::string problem = file("problem", "");
    file("z", "300 http://h/3 x\n");
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre("http://h/1", "http://h/2", "http://h/3"));
    EXPECT_THAT(
        takeReports(),
        ElementsAre(stopped(dies, "signal 9"), stopped(ends, "exit status 7"),
                    stopped(garbage, "malformed message"), stopped(problem, "It is locked.")));
    EXPECT_EQ(m_item.LastScanDate, Date::distantPast()) << "those are tried again";
}

TEST_F(TaskIndexerTest, AToolThatCannotBeUsedIsReportedOnce) {
    file("a", "300 http://h/1 x\n");
    useFakeTool();
    EXPECT_EQ(scan("ShiiraBookmarks"), scanResult::kUnexpectedError);  // it ends at once for it
    EXPECT_THAT(takeReports(), ElementsAre(HasSubstr("SiftwellIndexer : exit status 3")));
    m_paths.indexerTool = m_folder.file("nowhere");
    EXPECT_EQ(scan("FirefoxHistory"), scanResult::kUnexpectedError);
    EXPECT_THAT(takeReports(), ElementsAre(HasSubstr("FirefoxHistory indexer stopped.")));
    m_item.Path = m_folder.file("nowhere");
    EXPECT_THAT(scanned("FirefoxHistory"), IsEmpty()) << "a missing browser is no error";
}

TEST_F(TaskIndexerTest, AToolThatIsWaitingEndsWhenIndexingIsSwitchedOff) {
    useFakeTool();
    serve({"http://h/1"});
    file("a", "300 http://h/1 x\n");
    file("waits", "");
    std::jthread user([this] {
        waitUntil([this] { return m_site.requests("http://h/1") > 0; });
        store().disableIndexing();
    });
    EXPECT_EQ(scan("FirefoxHistory"), scanResult::kFailure);
    user.join();
    store().enableIndexing();
    EXPECT_EQ(m_item.LastScanDate, Date::distantPast());
}

TEST_F(TaskIndexerTest, HistoriesWaitForTheCachesOfTheirScan) {
    useFakeTool();
    serve({"http://h/1"});
    file("a", "300 http://h/1 x\n");
    m_locks.cacheScans.announce();
    std::jthread history([this] { EXPECT_EQ(scan("FirefoxHistory"), scanResult::kSuccess); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(m_site.requests("http://h/1"), 0);
    m_locks.cacheScans.end();
    history.join();
    EXPECT_EQ(m_site.requests("http://h/1"), 1);
}

// ---- The real tool

class RealToolTest : public TaskIndexerTest {
protected:
    RealToolTest() {
        std::filesystem::create_directories(files());
        m_item.Path = m_folder.file("files/places.sqlite");
        m_browser = PLSqliteDatabase::databaseWithPath(m_item.Path);
        EXPECT_TRUE(m_browser->open());
        run("PRAGMA journal_mode=WAL");
        run("PRAGMA wal_autocheckpoint=0");
        run("CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url TEXT, title TEXT, "
            "hidden INTEGER DEFAULT 0, last_visit_date INTEGER)");
        run("CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, place_id INTEGER, "
            "visit_date INTEGER, visit_type INTEGER)");
        run("CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER, "
            "parent INTEGER, position INTEGER, title TEXT, dateAdded INTEGER, "
            "lastModified INTEGER, guid TEXT)");
    }

    void run(const std::string& statement) {
        const auto rows = m_browser->executeQuery(statement);
        ASSERT_NE(rows, nullptr) << m_browser->lastErrorMessage();
        while (rows->next()) {
        }
    }
    void visit(int id, const std::string& url, double date) {
        const auto units =
            std::to_string(std::llround(Date::fromReference(date).secondsSinceUnix() * 1'000'000));
        run("INSERT INTO moz_places (id, url, title) VALUES (" + std::to_string(id) + ", '" + url +
            "', 'Title')");
        run("INSERT INTO moz_historyvisits (place_id, visit_date, visit_type) VALUES (" +
            std::to_string(id) + ", " + units + ", 1)");
    }

    std::shared_ptr<PLSqliteDatabase> m_browser;  // is running, and keeps its file open
};

TEST_F(RealToolTest, VisitsAreReadWhileTheBrowserWritesAndOnlyOnce) {
    serve({"http://h/1", "http://h/2", "http://h/3"});
    visit(1, "http://h/1", 1000);
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre("http://h/1"));
    EXPECT_EQ(filed("http://h/1"), "1000 Item FirefoxHistory");
    EXPECT_THAT(scanned("FirefoxHistory"), IsEmpty());

    // The new ones stand beside the database alone, whose own date stands still.
    setChanged(m_item.Path, 100);
    run("BEGIN");
    visit(2, "http://h/2", 2000);
    run("COMMIT");
    run("BEGIN");
    visit(3, "http://h/3", 3000);
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre("http://h/2"))
        << "the other is not committed";
    run("COMMIT");
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre("http://h/3"));
    EXPECT_EQ(seconds(m_item.LastURLDate), 3000);
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(RealToolTest, ADatabaseThatCannotBeReadIsReportedAndReadNextTime) {
    serve({"http://h/1"});
    visit(1, "http://h/1", 1000);
    m_browser.reset();
    const std::string whole = m_folder.read("files/places.sqlite");
    m_folder.write("files/places.sqlite", "encrypted" + whole);
    EXPECT_THAT(scanned("FirefoxHistory"), IsEmpty());
    EXPECT_THAT(takeReports(),
                ElementsAre(AllOf(HasSubstr(m_item.Path), HasSubstr("retried next time"))));
    m_folder.write("files/places.sqlite", whole);
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre("http://h/1"));
}

TEST_F(TaskIndexerTest, PagesOfACacheAreIndexedWithoutBeingAskedForAndReadAgain) {
    const std::string name(40, 'A');
    const std::string folder = m_folder.file("files/cache2/entries");
    file("cache2/entries/" + name, cachebytes::FirefoxEntry().bytes(), 2000);
    file("cache2/entries/" + std::string(40, 'B'), "damaged", 3000);
    m_item.Path = files();
    EXPECT_THAT(scanned("FirefoxCache"), ElementsAre(cachebytes::kAddress));
    const auto record = recordOf(cachebytes::kAddress);
    ASSERT_TRUE(record);
    EXPECT_GE(seconds(record->date), 2000);
    EXPECT_EQ(m_site.requests(cachebytes::kAddress), 0);
    EXPECT_EQ(seconds(m_item.LastScanDate), 3000);
    EXPECT_THAT(scanned("FirefoxCache"), IsEmpty());
    EXPECT_THAT(takeReports(), IsEmpty());

    const auto indexer = makeIndexer("FirefoxCache", surroundings(), m_record);
    const auto data = indexer->dataFromCache(*record->cachePath);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->bytes, cachebytes::kBody);
    EXPECT_EQ(data->mimeType, "text/html");
    EXPECT_FALSE(indexer->dataFromCache(folder + "/" + std::string(40, 'C')));
    EXPECT_FALSE(indexer->dataFromCache("nowhere"));

    // The visit that it served is dated a moment later; the next one was another.
    useFakeTool();
    m_item = {.Name = "History", .Path = m_folder.file("visits")};
    const auto visit = [&](double later) {
        m_folder.write("visits", std::to_string(seconds(record->date) + later) + " " +
                                     cachebytes::kAddress + " Title\n");
    };
    visit(1);
    EXPECT_THAT(scanned("FirefoxHistory"), IsEmpty());
    m_site.text(cachebytes::kAddress, html("", "word"));
    visit(10);
    EXPECT_THAT(scanned("FirefoxHistory"), ElementsAre(cachebytes::kAddress));
}

TEST_F(RealToolTest, ItSaysHowItIsConfined) {
    const auto confinement = confinementOfTool(m_paths.indexerTool);
    ASSERT_TRUE(confinement);
#ifdef SIFTWELL_SANITIZED
    GTEST_SKIP() << "not in builds with a sanitizer";
#endif
    EXPECT_TRUE(confinement->hasSystemCallFilter);
    if (!confinement->hasFileRules) GTEST_SKIP() << "the kernel has no Landlock";
}

}  // namespace
}  // namespace siftwell
