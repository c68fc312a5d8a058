#include "IndexerFixture.h"
#include "sources/WebArchiveBytes.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LocalFilesTest : public IndexerFixture {
protected:
    LocalFilesTest() { m_item.Path = files(); }

    // The files that a scan begins, by their names.
    std::vector<std::string> scanned() {
        EXPECT_EQ(scan("LocalFiles"), scanResult::kSuccess);
        std::vector<std::string> names;
        for (const std::string& address : begun())
            names.push_back(url(address).lastPathComponent());
        return names;
    }
};

TEST_F(LocalFilesTest, TheFirstScanTakesEveryReadableFileAndLaterOnesWhatChanged) {
    const std::string old = file("deep/old.txt", "old words", -900'000'000);
    file("new.html", html("", "new words"), 2000);
    file("README", html("", "words without extension"));
    file("page.pdf", "%PDF");
    file("picture.xyz", "words");
    EXPECT_THAT(scanned(), ElementsAre("README", "old.txt", "new.html"));
    EXPECT_THAT(m_announced, ElementsAre(3));
    EXPECT_EQ(filed(addressOf(files() + "/new.html")), "2000 Item LocalFiles");
    EXPECT_EQ(seconds(m_item.LastScanDate), 2000);

    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_THAT(m_announced, ElementsAre(0));
    setChanged(files() + "/README", 1999);
    setChanged(old, 2001);
    m_settings->set("UseContentExtractors", true);
    store().applyPreferences();
    setChanged(files() + "/page.pdf", 2001);
    EXPECT_THAT(scanned(), ElementsAre("old.txt", "page.pdf"));
}

TEST_F(LocalFilesTest, NamedFilesAndPatternsAreTakenAndOtherThingsThanFilesAreNot) {
    const std::string named = file("a.txt", "words");
    file("b.txt", "words");
    file("c/d.txt", "words");
    ASSERT_EQ(mkfifo(m_folder.file("files/e.txt").c_str(), 0600), 0);
    ASSERT_EQ(symlink("/dev/zero", m_folder.file("files/f.txt").c_str()), 0);
    m_item.Path = named;
    EXPECT_THAT(scanned(), ElementsAre("a.txt"));
    m_item.Path = files() + "/*";
    m_item.LastScanDate = Date::distantPast();
    EXPECT_THAT(scanned(), ElementsAre("b.txt", "d.txt"));  // "a.txt" is in with this date
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(LocalFilesTest, ScansThatAreSwitchedOffSayThatTheyFailed) {
    file("a.txt", "words");
    store().disableIndexing();
    EXPECT_EQ(scan("LocalFiles"), scanResult::kFailure);
    EXPECT_THAT(m_progress, ElementsAre("Waiting...", "/Waiting..."));
    EXPECT_EQ(m_item.LastScanDate, Date::distantPast());
    EXPECT_FALSE(m_locks.currentDirectoryLock.isHeld());
    store().enableIndexing();
    m_item.Path = "";
    EXPECT_EQ(thrownBy([&] { scan("LocalFiles"); }), "InvalidPath: The path name was empty.");
    EXPECT_FALSE(m_locks.currentDirectoryLock.isHeld());
}

TEST_F(LocalFilesTest, FoldersThatCannotBeReadAreReportedAndTheWalkGoesOn) {
    std::string deep = files();
    for (int i = 0; i < 600; ++i) deep += "/d";
    std::filesystem::create_directories(deep);
    file("e.txt", "words");
    EXPECT_THAT(scanned(), ElementsAre("e.txt"));
    EXPECT_THAT(takeReports(),
                ElementsAre(testing::AllOf(
                    testing::StartsWith(addressOf(files()) + ": Failed to get content (The folder"),
                    testing::HasSubstr("nested too deeply"))));
}

TEST_F(LocalFilesTest, EveryResourceOfAWebArchiveIsIndexedUnderItsOwnAddress) {
    const PropertyList frame = webArchive("http://h/frame", {"http://h/in-frame"});
    const std::string bytes = serializePropertyList(
        webArchive("http://h/main", {"http://h/one", "http://h/two"}, {frame}));
    const std::string path = file("page.webarchive", bytes, 1500);
    const std::string broken = file("broken.webarchive", bytes.substr(1), 1600);
    EXPECT_EQ(scan("LocalFiles"), scanResult::kSuccess);
    EXPECT_THAT(begun(), ElementsAre("http://h/main", "http://h/one", "http://h/two",
                                     "http://h/frame", "http://h/in-frame"));
    EXPECT_THAT(m_announced, ElementsAre(2, 2, 1, 1));
    for (const std::string& address : begun()) {
        EXPECT_EQ(filed(address), "1500 Item LocalFiles") << address;
        EXPECT_EQ(recordOf(address)->cachePath, path);
    }
    EXPECT_EQ(seconds(m_item.LastScanDate), 1600);

    const auto again = makeIndexer("LocalFiles", surroundings(), m_record)->dataFromCache(path);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->bytes, bytes);
    EXPECT_EQ(again->mimeType, "application/webarchive");
    EXPECT_FALSE(again->textEncodingName);
    const auto indexer = makeIndexer("LocalFiles", surroundings(), m_record);
    EXPECT_FALSE(indexer->dataFromCache(path + "x"));
    EXPECT_FALSE(indexer->dataFromCache(m_folder.file("missing.webarchive")));
}

TEST_F(LocalFilesTest, ArchivesThatDoNotFitIntoMemoryAreReported) {
    const std::string path = file("huge.webarchive", "");
    std::filesystem::resize_file(path, (std::size_t{64} << 20) + 1);
    setChanged(path, 1000);
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_THAT(takeReports(), ElementsAre(addressOf(path) + ": Failed to get content (The file " +
                                           path + " is larger than 64 MB.)"));
}

}  // namespace
}  // namespace siftwell
