// The commands that make the program scan, and that show and change what it scans.

#include <stdlib.h>

#include "app/WriterLock.h"
#include "cli/ProgramFixture.h"
#include "support/HttpSite.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class DriverCommandsTest : public ProgramFixture {
protected:
    nlohmann::json why(const std::string& address) {
        const Lines lines = linesOf(siftwell({"why", "--json", address}));
        return lines.empty() ? nlohmann::json() : lines[0];
    }
};

TEST_F(DriverCommandsTest, AnAddedFolderIsASourceThatIsReadAgainWhenItIsOn) {
    page("notes/a.html", "Alpha", "apple");
    const Outcome waiting = siftwell({"add", "--no-scan", m_home.file("notes")});
    EXPECT_EQ(waiting.status, 0) << waiting.err;
    EXPECT_THAT(titles({"apple"}), IsEmpty());
    EXPECT_EQ(source("notes")["index"], true);
    EXPECT_EQ(source("notes")["result"], nullptr);
    expectSuccess({"scan", "--offline"});
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    const auto read = source("notes");
    EXPECT_EQ(read["index"], false) << "it was to be read once";
    EXPECT_EQ(read["result"], "success");
    EXPECT_EQ(read["path"], m_home.file("notes"));
    EXPECT_EQ(read["builtIn"], false);

    page("notes/b.html", "Beta", "apple");
    expectSuccess({"scan", "--offline"});
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    expectSuccess({"sources", "enable", "notes"});
    expectSuccess({"sources", "reset", "notes"});
    EXPECT_EQ(source("notes")["lastScan"], nullptr);
    expectSuccess({"scan", "--offline"});
    EXPECT_THAT(titles({"apple"}), UnorderedElementsAre("Alpha", "Beta"));
}

TEST_F(DriverCommandsTest, SourcesAreChangedByTheirNames) {
    page("notes/a.html", "Alpha", "apple");
    ASSERT_EQ(add({"notes"}).status, 0);
    expectSuccess({"sources", "set", "notes", "Expire", "yes"});
    expectSuccess({"sources", "set", "notes", "LastScanDate", "2026-01-02T03:04:05Z"});
    expectSuccess({"sources", "set", "notes", "Path", "/some/where/else"});
    const auto changed = source("notes");
    EXPECT_EQ(changed["expire"], true);
    EXPECT_EQ(changed["lastScan"], "2026-01-02T03:04:05Z");
    EXPECT_EQ(changed["path"], "/some/where/else");
    EXPECT_THAT(siftwell({"sources"}).out,
                AllOf(HasSubstr("/some/where/else"), HasSubstr("expires, read up to 2026-01-02")));
    expectSuccess({"sources", "enable", "notes", "Firefox History"});
    EXPECT_EQ(source("Firefox History")["index"], true);
    expectSuccess({"sources", "disable", "Firefox History"});
    EXPECT_EQ(source("Firefox History")["index"], false);

    expectSuccess({"sources", "delete", "notes"});
    EXPECT_EQ(source("notes"), nullptr);
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    EXPECT_THAT(siftwell({"sources", "delete", "Opera History"}).err, HasSubstr("is built in"));

    const auto before = linesOf(siftwell({"sources", "--json"}));
    const std::vector<std::pair<Arguments, std::string>> wrong = {
        {{"enable", "Opera Bookmarks", "firefox histori"}, "Did you mean \"Firefox History\""},
        {{"set", "Opera Bookmarks", "ScanResult", "0"}, "\"ScanResult\" cannot be set."},
        {{"set", "Opera Bookmarks", "UserItem", "no"}, "These can: BundleID, Expire,"},
        {{"set", "Opera Bookmarks", "Index", "perhaps"}, "which takes yes or no"},
        {{"set", "Opera Bookmarks", "LastURLDate", "soon"}, "which takes a date"},
        {{"set", "Opera Bookmarks", "Indexer", "Operas"}, "Did you mean \"Opera\""},
        {{"set", "Opera Bookmarks", "Path", ""}, "is no value for Path"},
        {{"set", "Opera Bookmarks", "Path"}, "VALUE is missing."},
        {{"reset"}, "NAME is missing."}};
    for (auto [arguments, message] : wrong) {
        arguments.insert(arguments.begin(), "sources");
        expectFailure(arguments, 2, message);
    }
    EXPECT_EQ(linesOf(siftwell({"sources", "--json"})), before);
}

