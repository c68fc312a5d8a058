#include "IndexerFixture.h"
#include "base/PropertyListFormat.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Of the clock, which stands still.
constexpr double kNow = 800000000;

class URLExtractorTest : public IndexerFixture {
protected:
    // The addresses that a scan asks the web for, which all bear the same host.
    std::vector<std::string> asked(const std::string& indexer = "URLExtractor") {
        EXPECT_EQ(scan(indexer), scanResult::kSuccess);
        return begun();
    }
    void serve(const std::vector<std::string>& addresses) {
        for (const std::string& address : addresses) m_site.text(address, html("", "word"));
    }
};

TEST_F(URLExtractorTest, WhatEndsAnAddressDependsOnTheFile) {
    m_item.Path = file("chat.dat", "(see http://h/1) and (HTTP://h/2) http://h/ov\\\ner; rest)");
    serve({"http://h/1"});
    EXPECT_THAT(asked(), ElementsAre("http://h/1", "HTTP://h/2", "http://h/over;"));
    EXPECT_THAT(filed("http://h/1"), HasSubstr(" Item URLExtractor"));
    m_item.Path = file("mail.txt", "\"http://h/3\" <http://h/4>, http://h/5 http://h/lost;x", 2000);
    EXPECT_THAT(asked(), ElementsAre("http://h/3", "http://h/4", "http://h/5"));
}

