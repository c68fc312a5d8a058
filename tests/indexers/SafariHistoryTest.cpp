#include "IndexerFixture.h"
#include "support/SafariFiles.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SafariHistoryTest : public IndexerFixture {
protected:
    SafariHistoryTest() {
        m_settings->registerDefaults({{"NativeExtensions", PropertyList::Array{"plist"}}});
        setenv("TMPDIR", m_folder.path().c_str(), 1);
        m_item.Path = m_folder.file("files/History.*");
    }
    ~SafariHistoryTest() override {
        unsetenv("TMPDIR");
        const std::filesystem::path copies(m_folder.file("siftwell-" + std::to_string(getuid())));
        EXPECT_TRUE(!std::filesystem::exists(copies) || std::filesystem::is_empty(copies));
    }

    TestDatabase history(const std::string& name) {
        return makeHistory(m_folder.file("files/" + name));
    }
    void propertyList(const std::string& name, const std::string& address, int visited) {
        using Dictionary = PropertyList::Dictionary;
        const PropertyList::Array pages{
            Dictionary{{"", address}, {"lastVisitedDate", std::to_string(visited)}},
            Dictionary{{"", "ftp://h/x"}, {"lastVisitedDate", visited}},
            Dictionary{{"", "no address"}, {"lastVisitedDate", visited}}};
        file(name, serializePropertyList(Dictionary{{"WebHistoryDates", pages}}));
    }
    std::vector<std::string> scanned() {
        EXPECT_EQ(scan("SafariHistory"), scanResult::kSuccess);
        return begun();
    }
};

TEST_F(SafariHistoryTest, PropertyListsComeBeforeDatabasesAndNothingComesTwice) {
    const TestDatabase browser = history("History.db");
    visit(browser, "http://h/db", 300);
    visit(browser, "http://h/db", 350);
    visit(browser, "about:blank", 360);
    visit(browser, "http://h/a\nb", 370);
    visit(browser, "http://h/zero", 380);
    run(browser, "UPDATE history_items SET url = url || char(0) WHERE url = 'http://h/zero'");
    propertyList("History.plist", "http://h/list", 500);
    EXPECT_THAT(scanned(), testing::IsSupersetOf({"http://h/list", "http://h/db"}));
    EXPECT_THAT(m_announced, ElementsAre(3)) << "as often as a page was visited";
    EXPECT_EQ(filed("http://h/list"), "500 Item SafariHistory");
    EXPECT_EQ(filed("http://h/db"), "350 Item SafariHistory");
    EXPECT_EQ(seconds(m_item.LastScanDate), 1000);
    EXPECT_EQ(seconds(m_item.LastURLDate), 500);
    EXPECT_THAT(scanned(), IsEmpty());

    visit(browser, "http://h/late", 900);
    visit(browser, "http://h/new", 1001);
    EXPECT_THAT(scanned(), ElementsAre("http://h/new"));
}

TEST_F(SafariHistoryTest, ADatabaseAloneIsOfferedAgain) {
    visit(history("History.db"), "http://h/db", 300);
    for (int round = 0; round < 2; ++round) {
        scanned();
        EXPECT_THAT(m_announced, ElementsAre(1));
        EXPECT_EQ(m_item.LastScanDate, Date::distantPast());
    }
    EXPECT_EQ(m_site.requests("http://h/db"), 1);
}

TEST_F(SafariHistoryTest, ReadsICabsHistoryAndListsThatNameAPage) {
    propertyList("iCab 4 History", "http://h/icab", 305);
    file("page.plist", "<plist><dict><key>URL</key><string>http://h/1</string></dict></plist>");
    file("other", "<plist><dict><key>URL</key><string>http://h/2</string></dict></plist>");
    m_item.Path = files();
    EXPECT_THAT(scanned(), testing::UnorderedElementsAre("http://h/icab", "http://h/1"));
    EXPECT_EQ(filed("http://h/1"), "1000 Item SafariHistory");
}

TEST_F(SafariHistoryTest, WhatCannotBeReadIsReportedAndTheOthersAreRead) {
    m_item.Path = m_folder.file("files/*.db");
    file("1.db", std::string(3000, 'x'));
    visit(history("2.db"), "http://h/2", 300);
    const TestDatabase stops = history("3.db");
    visit(stops, "http://h/3", 300);
    visit(stops, "http://h/4", 310);
    run(stops, "UPDATE history_items SET url = x'00' WHERE url = 'http://h/4'");
    file("4.db", "");
    EXPECT_THAT(scanned(), testing::UnorderedElementsAre("http://h/2", "http://h/3"));
    const auto stopped = [](const std::string& reason) {
        return HasSubstr(": SafariHistory indexer stopped.  PLSqliteException : " + reason);
    };
    EXPECT_THAT(takeReports(),
                ElementsAre(stopped("An error occured parsing the provided SQL statement. file is "
                                    "not a database (This index scan will be retried next time.)"),
                            stopped("Attempted to access non-NSString * column"),
                            HasSubstr("no such table: history_items")));
}

}  // namespace
}  // namespace siftwell
