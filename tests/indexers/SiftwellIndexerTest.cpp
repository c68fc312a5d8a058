#include <atomic>
#include <future>

#include "IndexerFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class SiftwellIndexerTest : public IndexerFixture {
protected:
    std::vector<std::string> pathsOf(const std::string& path) {
        m_item.Path = path;
        return bare().paths();
    }
    std::vector<std::string> urlsOf(const std::string& path) {
        m_item.Path = path;
        std::vector<std::string> addresses;
        for (const Url& each : bare().URLs()) addresses.push_back(each.absoluteString());
        return addresses;
    }
    std::string complaintAbout(const std::string& path) {
        return thrownBy([&] { pathsOf(path); });
    }

    // The files of the list that count as changed.
    std::vector<std::string> changedAmong(const std::vector<std::string>& paths) {
        m_record = std::make_shared<SearchItemRecord>(m_item);
        m_bare = std::make_unique<BareIndexer>(surroundings(), m_record, "URLExtractor");
        auto changed = m_bare->parsableFilesAtPaths(paths);
        m_item = m_record->item();
        return changed;
    }
};

TEST_F(SiftwellIndexerTest, APathStandsForWhatIsThereAndElseForWhatItMatches) {
    const std::string b = file("b.plist", "");
    const std::string a = file("a.plist", "");
    const std::string odd = file("[ab].plist", "");
    ASSERT_EQ(symlink(b.c_str(), m_folder.file("files/c.plist").c_str()), 0);
    EXPECT_THAT(pathsOf(files() + "/?.plist"), ElementsAre(a, b, b));
    EXPECT_THAT(pathsOf(odd), ElementsAre(odd));
    EXPECT_THAT(pathsOf(files() + "/\\[ab\\].*"), ElementsAre(odd));
    EXPECT_THAT(pathsOf(files() + "/none.*"), IsEmpty());
    EXPECT_THAT(pathsOf(files() + "/none"), IsEmpty());
    EXPECT_THAT(pathsOf("file://" + files() + "/%5Bab%5D.plist"), ElementsAre(odd));
    EXPECT_THAT(pathsOf("http://host/page"), IsEmpty());

    EXPECT_THAT(pathsOf("*/Help"), IsEmpty());
    const std::string help = m_folder.write("resources/Help/x.html", "");
    const std::string text = m_folder.write("resources/Help.txt", "");
    EXPECT_THAT(pathsOf("*/Help"), ElementsAre(m_folder.file("resources/Help")));
    EXPECT_THAT(pathsOf("*/x/Help.txt"), ElementsAre(text));
}

TEST_F(SiftwellIndexerTest, ATildeIsTheHomeFolder) {
    const char* home = std::getenv("HOME");
    const std::string before = home == nullptr ? "" : home;
    const std::string history = file("Library/History.plist", "");
    setenv("HOME", files().c_str(), 1);
    EXPECT_THAT(pathsOf("~/Library/History.*"), ElementsAre(history));
    EXPECT_THAT(pathsOf("~/Library/History.plist"), ElementsAre(history));
    setenv("HOME", before.c_str(), 1);
}

TEST_F(SiftwellIndexerTest, PathsThatCannotBeUsedAreThrown) {
    EXPECT_EQ(complaintAbout(""), "InvalidPath: The path name was empty.");
    EXPECT_EQ(complaintAbout("ftp://host/x"),
              "InvalidPath: The LocalFiles indexer cannot handle ftp URLs.");
    std::filesystem::create_directory(files());
    const std::string loop = m_folder.file("files/loop");
    ASSERT_EQ(symlink("loop", loop.c_str()), 0);
    EXPECT_EQ(complaintAbout(files() + "/lo*"),
              "InvalidPath: The path \"" + loop + "\" does not exist.");
}

TEST_F(SiftwellIndexerTest, AddressesAreThePathItselfOrItsFiles) {
    const std::string a = file("a b.txt", "");
    EXPECT_THAT(urlsOf("http://host/?q=1"), ElementsAre("http://host/?q=1"));
    EXPECT_THAT(urlsOf("/no/such/file"), ElementsAre("/no/such/file"));
    EXPECT_THAT(urlsOf(a), ElementsAre("file://" + files() + "/a%20b.txt"));
    EXPECT_THAT(thrownBy([&] { urlsOf("gopher://host/"); }), StartsWith("InvalidPath"));
}

