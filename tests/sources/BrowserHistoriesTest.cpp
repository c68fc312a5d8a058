// Which visits the histories of browsers hand over, and what of them.

#include "BrowserDatabaseFixture.h"
#include "sources/browsers/ChromeHistory.h"
#include "sources/browsers/FalkonHistory.h"
#include "sources/browsers/FirefoxHistory.h"
#include "sources/browsers/GnomeWebHistory.h"
#include "sources/browsers/QutebrowserHistory.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPlaces =
    "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR,"
    "  hidden INTEGER DEFAULT 0 NOT NULL);"
    "CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, place_id INTEGER, visit_date INTEGER,"
    "  visit_type INTEGER);"
    "CREATE INDEX byPlace ON moz_historyvisits (place_id, visit_date);";

class BrowserHistoriesTest : public BrowserDatabaseFixture {};

TEST_F(BrowserHistoriesTest, FirefoxPagesComeWithTheirLatestVisitThatCounts) {
    make(std::string(kPlaces) +
         "INSERT INTO moz_places VALUES (1, 'http://twice/', 'Twice', 0), (2, 'http://hop/', NULL, "
         "1),"
         " (3, 'http://target/', NULL, 0), (4, 'http://frame/', 'F', 0), (5, 'http://file/', "
         "'f.zip', 0),"
         " (6, 'http://bookmark/', 'B', 0), (7, 'http://reloaded/', 'R', 0);"
         "INSERT INTO moz_historyvisits (place_id, visit_date, visit_type) VALUES"
         " (1, 1795225091523793, 1), (1, 1795225122605588, 2), (1, 1795225199000000, 8),"
         " (2, 1795225122605588, 1), (3, 1795225122605589, 5), (3, 1795225122605580, 6),"
         " (4, 1795225122605588, 4), (4, 1795225122605588, 8), (5, 1795225122605588, 7),"
         " (7, 1795225122000000, 9), (99, 1795225122605588, 1);");
    EXPECT_THAT(read(readFirefoxVisits), ElementsAre("http://reloaded/|1795225122.000000|R",
                                                     "http://target/|1795225122.605589|",
                                                     "http://twice/|1795225122.605588|Twice"));
}

TEST_F(BrowserHistoriesTest, TheLatestDateIsTheThresholdOfTheNextScan) {
    make(std::string(kPlaces) +
         "INSERT INTO moz_places VALUES (1, 'http://a/', 'A', 0);"
         "INSERT INTO moz_historyvisits VALUES (1, 1, 1795225091523793, 1);");
    auto database = open();
    std::optional<Date> last;
    const auto keepDate = [&last](const BrowserEntry& entry) {
        last = entry.date;
        return true;
    };
    ASSERT_TRUE(readFirefoxVisits(*database, Date::distantPast(), keepDate).isOk());
    EXPECT_THAT(read(readFirefoxVisits, *last), IsEmpty());
    EXPECT_THAT(read(readFirefoxVisits, *last - 0.000001), testing::SizeIs(1));
    EXPECT_THAT(read(readFirefoxVisits, Date::distantFuture()), IsEmpty());
    for (int i = 0; i < 5000; ++i) {
        const std::int64_t units = 1'795'225'091'523'793 + 999'983LL * i;
        EXPECT_EQ(kFirefoxDates.units(*kFirefoxDates.date(units)), units);
    }
}

TEST_F(BrowserHistoriesTest, ValuesOfWrongTypesAndImpossibleOnesArePassedOver) {
    make(std::string(kPlaces) +
         "INSERT INTO moz_places VALUES (1, x'687474703a', 'blob', 0), (2, NULL, 'null', 0),"
         " (3, 'http://title/', x'00', 0), (4, 'http://text/', 't', 0), (5, '', 'empty', 0),"
         " (6, 'http://' || printf('%.*c', 8186, 'x'), 'long', 0), (7, 'http://huge/', 'h', 0),"
         " (8, 'http://early/', 'e', 0), (9, 'http://cut/', printf('%.*c', 5000, 'x'), 0);"
         "INSERT INTO moz_historyvisits (place_id, visit_date, visit_type) VALUES (1, 1000000, 1),"
         " (2, 1000000, 1), (3, 1000000, NULL), (3, 'tomorrow', 1), (4, 'now', 1), (4, 1.5e6, 'x'),"
         " (4, x'01', 1), (4, NULL, 1), (5, 1000000, 1), (6, 1000000, 1),"
         " (7, 9223372036854775807, 1), (8, -9223372036854775808, 1), (8, 0, 1), (9, 2000000, 1);");
    EXPECT_THAT(read(readFirefoxVisits),
                ElementsAre("http://cut/|2.000000|" + std::string(4096, 'x'),
                            "http://text/|1.500000|t", "http://title/|1.000000|"));
}

TEST_F(BrowserHistoriesTest, OlderSchemasLackColumns) {
    make(
        "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url, title);"
        "CREATE TABLE moz_historyvisits (place_id, visit_date);"
        "INSERT INTO moz_places VALUES (1, 'http://a/', 'A');"
        "INSERT INTO moz_historyvisits VALUES (1, 1000000);"
        "CREATE TABLE urls (id INTEGER PRIMARY KEY, url, title);"
        "CREATE TABLE visits (url, visit_time);"
        "INSERT INTO urls VALUES (1, 'http://c/', 'C');"
        "INSERT INTO visits VALUES (1, 11644473601000000);");
    EXPECT_THAT(read(readFirefoxVisits), ElementsAre("http://a/|1.000000|A"));
    EXPECT_THAT(read(readChromeVisits), ElementsAre("http://c/|1.000000|C"));
}

