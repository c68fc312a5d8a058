// Bookmarks of the Firefox family, of Flock and of Shiira.

#include <lz4.h>

#include "BrowserDatabaseFixture.h"
#include "base/PropertyListFormat.h"
#include "sources/browsers/FirefoxBookmarkBackup.h"
#include "sources/browsers/FirefoxBookmarks.h"
#include "sources/browsers/FlockBookmarks.h"
#include "sources/browsers/MozLz4.h"
#include "sources/browsers/ShiiraBookmarks.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string packed(const std::string& text, std::size_t claimedSize) {
    std::string block(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(text.size()))),
                      0);
    block.resize(static_cast<std::size_t>(LZ4_compress_default(
        text.data(), block.data(), static_cast<int>(text.size()), static_cast<int>(block.size()))));
    std::string head("mozLz40\0", 8);
    for (int shift = 0; shift < 32; shift += 8) head += static_cast<char>(claimedSize >> shift);
    return head + block;
}

constexpr const char* kBackup =
    R"({"guid":"root________","title":"","typeCode":2,"root":"placesRoot","children":[
        {"title":"menu","dateAdded":1000000,"typeCode":2,"children":[
          {"title":"Owl","dateAdded":1795225088865000,"typeCode":1,"type":"text/x-moz-place","uri":"http://owl/"},
          {"typeCode":3},
          {"dateAdded":"2000000","uri":"http://text-date/"},
          {"dateAdded":true,"title":7,"uri":"http://odd/","annos":[{"name":"x","uri":{"uri":1}}]},
          {"title":"Most visited","dateAdded":3000000,"uri":"place:sort=8"},
          {"title":"Program","dateAdded":3000000,"uri":"JavaScript:alert"
}]
},
        {"title":"tags","root":"tagsFolder","children":[
          {"title":"winter","children":[{"dateAdded":4000000,"uri":"http://owl/"}]}]}]
})";

class BrowserBookmarksTest : public BrowserDatabaseFixture {
protected:
    static Lines backup(std::string_view bytes, StatusCode code = StatusCode::Ok) {
        Lines lines;
        EXPECT_EQ(readFirefoxBookmarkBackup(bytes, into(lines)).code(), code);
        return lines;
    }
    static Status allOf(BrowserDatabase& database, Date, const TakeEntry& take) {
        return readFirefoxBookmarks(database, take);
    }
    static StatusCode unpacking(const std::string& bytes) {
        return unpackMozLz4(bytes).status().code();
    }
};

TEST_F(BrowserBookmarksTest, FirefoxTagsAndQueriesAreNoBookmarks) {
    const std::string tables =
        "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url);"
        "INSERT INTO moz_places VALUES (1, 'http://a/'), (2, 'place:sort=8'), (3, 'javascript:x'),"
        " (4, 'http://b/');";
    const std::string folders =
        "(2, 2, NULL, 1, 'menu', 0, 'menu________'),"
        "(4, 2, NULL, 1, 'tags', 0, 'tags________'),"
        "(5, 2, NULL, 4, 'winter', 0, 'wwwwwwwwwwww'),";
    make(tables +
         "CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type, fk, parent, title, dateAdded, "
         "guid);"
         "INSERT INTO moz_bookmarks VALUES " +
         folders +
         "(6, 1, 1, 2, 'A', 1795225088865000, 'a'), (7, 1, 1, 5, NULL, 1795225088917000, 'b'),"
         "(8, 1, 4, 2, NULL, 'when', 'c'), (9, 1, 2, 2, 'Q', 1, 'd'), (10, 1, 3, 2, 'J', 1, 'e'),"
         "(11, 3, NULL, 2, '', 1, 'f'), (12, 1, 99, 2, 'lost', 1, 'g');");
    EXPECT_THAT(read(allOf), ElementsAre("http://a/|1795225088.865000|A", "http://b/|-|"));
    make(tables +
         "CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type, fk, parent, title, dateAdded);"
         "CREATE TABLE moz_bookmarks_roots (root_name, folder_id);"
         "INSERT INTO moz_bookmarks_roots VALUES ('menu', 2), ('tags', 4);"
         "INSERT INTO moz_bookmarks VALUES (5, 2, NULL, 4, 'winter', 0), (6, 1, 1, 5, NULL, 1),"
         " (7, 1, 4, 2, 'B', 1000000);");
    EXPECT_THAT(read(allOf), ElementsAre("http://b/|1.000000|B"));
}