TEST_F(SiftwellIndexerTest, TheDateOfEntriesIsNeverLaterThanThatOfTheScan) {
    m_item.LastScanDate = Date::fromReference(100);
    m_item.LastURLDate = Date::fromReference(200);
    BareIndexer& indexer = bare();
    EXPECT_EQ(seconds(indexer.lastURLDate()), 100);
    indexer.setLastScanDate(Date::fromReference(300));
    EXPECT_EQ(seconds(indexer.lastURLDate()), 200);

    m_record->change([](SearchItem& edited) { edited.LastScanDate = Date::fromReference(50); });
    EXPECT_EQ(seconds(indexer.lastScanDate()), 300);
    EXPECT_EQ(indexer.searchItem(), m_record);
    EXPECT_EQ(seconds(indexer.lastScanDate()), 50);

    indexer.setLastURLDate(std::nullopt);
    EXPECT_EQ(seconds(m_record->item().LastURLDate), 200);
    m_item = {.Name = "Item"};
    EXPECT_EQ(bare().lastURLDate(), Date::distantPast());
}

TEST_F(SiftwellIndexerTest, ChangedFilesOfAListDependOnTheirOrderAndThoseOfAFolderDoNot) {
    const std::string newer = file("newer.txt", "", 300);
    const std::string older = file("older.txt", "", 200);
    const std::string bookmarks = file("Bookmarks", "", 400);
    const std::string picture = file("picture.jpg", "", 500);
    EXPECT_THAT(changedAmong({newer, older, picture, bookmarks, files() + "/missing"}),
                ElementsAre(newer, bookmarks));
    EXPECT_EQ(seconds(m_item.LastScanDate), 400);

    m_item.LastScanDate = Date::fromReference(200);
    EXPECT_THAT(changedAmong({files()}), ElementsAre(bookmarks, newer));
    EXPECT_EQ(seconds(m_item.LastScanDate), 400);
    m_loop.drain();
    EXPECT_THAT(m_progress, ElementsAre("Waiting...", "/Waiting...", "Checking file dates...",
                                        "/Checking file dates..."));
    EXPECT_THAT(changedAmong({files()}), IsEmpty());
    setChanged(older, 401);
    store().disableIndexing();
    EXPECT_THAT(changedAmong({files()}), IsEmpty());
    EXPECT_EQ(seconds(m_item.LastScanDate), 400);
}

TEST_F(SiftwellIndexerTest, ABatchIsHandedOverUntilIndexingIsSwitchedOff) {
    m_item.LastScanDate = Date::fromReference(5000);
    m_item.LastURLDate = Date::fromReference(100);
    for (const char* page : {"http://a/", "http://b/"}) m_site.text(page, html("", "word"));
    const std::vector<BatchEntry> entries = {
        {.url = url("http://a/"), .date = Date::fromReference(300), .title = "A"},
        {.url = url("http://b/"), .source = "Other", .indexer = "OtherIndexer"}};
    EXPECT_EQ(seconds(bare().indexURLAndDateArray(entries)), 300);
    m_loop.drain();
    EXPECT_THAT(m_announced, ElementsAre(2));
    finish();
    EXPECT_EQ(filed("http://a/"), "300 Item LocalFiles");
    EXPECT_EQ(recordOf("http://a/")->title, "A");
    EXPECT_EQ(whereIs("http://b/"), "Other.http");
    store().disableIndexing();
    EXPECT_EQ(seconds(bare().indexURLAndDateArray(entries)), 100);
}

