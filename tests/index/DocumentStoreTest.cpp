#include "index/DocumentStore.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DocumentStoreTest : public IndexFixture {
protected:
    using Counts = std::vector<std::int64_t>;
    const std::string kPage = "http://host/page";

    Counts counts() { return {store().documentCount(), store().deletedDocumentCount()}; }
    bool has(const std::string& address, double since = 0) {
        return store().isDocument(url(address), "Pages", Date::fromReference(since));
    }
};

TEST_F(DocumentStoreTest, PageIsReplacedByALaterVisitAndOtherwiseLeftAlone) {
    add(kPage, "old words");
    add(kPage, "same words");
    add(kPage, "older words", "Pages", 999);
    add(kPage, "dateless words", "Pages", std::nullopt);
    EXPECT_THAT(m_told, ElementsAre("+" + kPage));
    EXPECT_THAT(counts(), ElementsAre(1, 0));
    EXPECT_THAT(find("old"), ElementsAre(kPage));
    add(kPage, "new words", "Pages", 1001);
    EXPECT_THAT(m_told, ElementsAre("+" + kPage, "-" + kPage, "+" + kPage));
    EXPECT_THAT(counts(), ElementsAre(1, 1));
    EXPECT_THAT(find("old"), IsEmpty());
    EXPECT_THAT(find("words"), ElementsAre(kPage));
    EXPECT_EQ(recordOf(kPage)->date, Date::fromReference(1001));
    EXPECT_TRUE(store().isDocument(url(kPage), "Pages", std::nullopt));
    EXPECT_TRUE(has(kPage, 1001));
    EXPECT_FALSE(has(kPage, 1002));
}

TEST_F(DocumentStoreTest, PageOfTwoSourcesEndsInTheIndexOfTheNewerVisitAndStaleCopiesGo) {
    add(kPage, "one", "First");
    add(kPage, "two", "Second", 2000);
    EXPECT_EQ(whereIs(kPage), "Second.http");
    EXPECT_THAT(find("one | two"), ElementsAre(kPage));
    EXPECT_THAT(counts(), ElementsAre(1, 1));
    put(kPage, "Stale");  // of date 1
    store().addToDocumentCount(1);
    add(kPage, "three", "Third", 1500);
    EXPECT_EQ(whereIs(kPage), "Second.http");
    EXPECT_THAT(find("word | three"), IsEmpty());
    EXPECT_THAT(counts(), ElementsAre(1, 2));
    add(kPage, "four", "Fourth", std::nullopt);
    EXPECT_EQ(whereIs(kPage), "Fourth.http");
    EXPECT_EQ(recordOf(kPage)->date, m_clock.now());
    EXPECT_THAT(counts(), ElementsAre(1, 3));
}

TEST_F(DocumentStoreTest, WalkBeginsOneBelowTheLastHit) {
    put("http://h/all", "A");
    put("http://h/all", "B");
    put("http://h/all", "C");
    put("http://h/lowest", "A");
    EXPECT_EQ(whereIs("http://h/all"), "C.http");     // walked from the end
    EXPECT_EQ(whereIs("http://h/all"), "B.http");     // one below; then the end is remembered
    EXPECT_EQ(whereIs("http://h/all"), "C.http");     // hit where it was remembered: the end again
    EXPECT_EQ(whereIs("http://h/lowest"), "A.http");  // walked down to the front
    EXPECT_EQ(whereIs("http://h/all"), "C.http");     // nothing was below
    EXPECT_EQ(whereIs("http://h/none"), "");
    EXPECT_EQ(whereIs("http://h/all"), "C.http");
}

TEST_F(DocumentStoreTest, RecordIsTitledByRequestHostOrPath) {
    const auto title = [](const std::string& address, const std::optional<std::string>& given) {
        return titleFor(request(address, "", "", std::nullopt, given));
    };
    EXPECT_EQ(title("http://h/a/page.html", "Given"), "Given");
    EXPECT_EQ(title("http://h/a/page.html", ""), "page.html");
    EXPECT_EQ(title("http://h/a/p%C3%A4ge/", std::nullopt), "p\xC3\xA4ge");
    for (const char* address : {"http://h/", "http://h", "http://h/x", "http://h/a/%E6%96%87"}) {
        EXPECT_EQ(title(address, std::nullopt), address);
    }
    EXPECT_EQ(title("http://h/a/%FFx", std::nullopt), "\xEF\xBF\xBDx");
    EXPECT_EQ(title("feed://host/a.xml", std::nullopt), "RSS Feed: host");
    EXPECT_EQ(title("feed://host/a.xml", "Given"), "Given");
}