TEST_F(DriverCommandsTest, FiltersKeepPagesOutAndTellIt) {
    page("notes/secret/a.html", "Alpha", "apple");
    const std::string address = "file://" + m_home.file("notes/secret/a.html");
    const auto before = linesOf(siftwell({"filters", "--json"}));
    expectSuccess({"filters", "add", "/Secret/"});
    EXPECT_EQ(linesOf(siftwell({"filters", "--json"})).back(),
              nlohmann::json::parse(R"({"filter":"/Secret/","enabled":true})"));
    EXPECT_THAT(siftwell({"filters", "add", "/Secret/"}).err, HasSubstr("is there already"));
    EXPECT_EQ(add({"notes"}).status, 0);
    EXPECT_THAT(titles({"apple"}), IsEmpty());
    const auto refused = why(address);
    EXPECT_EQ(refused["state"], "refused");
    EXPECT_EQ(refused["rule"], "filter");
    EXPECT_EQ(refused["filter"], "/Secret/");

    expectFailure({"filters", "delete", "/Secre/"}, 2, "Did you mean \"/Secret/\"?");
    expectFailure({"filters", "add", ""}, 2, "An empty filter");
    expectFailure({"filters", "reset"}, 2, "Say --yes to go on.");
    expectSuccess({"filters", "delete", "/Secret/"});
    EXPECT_EQ(add({"notes"}).status, 0);
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    expectSuccess({"filters", "delete", "/ads/"});
    expectSuccess({"filters", "reset", "--yes"});
    EXPECT_EQ(linesOf(siftwell({"filters", "--json"})), before);
}

TEST_F(DriverCommandsTest, SettingsAreReadWrittenAndDeletedByTheirTypes) {
    EXPECT_EQ(
        setting("DaysToSearch"),
        nlohmann::json::parse(R"({"key":"DaysToSearch","value":60,"default":60,"isSet":false})"));
    expectSuccess({"defaults", "write", "DaysToSearch", "30"});
    expectSuccess({"defaults", "write", "MinutesBetweenScans", "2.5"});
    expectSuccess({"defaults", "write", "UseContentExtractors", "true"});
    expectSuccess({"defaults", "write", "SearchType", "1"});
    expectSuccess({"defaults", "write", "ExtractorExtensions", "pdf, rtf"});
    expectSuccess({"defaults", "write", "LastExpirationScanDate", "2026-01-02T03:04:05Z"});
    EXPECT_EQ(setting("DaysToSearch")["value"], 30);
    EXPECT_EQ(setting("MinutesBetweenScans")["value"], 2.5);
    EXPECT_EQ(setting("UseContentExtractors")["value"], true);
    EXPECT_EQ(setting("SearchType")["value"], "1");
    EXPECT_EQ(setting("ExtractorExtensions")["value"], nlohmann::json({"pdf", "rtf"}));
    EXPECT_EQ(setting("LastExpirationScanDate")["value"], "2026-01-02T03:04:05Z");
    EXPECT_THAT(siftwell({"defaults"}).out, AllOf(HasSubstr("DaysToSearch = 30  (default: 60)"),
                                                  HasSubstr("LiveSearch = 1\n")));
    expectSuccess({"defaults", "delete", "DaysToSearch"});
    EXPECT_EQ(setting("DaysToSearch")["isSet"], false);

    expectFailure({"defaults", "write", "DaysToSearch", "many"}, 2, "takes a whole number");
    expectFailure({"defaults", "write", "MinutesBetweenScans", "nan"}, 2, "takes a number");
    expectFailure({"defaults", "write", "DayToSearch", "1"}, 2, "Did you mean \"DaysToSearch\"?");
    expectFailure({"defaults", "read", "SearchItems"}, 2, "siftwell sources");
    expectFailure({"defaults", "delete", "URLFilters"}, 2, "siftwell filters");
}

TEST_F(DriverCommandsTest, AFileIsReadAsItsUserSays) {
    HttpSite site;
    m_variables["SIFTWELL_ONLINE"] = "yes";
    site.page("/tea.html", {.body = "<html><title>Tea</title>a calm leaf</html>"});
    const std::string file = m_home.write(
        "links.html", "<html><a href=\"" + site.address("/tea.html") + "\">cup</a></html>");
    const Outcome unsaid = siftwell({"add", file});
    EXPECT_EQ(unsaid.status, 2);
    EXPECT_THAT(unsaid.err, AllOf(HasSubstr("--contents"), HasSubstr("--extract-urls")));
    EXPECT_EQ(source("links.html"), nullptr);

    expectSuccess({"add", "--contents", file});
    EXPECT_THAT(found({"cup"}), SizeIs(1));
    EXPECT_THAT(found({"calm"}), IsEmpty());
    expectSuccess({"sources", "delete", "links.html"});
    expectSuccess({"add", "--extract-urls", file});
    EXPECT_EQ(source("links.html")["indexer"], "URLExtractor");
    EXPECT_EQ(source("links.html")["index"], true) << "it is read again when it changes";
    EXPECT_THAT(titles({"calm"}), ElementsAre("Tea"));

    const std::string other = page("other.html", "Other", "elderberry");
    expectSuccess({"add", "--indexer", "SingleURL", other});
    EXPECT_THAT(titles({"elderberry"}), ElementsAre("Other"));
}