TEST_F(SiftwellIndexerTest, DatabasesAreCopiedWithTheirCompanions) {
    setenv("TMPDIR", m_folder.file("tmp").c_str(), 1);
    std::filesystem::create_directory(m_folder.file("tmp"));
    const std::string database = file("History.db", "main");
    file("History.db-wal", "wal");
    file("History.db-journal", "journal");
    const std::string copy = bare().copyOfSQLiteDatabaseFileAtPath(database);
    const std::string again = bare().copyOfSQLiteDatabaseFileAtPath(database);
    EXPECT_NE(copy, again);
    EXPECT_THAT(lastPathComponent(copy),
                testing::MatchesRegex(std::to_string(getpid()) + "\\.[0-9]+\\.History\\.db"));
    EXPECT_EQ(readFile(copy, 100).value(), "main");
    EXPECT_EQ(readFile(copy + "-wal", 100).value(), "wal");
    EXPECT_FALSE(fileInfo(copy + "-shm"));
    struct stat info {};
    ASSERT_EQ(stat(folderOf(copy).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);

    BareIndexer::deleteCopyOfSQLiteDatabaseFileAtPath(copy);
    EXPECT_FALSE(fileInfo(copy));
    EXPECT_FALSE(fileInfo(copy + "-wal"));
    EXPECT_TRUE(fileInfo(copy + "-journal"));

    EXPECT_EQ(thrownBy([&] { bare().copyOfSQLiteDatabaseFileAtPath(database + "x"); }),
              "CopyFailed: The LocalFiles indexer could not copy your database file.  No such file "
              "or directory " +
                  database + "x");
    const std::size_t before = filesBelow(m_folder.file("tmp")).size();
    ASSERT_EQ(mkfifo((database + "-shm").c_str(), 0600), 0);
    EXPECT_THAT(thrownBy([&] { bare().copyOfSQLiteDatabaseFileAtPath(database); }),
                HasSubstr("could not copy your database-shm file.  "));
    EXPECT_EQ(filesBelow(m_folder.file("tmp")).size(), before);

    // Nobody else may wait for the copies.
    std::filesystem::permissions(folderOf(copy), std::filesystem::perms::others_read,
                                 std::filesystem::perm_options::add);
    EXPECT_THAT(thrownBy([&] { bare().copyOfSQLiteDatabaseFileAtPath(database); }),
                StartsWith("CopyFailed"));
    unsetenv("TMPDIR");
}

TEST_F(SiftwellIndexerTest, HistoriesWaitForACacheAndWalksForEachOther) {
    BareIndexer& cache = bare();
    BareIndexer history(surroundings(), m_record, "SafariHistory");
    std::atomic<bool> isCacheDone = false;
    std::atomic<bool> isWalkDone = false;
    auto cacheHold = cache.beginCacheIndexing();
    auto walkHold = cache.lockDirectory();
    std::promise<void> start;
    auto waited = std::async(std::launch::async, [&] {
        start.set_value();
        history.waitForCacheIndexing();
        EXPECT_TRUE(isCacheDone);
        const auto hold = history.lockDirectory();
        EXPECT_TRUE(isWalkDone);
    });
    start.get_future().wait();
    isCacheDone = true;
    cacheHold.reset();
    isWalkDone = true;
    walkHold.reset();
    waited.get();
}

TEST_F(SiftwellIndexerTest, ItemsNameTheirIndexerByItsClass) {
    bare();
    for (const char* name : {"LocalFiles", "URLExtractor", "SingleURL", "InternetExplorer"}) {
        const auto indexer = makeIndexer(name, surroundings(), m_record);
        ASSERT_NE(indexer, nullptr) << name;
        EXPECT_EQ(indexer->name(), "Item");
        EXPECT_FALSE(indexer->dataFromCache("/x"));
    }
    EXPECT_EQ(makeIndexer("SiftwellIndexer", surroundings(), m_record), nullptr);

    const auto isLocal = [](const char* path, const char* indexer) {
        return worksWithoutNetwork({.Path = path, .Indexer = indexer});
    };
    EXPECT_TRUE(isLocal("~/x", "LocalFiles"));
    EXPECT_TRUE(isLocal("~/x", "SafariCache"));
    EXPECT_FALSE(isLocal("~/x", "URLExtractor"));
    EXPECT_TRUE(isLocal("file:///x%20y", "SingleURL"));
    EXPECT_TRUE(isLocal("/x y", "SingleURL"));
    EXPECT_FALSE(isLocal("https://host/", "SingleURL"));
}

}  // namespace
}  // namespace siftwell