TEST_F(BrowserBookmarksTest, FirefoxBackupsAreTreesPackedOrNot) {
    const Lines all{"http://owl/|1795225088.865000|Owl", "http://text-date/|2.000000|",
                    "http://odd/|-|"};
    EXPECT_EQ(backup(kBackup), all);
    EXPECT_EQ(backup(packed(kBackup, std::string_view(kBackup).size())), all);
    EXPECT_EQ(backup(std::string(kBackup).substr(0, 700), StatusCode::Damaged), all);
    EXPECT_THAT(backup(std::string(1000, '['), StatusCode::Damaged), IsEmpty());
    EXPECT_THAT(backup("", StatusCode::Damaged), IsEmpty());
}

TEST_F(BrowserBookmarksTest, PackedFilesUnpackToWhatTheyClaimAndNoMore) {
    EXPECT_EQ(*unpackMozLz4(packed("words words words", 17)), "words words words");
    EXPECT_EQ(unpacking(packed("words words words", 16)), StatusCode::Damaged);
    EXPECT_EQ(unpacking(packed("words words words", 18)), StatusCode::Damaged);
    EXPECT_EQ(unpacking(packed("words", kMaxUnpackedBytes)), StatusCode::Damaged);
    EXPECT_EQ(unpacking(packed("words", kMaxUnpackedBytes + 1)), StatusCode::TooLarge);
    EXPECT_EQ(unpacking(std::string("mozLz40\0\5", 9)), StatusCode::Damaged);
}

TEST_F(BrowserBookmarksTest, TheNewestBackupIsThatOfTheLastDay) {
    EXPECT_EQ(newestBookmarkBackup(m_folder.file("missing")), std::nullopt);
    const std::string newest = m_folder.write("bookmarks-2026-11-21_21_XmVt.jsonlz4", "");
    const std::string same = m_folder.write("bookmarks-2026-11-21_20_Abcd.jsonlz4", "");
    std::filesystem::last_write_time(
        same, std::filesystem::last_write_time(newest) - std::chrono::seconds(60));
    for (const char* other : {"bookmarks-2012-10-28.json", "bookmarks-2027-99-01.jsonlz4",
                              "bookmarks-2028-01-01.html", "x-2028-01-01.json"}) {
        m_folder.write(other, "");
    }
    std::filesystem::create_directory(m_folder.file("bookmarks-2029-01-01.json"));
    EXPECT_EQ(newestBookmarkBackup(m_folder.path()), newest);
}

TEST_F(BrowserBookmarksTest, FlockKeepsThemAsTheChromeFamilyDoes) {
    Lines lines;
    const Status status = readFlockBookmarks(
        R"({"roots":{"bookmark_bar":{"children":[{"date_added":"13439698874750772","name":"A",
            "type":"url","url":"http://a/"}],"name":"Bar","type":"folder"}},"version":1})",
        into(lines));
    EXPECT_TRUE(status.isOk());
    EXPECT_THAT(lines, ElementsAre("http://a/|1795225274.750772|A"));
}

TEST_F(BrowserBookmarksTest, ShiiraSpellsItsKeysInSeveralWays) {
    using Dictionary = PropertyList::Dictionary;
    using Array = PropertyList::Array;
    const Array list{
        Dictionary{{"Title", "Folder"},
                   {"Children", Array{Dictionary{{"Title", "A"}, {"URLString", "http://a/"}},
                                      Dictionary{{"title", "B"}, {"url", "http://b/"}},
                                      Dictionary{{"Title", 7}, {"URLString", "http://c/"}}}}},
        Dictionary{{"Title", "Program"}, {"URLString", "javascript:x"}}, "text"};
    Lines lines;
    EXPECT_TRUE(readShiiraBookmarks(serializePropertyList(list), into(lines)).isOk());
    EXPECT_THAT(lines, ElementsAre("http://a/|-|A", "http://b/|-|B", "http://c/|-|"));
    EXPECT_FALSE(readShiiraBookmarks("no list", into(lines)).isOk());
}

}  // namespace
}  // namespace siftwell
