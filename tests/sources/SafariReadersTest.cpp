#include <gmock/gmock.h>

#include <ctime>

#include "base/Exception.h"
#include "sources/safari/CacheResponse.h"
#include "sources/safari/SafariDatabase.h"
#include "sources/safari/SafariHistoryDatabase.h"
#include "sources/safari/WebHistory.h"
#include "support/SafariFiles.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Lines = std::vector<std::string>;

TakeEntry into(Lines& lines) {
    return [&lines](const BrowserEntry& entry) {
        const double date = entry.date ? entry.date->secondsSinceReference() : -1;
        lines.push_back(entry.url + " " + std::to_string(std::lround(date)));
        return true;
    };
}

Lines pagesIn(std::string_view bytes) {
    Lines lines;
    if (!readWebHistory(bytes, into(lines)).isOk()) lines.emplace_back("damaged");
    return lines;
}

TEST(WebHistoryTest, PropertyListsTellPagesWithTheirLastVisits) {
    const auto page = [](const char* address, const PropertyList& visited) {
        return PropertyList::Dictionary{{"", address}, {"lastVisitedDate", visited}};
    };
    const std::string list = serializePropertyList(PropertyList::Dictionary{
        {"WebHistoryDates",
         PropertyList::Array{page("http://h/1", "600000000.0"), page("http://h/2", 5),
                             page("http://h/3", "x"), PropertyList::Dictionary{{"", "http://h/4"}},
                             PropertyList::Dictionary{{"title", "x"}}, "http://h/5"}},
        {"URL", "http://h/6"}});
    EXPECT_THAT(pagesIn(list), ElementsAre("http://h/1 600000000", "http://h/2 5", "http://h/3 0",
                                           "http://h/4 0"));
    const auto xml = [](const std::string& keys) {
        return "<plist><dict><key>" + keys + "</dict></plist>";
    };
    EXPECT_THAT(pagesIn(xml("WebHistoryDates</key><array><dict><key></key><string>http://h/1"
                            "</string><key>lastVisitedDate</key><string>7.25</string></dict>"
                            "</array>")),
                ElementsAre("http://h/1 7"));
    EXPECT_THAT(pagesIn(xml("URL</key><string>http://h/2</string>")), ElementsAre("http://h/2 -1"));

    std::string deep = "<plist><dict><key>WebHistoryDates</key>";
    for (int i = 0; i < 10'000; ++i) deep += "<array>";
    std::string lying = list;
    lying.replace(lying.size() - 24, 8, "\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF");  // number of objects
    for (const std::string& bytes : {deep, lying, list.substr(0, 60)}) {
        EXPECT_THAT(pagesIn(bytes), ElementsAre("damaged"));
    }
}

TEST(SafariDatabaseTest, ThresholdsAreInUtcByTodaysDistanceToIt) {
    const auto threshold = [](const char* zone, Date date, Date now) {
        setenv("TZ", zone, 1);
        tzset();
        std::string text = thresholdText(date, now);
        unsetenv("TZ");
        tzset();
        return text;
    };
    const char* const kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
    const Date winter = Date::parseUtc("2026-01-15 12:00:00").value();
    const Date summer = Date::parseUtc("2026-07-15 12:00:00").value();
    EXPECT_EQ(threshold(kBerlin, summer, summer), "2026-07-15 12:00:00");
    EXPECT_EQ(threshold(kBerlin, summer, winter), "2026-07-15 13:00:00");
    EXPECT_EQ(threshold(kBerlin, winter, summer), "2026-01-15 11:00:00");
    // Four digits, or nothing would be later.
    EXPECT_EQ(threshold("UTC0", Date::distantPast(), winter), "0001-01-01 00:00:00");
    EXPECT_THAT(threshold("America/New_York", Date::distantPast(), winter),
                testing::StartsWith("000"));
}

TEST(SafariDatabaseTest, DatabasesAreReadInPlaceAndNothingIsLeftBesideThem) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a %25?#b/History.db");
    const auto visits = [&path] {
        Lines lines;
        try {
            const Date date = Date::fromReference(8100 * 86'400.0);
            readSafariVisits(*openInPlace(path), thresholdText(date, date), into(lines));
        } catch (const NamedException& exception) {
            lines.push_back(exception.name() + ": " + exception.reason());
        }
        return lines;
    };
    auto browser = makeHistory(path);
    visit(browser, "http://h/same", 8100 * 86'400.0);
    visit(browser, "http://h/later", 815'000'033.25);
    visit(browser, "http://h/redirected", 815'000'100, 3);
    const Lines later{"http://h/later 815000064"};
    EXPECT_EQ(visits(), later) << "only in the log so far";
    browser.reset();  // merges the log
    EXPECT_EQ(visits(), later);
    EXPECT_FALSE(folder.has("a %25?#b/History.db-shm") || folder.has("a %25?#b/History.db-wal"));

    makeDatabase(path, {"DROP TABLE history_visits",
                        "CREATE VIEW history_visits AS SELECT 1 history_item, 9e9 visit_time, "
                        "null redirect_destination"});
    EXPECT_THAT(visits(), ElementsAre(HasSubstr("PLSqliteException: An error occured")));
}

TEST(CacheResponseTest, ResponseObjectsAreReadByPosition) {
    const auto typeOf = [](const char* contentType) {
        const auto cached = cachedResponseWithResponse(responseObject("http://h", contentType), "");
        return cached->response.mimeType.value_or("-") + "|" +
               cached->response.textEncodingName.value_or("-");
    };
    EXPECT_EQ(typeOf("text/html; charset=UTF-8"), "text/html|UTF-8");
    EXPECT_EQ(typeOf("Text/HTML; boundary=x; CharSet= \"x\" "), "text/html| \"x\" ");
    EXPECT_EQ(typeOf("text/html"), "text/html|-");
    EXPECT_EQ(typeOf("text/plain;format=flowed"), "text/plain|format=flowed");

    const auto read = [](PropertyList::Array elements) {
        return cachedResponseWithResponse(
            serializePropertyList(PropertyList::Dictionary{{"Array", std::move(elements)}}), "x");
    };
    const auto plain = read({"http://h/2", 0, 0, 0, "text/plain", 7.0});
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->data, "x");
    EXPECT_EQ(plain->response.url.absoluteString(), "http://h/2");
    EXPECT_EQ(plain->response.mimeType, "text/plain");
    EXPECT_EQ(plain->response.expectedContentLength, 7);
    EXPECT_EQ(read({"http://h/2", 0, 0, 0, 0, "8"})->response.expectedContentLength, 0);
    EXPECT_FALSE(read({"http://h/2", 0, 0, 0, "text/plain"}));
    EXPECT_FALSE(read({7, 0, 0, 0, "text/plain", 5}));
    EXPECT_FALSE(read({"http://h/\n", 0, 0, 0, "text/plain", 5}));
}

}  // namespace
}  // namespace siftwell
