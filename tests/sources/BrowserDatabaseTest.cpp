// Databases that are mid-write, damaged, of another form or made to do harm.

#include "sources/browsers/BrowserDatabase.h"

#include "BrowserDatabaseFixture.h"
#include "sources/browsers/ChromeHistory.h"
#include "sources/browsers/FalkonHistory.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kHistory = "CREATE TABLE history (url, title, date);";

std::string rows(int count) {
    return "INSERT INTO history WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
           "WHERE i < " +
           std::to_string(count) + ") SELECT 'http://p' || i || '/', 'old', 1000 FROM n;";
}

class BrowserDatabaseTest : public BrowserDatabaseFixture {
protected:
    void expectFailure(StatusCode code, const std::string& says) const {
        const Status status = failure(readFalkonVisits);
        EXPECT_EQ(status.code(), code) << status.message();
        EXPECT_THAT(status.message(), HasSubstr("/home/me/places"));
        EXPECT_THAT(status.message(), HasSubstr(says));
    }
};

TEST_F(BrowserDatabaseTest, WhatOnlyTheWriteAheadLogHoldsIsSeen) {
    const auto browser = connect("browser");
    run(browser,
        std::string("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0;") + kHistory);
    run(browser, "INSERT INTO history VALUES ('http://a/', 'A', 1000)");
    copyWhileOpen("browser");
    ASSERT_TRUE(m_folder.has("copy-wal"));
    ASSERT_FALSE(m_folder.has("copy-shm"));
    EXPECT_THAT(read(readFalkonVisits), ElementsAre("http://a/|1.000000|A"));
}

TEST_F(BrowserDatabaseTest, AHotJournalIsRolledBackAndADeadOneLeftAside) {
    const auto browser = connect("browser");
    run(browser, std::string("PRAGMA cache_size = 2;") + kHistory + rows(2000));
    run(browser, "BEGIN; UPDATE history SET title = 'half of a transaction'");
    copyWhileOpen("browser");
    ASSERT_THAT(m_folder.read("copy"), HasSubstr("half of a transaction"));
    EXPECT_EQ(read(readFalkonVisits).front(), "http://p1/|1.000000|old");
    m_folder.write("copy-journal", std::string(512, '\0') + "what was there before");
    EXPECT_EQ(read(readFalkonVisits).size(), 2000U);
}

TEST_F(BrowserDatabaseTest, AJournalMayNotNameOtherFiles) {
    make(kHistory);
    const std::string other = m_folder.write("other", "precious");
    m_folder.write("copy-journal",
                   std::string(512, '\1') + other + "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7");
    expectFailure(StatusCode::Damaged, "damaged");
    EXPECT_TRUE(m_folder.has("other"));
}

TEST_F(BrowserDatabaseTest, FilesThatCannotBeReadSayWhy) {
    expectFailure(StatusCode::NotFound, "There is no database");
    m_folder.write("copy", std::string(8192, '\x5a'));
    expectFailure(StatusCode::Damaged, "encrypted");
    m_folder.write("copy", "");
    expectFailure(StatusCode::UnknownVersion, "no such table: history");
    make(std::string(kHistory) + rows(2000));
    std::filesystem::resize_file(path(), 3 * 4096);
    expectFailure(StatusCode::Damaged, "damaged");
    make("CREATE TABLE history (address, title, date)");
    expectFailure(StatusCode::UnknownVersion, "no such column: history.url");
    EXPECT_EQ(failure(readChromeVisits).code(), StatusCode::UnknownVersion);
}

TEST_F(BrowserDatabaseTest, NoReadingTakesLongerThanItMay) {
    make(std::string(kHistory) + rows(20000));
    EXPECT_EQ(failure(readFalkonVisits, std::chrono::milliseconds(0)).code(), StatusCode::TooLarge);
    EXPECT_EQ(read(readFalkonVisits).size(), 20000U);
}

TEST_F(BrowserDatabaseTest, SchemasCannotDoHarm) {
    make(
        "CREATE VIEW history AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
        "SELECT 'http://a/' AS url, '' AS title, i AS date FROM n");
    expectFailure(StatusCode::UnknownVersion, "no such table");
    make("CREATE VIRTUAL TABLE history USING fts5(url, title, date)");
    expectFailure(StatusCode::UnknownVersion, "no such table");
    make(
        "CREATE TABLE history (url, title AS (printf('%.*c', 100000000, 'x')), date);"
        "INSERT INTO history (url, date) VALUES ('http://a/', 1000)");
    expectFailure(StatusCode::UnknownVersion, "no such column: history.title");
    make(std::string(kHistory) +
         "INSERT INTO history VALUES ('http://a/', hex(zeroblob(9000000)), 1000)");
    expectFailure(StatusCode::TooLarge, "too large");
}

}  // namespace
}  // namespace siftwell
