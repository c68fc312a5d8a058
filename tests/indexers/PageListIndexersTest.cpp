// The indexers of bookmarks and histories in files of their browsers' own: Safari, Camino, OmniWeb
// and Opera.

#include "IndexerFixture.h"
#include "base/PropertyListFormat.h"
#include "indexers/OmniWebHistory.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

// Of a source whose files were read up to 500 and whose pages are known up to 400.
class PageListIndexersTest : public IndexerFixture {
protected:
    PageListIndexersTest() {
        m_item.LastScanDate = Date::fromReference(500);
        m_item.LastURLDate = Date::fromReference(400);
        m_item.Path = files() + "/*";
        for (const char* address : {"http://h/1", "http://h/2"})
            m_site.text(address, html("", "w"));
    }
    // The addresses that a scan asks the web for.
    std::vector<std::string> asked(const std::string& indexer) {
        EXPECT_EQ(scan(indexer), scanResult::kSuccess);
        return begun();
    }
    void expectNothingTheSecondTime(const std::string& indexer) {
        EXPECT_THAT(asked(indexer), IsEmpty());
        store().disableIndexing();
        EXPECT_EQ(scan(indexer), scanResult::kFailure);
    }
    // With the forms of both bookmarks: a page with its last visit.
    static PropertyList page(const std::string& address, double visited) {
        return Dictionary{{"URL", address},
                          {"LastVisitedDate", Date::fromReference(visited)},
                          {"URIDictionary", Dictionary{{"lastVisitedDate", visited}}}};
    }
    static std::string inFolder(Array pages) {
        return serializePropertyList(Dictionary{{"Children", std::move(pages)}});
    }
};

TEST_F(PageListIndexersTest, SafarisBookmarksComeAllAtOnceAndOldOnesWithoutTheirDate) {
    file("1", inFolder({page("http://h/1", 401), page("ftp://h/no", 401)}), 600);
    file("2", "damaged", 700);
    file("3", inFolder({page("http://h/2", 400)}), 800);
    EXPECT_THAT(asked("SafariBookmarks"), ElementsAre("http://h/1", "http://h/2"));
    EXPECT_THAT(m_announced, ElementsAre(2));
    EXPECT_EQ(filed("http://h/1"), "401 Item SafariBookmarks");
    EXPECT_NE(filed("http://h/2"), "400 Item SafariBookmarks");
    EXPECT_EQ(seconds(m_item.LastScanDate), 800);
    EXPECT_EQ(seconds(m_item.LastURLDate), 401);
    expectNothingTheSecondTime("SafariBookmarks");
}

TEST_F(PageListIndexersTest, CaminosBookmarksComeFileByFileOnceTheyAreVisitedAnew) {
    file("1", inFolder({page("http://h/1", 450), page("http://h/no", 400)}), 600);
    file("2", inFolder({page("http://h/2", 451), page("http://h/passed", 450)}), 700);
    file("3", "damaged", 800);
    EXPECT_THAT(asked("CaminoBookmarks"), ElementsAre("http://h/1", "http://h/2"));
    EXPECT_EQ(filed("http://h/2"), "451 Item CaminoBookmarks");
    EXPECT_EQ(seconds(m_item.LastScanDate), 700);  // a damaged file moves nothing
    EXPECT_EQ(seconds(m_item.LastURLDate), 451);
    expectNothingTheSecondTime("CaminoBookmarks");
}

TEST_F(PageListIndexersTest, OperasPagesComeWithoutAThreshold) {
    file("1", "Old\nhttp://h/1\n978307500\n-1\nCaf\xC3\xA9\nhttp://h/2\n", 600);
    file("2", "", 700);
    EXPECT_THAT(asked("Opera"), ElementsAre("http://h/1", "http://h/2"));
    EXPECT_EQ(filed("http://h/1"), "300 Item Opera");
    EXPECT_EQ(seconds(m_item.LastScanDate), 600);
    EXPECT_EQ(seconds(m_item.LastURLDate), 400);
    expectNothingTheSecondTime("Opera");
}

TEST_F(PageListIndexersTest, OmniWebsHistoryIsRefusedAsSoonAsAChangedFileIsReached) {
    file("History.plist", "x", 600);
    EXPECT_EQ(thrownBy([this] { scan("OmniWebHistory"); }),
              "UnrecognisedOperation: OmniWebHistory does not know its own path.");
    m_item.LastScanDate = Date::fromReference(600);
    expectNothingTheSecondTime("OmniWebHistory");
    store().enableIndexing();
    const auto visit = [](const char* address, int time) {
        return Dictionary{{"url", address}, {"timeInterval", time}};
    };
    OmniWebHistory history(surroundings(), std::make_shared<SearchItemRecord>(m_item));
    const auto visits = history.parseHistory(serializePropertyList(
        Array{visit("http://h/old", 600), visit("http://h/new", 601), visit("ftp://h/no", 601)}));
    ASSERT_EQ(visits->size(), 1U);
    EXPECT_EQ(visits->front().url.absoluteString(), "http://h/new");
    EXPECT_FALSE(history.parseHistory("damaged"));
}

}  // namespace
}  // namespace siftwell