TEST_F(URLExtractorTest, AnchorListsAreReadAsSuchAndOnlyWithoutAnchorsAsText) {
    m_item.LastScanDate = Date::fromReference(500);
    m_item.LastURLDate = Date::fromReference(400);
    m_item.Path = file("export.html",
                       "<DL><A HREF=\"http://h/new\" LASTCHECKEDTIME=\"450\">http://h/text</A>"
                       "<A HREF=\"http://h/old\" LASTCHECKEDTIME=\"400\">x</A>"
                       "<A HREF=\"http://h/filed\" SOURCE=\"Other\" INDEXER=\"Old\">x</A>");
    serve({"http://h/new", "http://h/filed"});
    EXPECT_THAT(asked(), ElementsAre("http://h/new", "http://h/filed"));
    EXPECT_EQ(filed("http://h/new"), "450 Item URLExtractor");
    EXPECT_THAT(filed("http://h/filed"), HasSubstr(" Other Old"));
    EXPECT_THAT(m_announced, ElementsAre(2));
    EXPECT_EQ(seconds(m_item.LastScanDate), 1000);
    EXPECT_EQ(seconds(m_item.LastURLDate), 450);
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(URLExtractorTest, MonitorFilesAreReadAtEveryScanAndDatedNow) {
    m_item.Path =
        file("sites.monitor", "<a href=\"http://h/1\" LASTCHECKEDTIME=\"5\">\nhttp://h/2\n");
    serve({"http://h/1", "http://h/2"});
    for (int round = 0; round < 3; ++round) {
        EXPECT_THAT(asked(), ElementsAre("http://h/1", "http://h/2"));
        EXPECT_EQ(recordOf("http://h/2")->date, m_clock.now());
        EXPECT_EQ(seconds(m_item.LastScanDate), 1000);
        m_clock.advance(60);
    }
}

TEST_F(URLExtractorTest, LinkFilesGiveTheirAddressWithTheirDate) {
    m_item.Path = files();
    file("link.webloc", serializePropertyList(PropertyList::Dictionary{{"URL", "http://h/a;b?c"}}),
         700);
    file("damaged.webloc", "http://h/no");
    file("empty.txt", "");
    serve({"http://h/a;b?c"});
    EXPECT_THAT(asked(), ElementsAre("http://h/a;b?c"));
    EXPECT_EQ(filed("http://h/a;b?c"), "700 Item URLExtractor");
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(URLExtractorTest, HistoriesOfAnchorsAreHandedOverFileByFile) {
    file("1.html", "<a href=http://h/1 LASTCHECKEDTIME=300>", 100);
    file("2.html", "<A HREF=\"http://h/2\" LASTCHECKEDTIME=\"90\"><A HREF=http://h/3>", 200);
    file("3.html", "", 300);
    serve({"http://h/1", "http://h/2", "http://h/3"});
    m_item.Path = files() + "/*.html";
    EXPECT_THAT(asked("InternetExplorer"), ElementsAre("http://h/1", "http://h/3"));
    EXPECT_EQ(filed("http://h/1"), "300 Item InternetExplorer");
    EXPECT_EQ(seconds(m_item.LastScanDate), 200);  // an empty file moves nothing
    EXPECT_THAT(asked("InternetExplorer"), IsEmpty());
    EXPECT_THAT(m_progress, IsEmpty());
}

TEST_F(URLExtractorTest, ADumpGivesBackAddressesDatesSourcesAndIndexers) {
    const std::vector<std::string> pages = {"http://h/plain?a=b&c=d&amp;e#f",
                                            "http://h/\"quoted\"",
                                            "http://h/'s'",
                                            "http://h/<a>x>y",
                                            "http://h/?LAST_VISIT=99999999999&add_date=\"7\"",
                                            "http://h/?SOURCE=",
                                            "http://h/?indexer=",
                                            "http://h/&#34;&#61;&",
                                            "http://h/%22%3C;",
                                            "HTTP://H/u",
                                            "http://h/" + std::string(5000, 'x')};
    const std::vector<std::string> sources = {"Plain & simple", "My \"old\" <pages>", " blank",
                                              "ADD_DATE=99999999999",
                                              "Gr\u00fc\u00dfe\nSOURCE=\"x"};
    std::vector<PropertyRecord> records;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const double date = 1000.9 + static_cast<double>(i);
        add(pages[i], "old", sources[i % sources.size()], date);
        records.push_back(*recordOf(pages[i]));
        m_site.text(pages[i], html("", "new"));
    }
    const std::string path = m_folder.file("files/dump.html");
    file("dump.html", "");
    ASSERT_TRUE(store().dumpIndices(path, true).isOk());
    store().expireOlderThan(Date::distantFuture(), std::nullopt);
    setChanged(path, 1e8);
    m_item.Path = path;
    EXPECT_THAT(asked(), testing::UnorderedElementsAreArray(pages));
    for (PropertyRecord& record : records) {
        record.date = Date::fromUnix(std::trunc(record.date.secondsSinceUnix()));
        const auto again = recordOf(record.url);
        ASSERT_TRUE(again) << record.url;
        EXPECT_EQ(again->url, record.url);
        EXPECT_EQ(again->date, record.date) << record.url;
        EXPECT_EQ(again->source + "/" + again->indexer, record.source + "/" + record.indexer);
    }
}

class SingleURLTest : public URLExtractorTest {
protected:
    std::vector<std::string> asked() { return URLExtractorTest::asked("SingleURL"); }
};

TEST_F(SingleURLTest, APageIsHandedOverAtEveryScanAndAFileWhenItWasChanged) {
    m_item.Path = "http://h/page";
    serve({"http://h/page"});
    for (int round = 0; round < 2; ++round) {
        EXPECT_THAT(asked(), ElementsAre("http://h/page"));
        EXPECT_EQ(m_item.LastScanDate, m_clock.now());
        m_clock.advance(60);
    }
    EXPECT_EQ(filed("http://h/page"), std::to_string(std::lround(kNow + 60)) + " Item SingleURL");
    EXPECT_EQ(store().pendingDocumentCount(), 0);

    m_item.LastScanDate = Date::fromReference(999);
    for (const std::string& path :
         {file("a b.html", html("", "w")), file("c.html", html("", "w"))}) {
        for (const std::string& written : {addressOf(path), path}) {
            m_item.Path = written;
            m_item.LastScanDate = Date::fromReference(999);
            scan("SingleURL");
            EXPECT_EQ(filed(addressOf(path)), "1000 Item SingleURL");
            EXPECT_EQ(seconds(m_item.LastScanDate), 1000);
        }
        EXPECT_THAT(asked(), IsEmpty());
    }
    m_item.Path = addressOf(files());
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(SingleURLTest, FilesThatAreMissingOrUnreadableAreReported) {
    m_item.Path = "file:///no/such%20file";
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(takeReports(),
                ElementsAre(": Please try entering the URL again. (There's no file or folder named "
                            "\"/no/such file\".\n\nIf you're entering the full path of a file or "
                            "folder, make sure that it begins with \"file:///\".)"));
    m_item.Path = file("picture.PNG", "x");
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(takeReports(), ElementsAre(": Siftwell cannot parse files of type \"PNG\" ()"));
}

}  // namespace
}  // namespace siftwell
