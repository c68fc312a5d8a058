#include "IndexerFixture.h"
#include "sources/TypedArchiveWriter.h"
#include "support/SafariFiles.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SafariCacheTest : public IndexerFixture {
protected:
    SafariCacheTest() { m_item.Path = files(); }

    std::string at(const std::string& name) { return m_folder.file("files/" + name); }
    TestDatabase database(const std::string& name) {
        return makeDatabase(
            at(name),
            {"CREATE TABLE cfurl_cache_response (entry_ID INTEGER PRIMARY KEY, time_stamp)",
             "CREATE TABLE cfurl_cache_blob_data (entry_ID INTEGER PRIMARY KEY, response_object)",
             "CREATE TABLE cfurl_cache_receiver_data (entry_ID INTEGER PRIMARY KEY, isDataOnFS, "
             "receiver_data)"});
    }
    // The oldest layout kept bodies beside the responses.
    TestDatabase oldDatabase(const std::string& name) {
        return makeDatabase(
            at(name),
            {"CREATE TABLE cfurl_cache_response (entry_ID INTEGER PRIMARY KEY, time_stamp)",
             "CREATE TABLE cfurl_cache_blob_data (entry_ID INTEGER PRIMARY KEY, response_object, "
             "receiver_data)"});
    }
    // So many seconds after 2001.
    static void page(const TestDatabase& in, int seconds, const char* address, int isOnFS,
                     const PropertyList& body, const char* type = "text/html") {
        const std::string date = Date::fromReference(seconds).iso8601();
        run(in, "INSERT INTO cfurl_cache_response VALUES (?, ?)",
            {seconds, date.substr(0, 10) + " " + date.substr(11, 8)});
        run(in, "INSERT INTO cfurl_cache_blob_data VALUES (?, ?)",
            {seconds, *address == 0 ? PropertyList() : blob(responseObject(address, type))});
        run(in, "INSERT INTO cfurl_cache_receiver_data VALUES (?, ?, ?)", {seconds, isOnFS, body});
    }

    std::vector<std::string> scanned() {
        constexpr std::int64_t kBefore = 100;
        store().setPendingDocumentCount(kBefore);
        EXPECT_EQ(scan("SafariCache"), scanResult::kSuccess);
        EXPECT_EQ(store().pendingDocumentCount(), kBefore) << "each announced, and taken back";
        return begun();
    }
    std::string readBack(const std::string& objectPath) {
        bare("SafariCache");
        const auto data =
            makeIndexer("SafariCache", surroundings(), m_record)->dataFromCache(at(objectPath));
        return data ? *data->mimeType + "|" + data->textEncodingName.value_or("-") + "|" +
                          data->bytes
                    : "none";
    }
};