TEST_F(BrowserHistoriesTest, ChromePagesCountWhereAChainOfRedirectsEnds) {
    make(
        "CREATE TABLE urls (id INTEGER PRIMARY KEY, url, title, hidden INTEGER);"
        "CREATE TABLE visits (id INTEGER PRIMARY KEY, url INTEGER, visit_time INTEGER,"
        "  transition INTEGER);"
        "INSERT INTO urls VALUES (1, 'http://end/', 'End', 0), (2, 'http://hop/', 'End', 0),"
        " (3, 'http://gone/', 'Gone', 1), (4, 'http://frame/', '', 0), (5, 'http://key/', '', 0),"
        " (6, 'http://plain/', '', 0);"
        "INSERT INTO visits (url, visit_time, transition) VALUES"
        // As signed 32-bit numbers: the target and the hop of a redirect by the server.
        " (1, 13439698874750772, -1610612735), (1, 13439698800000000, 0x30000001),"
        " (2, 13439698874750772, -2013265919), (2, 13439698874750772, 0x18000001),"
        " (3, 13439698874750772, 0x30000000), (4, 13439698874750772, 0x30000003),"
        " (4, 13439698874750772, 0x30000004), (5, 13439698874750772, 0x3000000a),"
        " (6, 13439698874750773, 0x30000005), (6, 13439698999000000, 0x10000005);");
    EXPECT_THAT(read(readChromeVisits), ElementsAre("http://end/|1795225274.750772|End",
                                                    "http://plain/|1795225274.750773|"));
}

TEST_F(BrowserHistoriesTest, GnomeWebWentOverFromSecondsToMicroseconds) {
    const std::string visits =
        "CREATE TABLE visits (id INTEGER PRIMARY KEY, url INTEGER, visit_time INTEGER,"
        "  visit_type INTEGER);";
    make("CREATE TABLE urls (id INTEGER PRIMARY KEY, host INTEGER, url, title);" + visits +
         "INSERT INTO urls VALUES (1, 1, 'http://a/', 'A');"
         "INSERT INTO visits (url, visit_time, visit_type) VALUES (1, 1300000000, 0),"
         " (1, 1300000009, 3);");
    EXPECT_THAT(read(readGnomeWebVisits), ElementsAre("http://a/|1300000009.000000|A"));
    EXPECT_THAT(read(readGnomeWebVisits, Date::fromUnix(1300000008.9)), testing::SizeIs(1));
    EXPECT_THAT(read(readGnomeWebVisits, Date::fromUnix(1300000009)), IsEmpty());
    make("CREATE TABLE urls (id INTEGER PRIMARY KEY, url, title, sync_id, hidden_from_overview);" +
         visits +
         "INSERT INTO urls VALUES (1, 'http://a/', NULL, '', 1);"
         "INSERT INTO visits (url, visit_time, visit_type) VALUES (1, 1795225091523793, 1);");
    EXPECT_THAT(read(readGnomeWebVisits), ElementsAre("http://a/|1795225091.523793|"));
}

TEST_F(BrowserHistoriesTest, FalkonCountsMilliseconds) {
    make(
        "CREATE TABLE history (id INTEGER PRIMARY KEY, url TEXT NOT NULL, title TEXT,"
        "  date INTEGER NOT NULL, count INTEGER);"
        "INSERT INTO history VALUES (1, 'http://f/', 'F', 1795225091523, 3);");
    EXPECT_THAT(read(readFalkonVisits), ElementsAre("http://f/|1795225091.523000|F"));
    EXPECT_THAT(read(readFalkonVisits, Date::fromUnix(1795225091.523)), IsEmpty());
}

TEST_F(BrowserHistoriesTest, QutebrowserLeavesOutWhatLedElsewhere) {
    make(
        "CREATE TABLE History (url NOT NULL, title NOT NULL, atime NOT NULL, redirect NOT NULL);"
        "CREATE TABLE CompletionHistory (url, title, last_atime);"
        "INSERT INTO History VALUES ('http://a/', 'Old', 1795225000, 0),"
        " ('http://a/', 'New', 1795225091.75, 0), ('http://a/', 'Hop', 1795225099, 1),"
        " ('http://b/', 'B', 1795225001, 1), ('http://c/', '', '1795225001', 0);");
    EXPECT_THAT(read(readQutebrowserVisits), ElementsAre("http://a/|1795225091.000000|New"));
}

TEST_F(BrowserHistoriesTest, AReaderEndsWhenNoMoreIsWanted) {
    make(std::string(kPlaces) +
         "INSERT INTO moz_places VALUES (1, 'http://a/', 'A', 0), (2, 'http://b/', 'B', 0);"
         "INSERT INTO moz_historyvisits VALUES (1, 1, 1000000, 1), (2, 2, 1000000, 1);");
    auto database = open();
    int taken = 0;
    const auto takeOne = [&taken](const BrowserEntry&) { return ++taken < 1; };
    EXPECT_TRUE(readFirefoxVisits(*database, Date::distantPast(), takeOne).isOk());
    EXPECT_EQ(taken, 1);
}

}  // namespace
}  // namespace siftwell