TEST_F(DriverCommandsTest, ATerminalIsAskedWhatAFileIs) {
    const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
    if (grantpt(terminal.get()) != 0 || unlockpt(terminal.get()) != 0) {
        GTEST_SKIP() << "there are no pseudo-terminals here";
    }
    const std::string name = ptsname(terminal.get());
    const FileDescriptor kept(open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    m_inChild = [&name] {
        dup2(open(name.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC), STDIN_FILENO);
    };
    const std::string file = page("single.html", "Single", "elderberry");
    ASSERT_EQ(write(terminal.get(), "7\n2\n", 4), 4);
    EXPECT_EQ(wait(start({"add", file}, "/dev/null", name)), 0);
    std::string shown(1 << 16, '\0');
    const ssize_t count = read(terminal.get(), shown.data(), shown.size());
    ASSERT_GT(count, 0);
    EXPECT_THAT(shown, AllOf(HasSubstr("What should Siftwell do with this file?"),
                             HasSubstr("  1  Extract URLs"), HasSubstr("  2  Index Contents")));
    m_inChild = nullptr;
    EXPECT_THAT(titles({"elderberry"}), ElementsAre("Single"));
}

TEST_F(DriverCommandsTest, WhatWentWrongIsKeptAndWhyAPageIsMissingIsTold) {
    HttpSite site;
    m_variables["SIFTWELL_ONLINE"] = "yes";
    site.page("/tea.html", {.body = "<html><title>Tea</title>a calm leaf</html>"});
    site.page("/forbidden", {.status = 403, .body = "no"});
    EXPECT_THAT(siftwell({"errors"}).err, HasSubstr("There are no errors."));
    EXPECT_EQ(siftwell({"add", site.address("/forbidden"), site.address("/tea.html")}).status, 3);
    const Lines errors = linesOf(siftwell({"errors", "--json"}));
    ASSERT_THAT(errors, Not(IsEmpty()));
    EXPECT_EQ(errors.back()["url"], site.address("/forbidden"));
    EXPECT_THAT(errors.back()["date"].get<std::string>(), HasSubstr("T"));
    EXPECT_THAT(siftwell({"errors"}).out, HasSubstr(site.address("/forbidden")));

    const auto indexed = why(site.address("/tea.html"));
    EXPECT_EQ(indexed["state"], "indexed");
    EXPECT_EQ(indexed["source"], "127.0.0.1");
    EXPECT_EQ(indexed["indexer"], "SingleURL");
    EXPECT_EQ(indexed["title"], "Tea");
    const Outcome told = siftwell({"why", site.address("/tea.html")});
    EXPECT_EQ(told.status, 0);
    EXPECT_THAT(told.out, AllOf(HasSubstr("is in the index"), HasSubstr("Title: Tea")));

    const auto failed = why(site.address("/forbidden"));
    EXPECT_EQ(failed["state"], "failed");
    EXPECT_EQ(failed["lastError"]["url"], site.address("/forbidden"));
    EXPECT_EQ(why(site.address("/x.zip"))["rule"], "extension");
    EXPECT_EQ(why(site.address("/x.pdf"))["rule"], "extractorsOff");
    EXPECT_EQ(why("ftp://127.0.0.1/x")["rule"], "scheme");
    EXPECT_EQ(why(site.address("/never/seen"))["state"], "unknown");
    EXPECT_EQ(siftwell({"why", site.address("/never/seen")}).status, 1);
    EXPECT_EQ(siftwell({"why", m_home.file("nowhere.html")}).status, 1);
}

TEST_F(DriverCommandsTest, AWriterThatDoesNotAnswerIsTold) {
    const auto lock = WriterLock::take(m_home.file("state/siftwell"));
    ASSERT_TRUE(lock);
    const auto status = linesOf(siftwell({"status", "--json"})).back();
    EXPECT_EQ(status["runningCopy"], getpid());
    EXPECT_THAT(status["activity"], SizeIs(1));
    EXPECT_NE(status["activity"]["error"], nullptr);
    EXPECT_THAT(siftwell({"status"}).out, HasSubstr("It does not answer"));
    expectFailure({"quit"}, 5, "cannot be reached");
    expectFailure({"scan"}, 5, "Another Siftwell (process");
    expectFailure({"sources", "disable", "Safari History"}, 5, "Another Siftwell (process");
}

}  // namespace
}  // namespace siftwell