TEST_F(SafariCacheTest, BodiesLieInTheDatabaseOrBesideIt) {
    const TestDatabase browser = database("Cache.db");
    page(browser, 1, "http://h/in", 0, blob("<p>within"));
    page(browser, 2, "http://h/by-text", 1, "A-1");
    page(browser, 3, "http://h/by-blob", 1, blob("A-2"));
    page(browser, 4, "http://h/missing", 1, "A-3");
    page(browser, 5, "http://h/no-body", 0, {});
    page(browser, 6, "http://h/elsewhere", 1, "../secret");
    page(browser, 7, "http://h/picture", 0, blob("x"), "image/png");
    page(browser, 8, "", 0, blob("x"));
    page(browser, 9, "http://h/huge", 0, {});
    run(browser,
        "UPDATE cfurl_cache_receiver_data SET receiver_data = zeroblob(20000000) "
        "WHERE entry_ID = 9");
    page(browser, 10, "http://h/undated", 0, blob("<p>words"));
    run(browser, "UPDATE cfurl_cache_response SET time_stamp = '2000-99' WHERE entry_ID = 10");
    for (const char* body : {"fsCachedData/A-1", "fsCachedData/A-2", "secret"}) {
        file(body, "<p>beside", 500);
    }
    setChanged(at("Cache.db"), 700);
    EXPECT_THAT(scanned(), ElementsAre("http://h/in", "http://h/by-text", "http://h/by-blob",
                                       "http://h/undated"));
    EXPECT_EQ(filed("http://h/by-blob"), "3 Item SafariCache");
    EXPECT_EQ(recordOf("http://h/by-text")->cachePath, at("Cache.db&entry_ID=2"));
    EXPECT_EQ(seconds(m_item.LastScanDate), 700);
    EXPECT_THAT(scanned(), IsEmpty());

    page(browser, 699, "http://h/before", 0, blob("<p>words"));
    page(browser, 701, "http://h/after", 0, blob("<p>words"));
    setChanged(at("Cache.db"), 800);
    EXPECT_THAT(scanned(), ElementsAre("http://h/after"));
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(SafariCacheTest, FilesMoveTheDateForThoseThatFollow) {
    for (const char* name : {"1.db", "3.db", "4.db-cache", "Extensions/5.db", "SafeBrowsing.db"}) {
        page(database(name), 801, ("http://h/" + std::string(name)).c_str(), 0, blob("<p>words"));
        setChanged(at(name), 600);
    }
    setChanged(at("4.db-cache"), 800);
    TypedArchiveWriter archive;
    archive.begin({"NSURLRequest", "NSObject"}).types("i").integer(5).end();
    archive.begin({"NSCachedURLResponse", "NSObject"});
    archive.begin({"NSHTTPURLResponse", "NSURLResponse", "NSObject"}).url("http://h/2");
    archive.numberObject(388430153).numberObject(200).dictionary({{"Content-Type", "text/html"}});
    archive.numberObject(9).end().data("<p>archived words").end();
    file("2", archive.bytes(), 700);
    file("page", "<plist>");
    EXPECT_THAT(scanned(), ElementsAre("http://h/1.db", "http://h/2", "http://h/4.db-cache"));
    EXPECT_EQ(seconds(m_item.LastScanDate), 800);
    EXPECT_EQ(filed("http://h/2"), "700 Item SafariCache");
    EXPECT_EQ(readBack("2"), "text/html|-|<p>archived words");
    EXPECT_THAT(scanned(), IsEmpty());
}

TEST_F(SafariCacheTest, DatabasesOfOtherFormsHoldNothingAndDamagedOnesAreReported) {
    oldDatabase("1.db");
    file("2.db", "Berkeley");
    makeDatabase(at("3.db"));
    const TestDatabase stops = database("4.db");
    page(stops, 401, "http://h/1", 0, blob("<p>words"));
    page(stops, 402, "http://h/2", 0, blob("x"));
    run(stops, "UPDATE cfurl_cache_response SET time_stamp = x'5A' WHERE entry_ID = 402");
    for (int i = 1; i <= 4; ++i) setChanged(at(std::to_string(i) + ".db"), 100 * i);
    EXPECT_THAT(scanned(), ElementsAre("http://h/1"));
    EXPECT_THAT(takeReports(),
                ElementsAre(HasSubstr("SafariCache indexer stopped.  PLSqliteException : ")));
    EXPECT_EQ(seconds(m_item.LastScanDate), 300) << "the last is tried again";
}

TEST_F(SafariCacheTest, OnlyBodiesWithinTheDatabaseAreReadBack) {
    const TestDatabase old = oldDatabase("old.db");
    run(old, "INSERT INTO cfurl_cache_blob_data VALUES (1, ?, ?), (2, ?, null)",
        {blob(responseObject("http://h/1", "text/html; charset=x")), blob("<p>old"),
         blob(responseObject("http://h/2"))});
    page(database("new.db"), 1, "http://h/1", 0, blob("<p>new"));
    EXPECT_EQ(readBack("old.db&entry_ID=1"), "text/html|x|<p>old");
    for (const char* place : {"old.db&entry_ID=3", "old.db&entry_ID=1 OR 1", "no.db&entry_ID=1"}) {
        EXPECT_EQ(readBack(place), "none") << place;
    }
    EXPECT_FALSE(isLogged("failed to parse Safari cache data: Attempted"));
    EXPECT_EQ(readBack("old.db&entry_ID=2"), "none");
    EXPECT_TRUE(isLogged("failed to parse Safari cache data: Attempted to access null column"));
    EXPECT_EQ(readBack("new.db&entry_ID=1"), "none");
    EXPECT_TRUE(isLogged("failed to parse Safari cache data: An error occured parsing"));
}

}  // namespace
}  // namespace siftwell