TEST_F(DocumentStoreTest, PageIsRemovedFromTheFirstIndexThatHoldsIt) {
    put(kPage, "A");
    put(kPage, "B");
    store().setDocumentCount(2);
    EXPECT_EQ(store().removeURLFromIndex({url(kPage), url("http://host/unknown")}), 1U);
    m_loop.drain();
    EXPECT_EQ(whereIs(kPage), "A.http");
    EXPECT_THAT(m_told, ElementsAre("-" + kPage));
    EXPECT_THAT(counts(), ElementsAre(1, 1));

    const SKIndex index = store().skIndexForSource("A", "http", false);
    EXPECT_TRUE(store().removeSKDocument(key(kPage), index, std::nullopt, true));
    EXPECT_FALSE(store().removeSKDocument(key(kPage), index, std::nullopt, true));
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_FALSE(store().removeSKDocument(key(kPage), index, kPage, true));
    EXPECT_THAT(errors(), ElementsAre("3 SearchKit failed to remove this URL"));
    EXPECT_THAT(m_told, ElementsAre("-" + kPage, "-" + kPage));
}

TEST_F(DocumentStoreTest, HundredthDocumentIsFlushedWithAllBeforeIt) {
    for (int i = 0; i < 101; ++i) add("http://host/" + std::to_string(i), "word");
    EXPECT_EQ(m_settings->integer("DocumentCount"), 100);
    kill();
    start(Access::ReadWrite);
    EXPECT_EQ(find("word").size(), 100U);
    EXPECT_EQ(store().documentCount(), 100);
    EXPECT_FALSE(has("http://host/100"));
}

TEST_F(DocumentStoreTest, IndexThatCannotBeMadeIsToldOnceAndTriedAgainOnlyWhereThatMayHelp) {
    m_folder.write("data/Siftwell/Broken.http", "this is no index");
    store();
    EXPECT_THAT(errors(), IsEmpty());
    add("http://host/a", "x", "Broken", 1);
    add("http://host/b", "x", "Broken", 1);
    EXPECT_THAT(errors(),
                ElementsAre("9 SearchKit could not open the index Broken.http at location " +
                                indexFile("Broken.http") + " even though it does exist.",
                            "3 Could not create index entry for URL",
                            "3 Could not create index entry for URL"));
    EXPECT_EQ(m_clock.slept().count(), 0);
    EXPECT_EQ(m_folder.read("data/Siftwell/Broken.http"), "this is no index");

    // What stands in the way of making the file passes.
    std::filesystem::create_directory(indexFile("Folder.http.creating"));
    add("http://host/a", "x", "Folder", 1);
    EXPECT_EQ(m_clock.slept(), std::chrono::seconds(50));
    EXPECT_TRUE(isLogged("Retrying index creation"));
    EXPECT_TRUE(isLogged("Creating index with no name"));
    EXPECT_EQ(errors()[3],
              "9 Could not create the index Folder.http at location " + indexFile("Folder.http"));
    std::filesystem::remove(indexFile("Folder.http.creating"));
    add("http://host/a", "x", "Folder", 1);
    EXPECT_EQ(whereIs("http://host/a"), "Folder.http");
}

TEST_F(DocumentStoreTest, HostileAddressesAndSourcesStayInTheFolderAndComeBack) {
    const std::vector<std::string> sources = {"../../escape", "a/b", "", std::string(400, 's')};
    for (const std::string& source : sources) add("data:/" + source, "word", source, 1);
    add("http://host/" + std::string(60000, 'x'), "word", "a/b", 1);
    add(std::string(300, 'z') + ":/host", "word", "Schemes", 1);
    restart();
    EXPECT_EQ(find("word").size(), sources.size() + 1);
    EXPECT_TRUE(has("data:/a/b", 1));
    EXPECT_TRUE(store().isIndexedSource("a/b"));
    EXPECT_FALSE(m_folder.has("escape.%data"));
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path())) {
        EXPECT_THAT(entry.path().filename().string(), testing::AnyOf("data", "x.plist"));
    }
}

}  // namespace
}  // namespace siftwell
