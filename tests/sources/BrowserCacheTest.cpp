#include "sources/caches/BrowserCache.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "CacheBytes.h"
#include "sources/caches/ChromiumBlockFiles.h"
#include "sources/caches/ChromiumResponse.h"
#include "sources/caches/ChromiumSimpleEntry.h"
#include "sources/caches/FirefoxCacheEntry.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using namespace cachebytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const Date kLongAgo = Date::fromUnix(1'000'000'000);
const Date k2023Ends = Date::fromUnix(1'700'000'000.999999);

std::optional<CachedPage> read(const FirefoxEntry& entry, Date modified = kLongAgo) {
    const std::string bytes = entry.bytes();
    return readFirefoxCacheEntry(BytesInMemory(bytes), modified);
}

std::optional<CachedPage> read(const SimpleEntry& entry, Date lastUsed = kLongAgo) {
    const std::string bytes = entry.bytes();
    return readChromiumSimpleEntry(BytesInMemory(bytes), lastUsed);
}

void expectThePage(const std::optional<CachedPage>& page, const std::string& body = kBody) {
    ASSERT_TRUE(page);
    EXPECT_EQ(page->url, kAddress);
    EXPECT_EQ(page->mimeType, "text/html");
    EXPECT_EQ(page->textEncodingName, "UTF-8");
    EXPECT_EQ(page->data, body);
    EXPECT_EQ(page->lastUsed, k2023Ends);
}

// Cuts the bytes at every place, and puts wild numbers in every place, one after the other.
void damage(const std::string& bytes, const std::function<void(const std::string&)>& use,
            std::size_t from = 0) {
    for (std::size_t at = from; at < bytes.size(); ++at) {
        use(bytes.substr(0, at));
        for (const char* wild :
             {"\xff\xff\xff\xff", "\x7f\xff\xff\xff", "\0\0\0\0", "\0\0\0\x01"}) {
            std::string damaged = bytes;
            use(damaged.replace(at, 4, wild, 4));
        }
    }
}

class FolderOfCache : public testing::Test {
protected:
    std::unique_ptr<BrowserCache> open(const std::string& below = "") {
        auto cache = BrowserCache::open(m_folder.file(below));
        return cache ? *std::move(cache) : nullptr;
    }

    std::vector<std::string> namesAfter(BrowserCache& cache, Date date,
                                        StatusCode code = StatusCode::Ok,
                                        const std::string& says = "") {
        std::vector<std::string> names;
        const auto [entries, status] = cache.entriesChangedAfter(date);
        EXPECT_EQ(status.code(), code) << status.message();
        EXPECT_THAT(status.message(), HasSubstr(says));
        for (const auto& entry : entries) names.push_back(entry.name);
        return names;
    }

    // With one page, unless told otherwise.
    void makeDatabase(const std::string& name, const std::string& rows = "") {
        execute(name, kTables);
        execute(name, rows.empty() ? pageAt("1") : rows);
    }
    static std::string pageAt(const std::string& row) {
        return "INSERT INTO resources VALUES (" + row + ", " + std::to_string(k2023) +
               ", 36, 0, '1/0/" + kAddress + "', " + blob(StoredResponse().bytes()) +
               "); INSERT INTO blobs VALUES (" + row + ", 10, 36, " + blob(kBody.substr(10)) +
               "), (" + row + ", 0, 10, " + blob(kBody.substr(0, 10)) + ");";
    }

    void execute(const std::string& file, const std::string& statements) {
        sqlite3* database = nullptr;
        sqlite3_open(m_folder.file(file).c_str(), &database);
        char* message = nullptr;
        sqlite3_exec(database, statements.c_str(), nullptr, nullptr, &message);
        EXPECT_EQ(message, nullptr) << message;
        sqlite3_close(database);
    }

    static std::string blob(const std::string& bytes) {
        std::string text = "x'";
        for (const char c : bytes) {
            text += "0123456789abcdef"[c >> 4 & 15];
            text += "0123456789abcdef"[c & 15];
        }
        return text + "'";
    }

    static constexpr const char* kTables =
        "CREATE TABLE resources(res_id INTEGER PRIMARY KEY, last_used, body_end, doomed, cache_key,"
        " head);"
        "CREATE TABLE blobs(res_id, start, end, blob);";
    TemporaryFolder m_folder;
};

// --- Firefox

TEST(FirefoxCacheEntryTest, AllVersionsAreRead) {
    for (const std::uint32_t version : {1U, 2U, 3U, 4U}) {
        SCOPED_TRACE(version);
        expectThePage(read(FirefoxEntry{.version = version}));
        const std::string large(600 << 10, 'x');
        expectThePage(read(FirefoxEntry{.body = large, .version = version}), large);
    }
    EXPECT_FALSE(read(FirefoxEntry{.version = 5}));
    EXPECT_FALSE(read(FirefoxEntry{.version = 4, .flags = 0x80000000}));  // encrypted
    const Date later = Date::fromUnix(1'800'000'000.25);
    EXPECT_EQ(read(FirefoxEntry{}, later)->lastUsed, later);
}

TEST(FirefoxCacheEntryTest, WhatIsNoWholePageOfTheWebIsLeft) {
    const auto with = [](std::vector<std::pair<std::string, std::string>> elements) {
        return read(FirefoxEntry{.elements = std::move(elements)});
    };
    const std::string length = std::to_string(kBody.size());
    EXPECT_TRUE(with({{"response-head", headOf({"Content-Length: " + length})}}));
    EXPECT_FALSE(with({{"response-head", headOf({"Content-Length: 37"})}}));
    EXPECT_FALSE(with({{"response-head", headOf({"Content-Range: bytes 0-35/36"})}}));
    EXPECT_FALSE(with({{"response-head", headOf({"Content-Encoding: gzip"})}}));
    EXPECT_FALSE(with({{"response-head", headOf({}, "text/html", "404 Not Found")}}));
    EXPECT_FALSE(with({{"request-method", "POST"}, {"response-head", headOf()}}));
    EXPECT_FALSE(with({{"request-method", "GET"}}));
    for (const char* type : {"text/plain", "text/xml", "application/xhtml+xml", "TEXT/HTML;x"}) {
        EXPECT_TRUE(with({{"response-head", headOf({}, type)}})) << type;
    }
    for (const char* type :
         {"text/css", "text/javascript", "image/svg+xml", "application/atom+xml", ""}) {
        EXPECT_FALSE(with({{"response-head", headOf({}, type)}})) << type;
    }
}

TEST(FirefoxCacheEntryTest, AnotherFormOfTheBodyBehindItIsLeft) {
    const auto with = [](const std::string& place) {
        return read(FirefoxEntry{.body = kBody + "compiled",
                                 .elements = {{"response-head", headOf()}, {"alt-data", place}}});
    };
    expectThePage(with("1;" + std::to_string(kBody.size()) + ",javascript/x"));
    for (const char* place : {"2;4,x", "1;999,x", "1;-4,x", "1;4", "1;,x", ""}) {
        EXPECT_FALSE(with(place)) << place;
    }
}

TEST(FirefoxCacheEntryTest, TheAddressFollowsTheTags) {
    const auto addressIn = [](const std::string& key) {
        const auto page = read(FirefoxEntry{.key = key});
        return page ? page->url : "";
    };
    EXPECT_EQ(addressIn(":http://h/:x"), "http://h/:x");
    EXPECT_EQ(addressIn("a,b,i7,~1,,2:3,:https://h/"), "https://h/");
    for (const char* key : {"", "http://h/", "a,p,:http://h/", "O^privateBrowsingId=1,:http://h/",
                            ":about:blank", ":http://", ":http://h/a b", "a:http://h/"}) {
        EXPECT_EQ(addressIn(key), "") << key;
    }
}

TEST(FirefoxCacheEntryTest, DamagedEntriesAreNoPages) {
    const std::string whole = FirefoxEntry{.version = 4}.bytes();
    damage(whole, [&](const std::string& bytes) {
        const auto page = readFirefoxCacheEntry(BytesInMemory(bytes), kLongAgo);
        EXPECT_FALSE(page && bytes.size() < whole.size() && page->data == kBody);
    });
}

// --- The simple form of the Chrome family

TEST(ChromiumSimpleEntryTest, AllFormsAreRead) {
    expectThePage(read(SimpleEntry{}));
    expectThePage(read(SimpleEntry{.key = kAddress, .flags = 0, .bodyChecksum = 7}));
    expectThePage(read(SimpleEntry{.response = StoredResponse{.flags = 1U << 31 | 3}.bytes()}));
    const std::string head = headOf({"Content-Encoding: br, gzip"});
    expectThePage(read(SimpleEntry{.response = StoredResponse{.head = head}.bytes(),
                                   .body = gzipped(brotli(kBody))}));
    const Date later = Date::fromUnix(1'800'000'000.25);
    EXPECT_EQ(read(SimpleEntry{}, later)->lastUsed, later);
}

TEST(ChromiumSimpleEntryTest, WhatWasSentCutShortOrChangedIsNoPage) {
    EXPECT_FALSE(read(SimpleEntry{.key = "1/17/" + kAddress}));
    EXPECT_FALSE(read(SimpleEntry{.key = "17/" + kAddress}));
    EXPECT_FALSE(read(SimpleEntry{.key = "1/0/Range_" + kAddress + ":7:1"}));
    EXPECT_FALSE(read(SimpleEntry{.response = StoredResponse{.flags = 1U << 12 | 3}.bytes()}));
    EXPECT_FALSE(read(SimpleEntry{.response = StoredResponse{.flags = 4}.bytes()}));
    EXPECT_FALSE(read(SimpleEntry{.bodyChecksum = 7}));
}

TEST(ChromiumSimpleEntryTest, DamagedEntriesAreNoPages) {
    const std::string whole = SimpleEntry{}.bytes();
    damage(whole, [&](const std::string& bytes) {
        const auto page = readChromiumSimpleEntry(BytesInMemory(bytes), kLongAgo);
        EXPECT_FALSE(page && bytes.size() < whole.size());
        EXPECT_TRUE(!page || page->data == kBody);  // the checksum of the body stands
    });
}

TEST(ChromiumSimpleEntryTest, TheIndexTellsWhenEntriesWereUsed) {
    for (const std::uint32_t version : {6U, 9U}) {
        const auto index = readChromiumSimpleIndex(simpleIndex({{1, k2023}, {~0ULL, 0}}, version));
        ASSERT_TRUE(index);
        EXPECT_EQ(index->at(1), k2023Ends);
        EXPECT_EQ(index->at(~0ULL), Date::distantPast());
    }
    EXPECT_FALSE(readChromiumSimpleIndex(simpleIndex({}, 10)));
    const std::string whole = simpleIndex({{1, k2023}});
    damage(whole, [&](const std::string& bytes) {
        EXPECT_TRUE(bytes == whole || !readChromiumSimpleIndex(bytes));
    });
}

// --- Block files

ChromiumBlockFiles readerOf(const BlockFolder& folder) {
    return ChromiumBlockFiles([&folder](const std::string& name) -> std::unique_ptr<ByteSource> {
        const auto file = folder.files.find(name);
        if (file == folder.files.end()) return nullptr;
        return std::make_unique<BytesInMemory>(file->second);
    });
}

TEST(ChromiumBlockFilesTest, EntriesOfAllSizesAreRead) {
    const std::string large(20'000, 'x');
    BlockFolder folder;
    const std::string longer = "_dk_" + std::string(400, 'k') + " " + kAddress;
    const std::string longest = "_dk_" + std::string(2000, 'k') + " " + kAddress;
    const auto first = folder.add();
    const auto second = folder.add(kBody, longer);
    const auto third = folder.add(large, longest);
    folder.add(kBody, kAddress, StoredResponse().bytes(), k2023, 1);  // evicted
    auto reader = readerOf(folder);
    std::vector<std::uint32_t> addresses;
    const auto [entries, code] = reader.entries();
    EXPECT_EQ(code, StatusCode::Ok);
    for (const auto& entry : entries) {
        addresses.push_back(entry.address);
        EXPECT_EQ(entry.lastUsed, k2023Ends);
    }
    EXPECT_THAT(addresses, ElementsAre(first, third, second));
    expectThePage(reader.page(first));
    expectThePage(reader.page(second));
    expectThePage(reader.page(third), large);
}

TEST(ChromiumBlockFilesTest, CirclesAndWildAddressesEnd) {
    BlockFolder folder;
    const auto first = folder.add();
    folder.add();
    folder.files["data_1"].replace(8192 + 4, 4, littleEndian(first + 1));  // the first leads back
    EXPECT_EQ(readerOf(folder).entries().entries.size(), 2U);
    EXPECT_EQ(readerOf(folder).entries().code, StatusCode::Ok);

    std::string& entries = folder.files["data_1"];
    const std::string whole = entries;
    damage(
        whole,
        [&](const std::string& bytes) {
            entries = bytes;
            auto reader = readerOf(folder);
            for (const auto& entry : reader.entries().entries) reader.page(entry.address);
            reader.page(first);
        },
        8192);
    entries = whole;
    entries.replace(8192 + 256 + 4, 4, littleEndian(first + 9));  // what follows is not there
    EXPECT_EQ(readerOf(folder).entries().entries.size(), 1U);
    EXPECT_EQ(readerOf(folder).entries().code, StatusCode::Damaged);
    entries.clear();
    EXPECT_THAT(readerOf(folder).entries().entries, IsEmpty());
    EXPECT_EQ(readerOf(folder).entries().code, StatusCode::Damaged);
    EXPECT_FALSE(readerOf(folder).page(first));
}

// --- Folders

TEST_F(FolderOfCache, FirefoxIsFoundFromAnyOfItsFolders) {
    const std::string name(40, 'A');
    m_folder.write("cache2/entries/" + name, FirefoxEntry{}.bytes());
    m_folder.write("cache2/entries/other", "");
    for (const char* below : {"", "cache2", "cache2/entries"}) {
        const auto cache = open(below);
        ASSERT_NE(cache, nullptr) << below;
        EXPECT_THAT(namesAfter(*cache, kLongAgo), ElementsAre(name));
        EXPECT_EQ(cache->page(name)->data, kBody);
        EXPECT_THAT(namesAfter(*cache, Date::distantFuture()), IsEmpty());
        EXPECT_FALSE(cache->page("other"));
        EXPECT_FALSE(cache->page("../entries/" + name));
    }
    std::string deep = "cache2/entries/d";
    for (int i = 0; i < 512; ++i) deep += "/d";
    std::filesystem::create_directories(m_folder.file(deep));
    EXPECT_THAT(namesAfter(*open(), kLongAgo, StatusCode::TooLarge, "nested too deeply"),
                ElementsAre(name));
}

TEST_F(FolderOfCache, SimpleEntriesThatWereUsedAgainHaveChanged) {
    const std::uint64_t used = k2023 + 400'000'000'000'000;  // some years from now
    m_folder.write("Cache/Cache_Data/index", littleEndian(0xfcfb6d1ba7725c30, 8));
    m_folder.write("Cache/Cache_Data/00000000000000ff_0", SimpleEntry{}.bytes());
    m_folder.write("Cache/Cache_Data/0000000000000001_0", SimpleEntry{}.bytes());
    m_folder.write("Cache/Cache_Data/0000000000000001_s", "parts");
    m_folder.write("Cache/Cache_Data/index-dir/the-real-index", simpleIndex({{255, used}}));
    for (const char* below : {"", "Cache", "Cache/Cache_Data"}) {
        const auto cache = open(below);
        ASSERT_NE(cache, nullptr) << below;
        EXPECT_THAT(namesAfter(*cache, kLongAgo),
                    ElementsAre("0000000000000001_0", "00000000000000ff_0"));
        EXPECT_THAT(namesAfter(*cache, Date::fromUnix(2'099'999'999)),
                    ElementsAre("00000000000000ff_0"));
        EXPECT_EQ(cache->page("00000000000000ff_0")->lastUsed,
                  chromiumDate(static_cast<std::int64_t>(used)));
        EXPECT_FALSE(cache->page("0000000000000001_s"));
    }
}

TEST_F(FolderOfCache, BlockFilesAreFound) {
    BlockFolder files;
    files.add(kBody, kAddress, StoredResponse().bytes(), k2023 + 5'000'000);
    files.add();
    for (const auto& [name, bytes] : files.files) m_folder.write("Cache/" + name, bytes);
    const auto cache = open("Cache");
    ASSERT_NE(cache, nullptr);
    EXPECT_THAT(namesAfter(*cache, kLongAgo), ElementsAre("a0010000", "a0010001"));
    EXPECT_THAT(namesAfter(*cache, k2023Ends), ElementsAre("a0010000"));
    expectThePage(cache->page("a0010001"));
    EXPECT_FALSE(cache->page("a001000"));
    std::string& index = files.files["index"];
    m_folder.write("Cache/index", index.substr(0, index.size() - 1));
    EXPECT_THAT(namesAfter(*open(), kLongAgo, StatusCode::Damaged, "/Cache is damaged"), IsEmpty());
    m_folder.write("Cache/index", index.replace(4, 4, littleEndian(9U << 16)));
    EXPECT_THAT(namesAfter(*open(), kLongAgo, StatusCode::UnknownVersion, "/Cache"), IsEmpty());
}

TEST_F(FolderOfCache, DatabasesHoldPagesInPieces) {
    const std::string response = blob(StoredResponse().bytes());
    m_folder.write("index", "SQLCache2");
    makeDatabase("sqldb0", pageAt("1") + "INSERT INTO resources VALUES (2, 5, 36, 0, '" + kAddress +
                               "', " + response + "), (3, 5, 36, 1, '" + kAddress + "', " +
                               response + "), (4, 'x', 36, 0, 7, 7), (-5, 5, 36, 0, '" + kAddress +
                               "', " + response + ");" + "INSERT INTO blobs VALUES (2, 1, 36, " +
                               blob(kBody.substr(1)) + "), (3, 0, 36, " + blob(kBody) +
                               "), (4, 0, 36, " + blob(kBody) + "), (-5, 0, 36, " + blob(kBody) +
                               ");");
    const auto cache = open();
    ASSERT_NE(cache, nullptr);
    const std::string name = "sqldb000:000000000000000000";
    EXPECT_THAT(namesAfter(*cache, kLongAgo), ElementsAre(name + "1", name + "4"));
    EXPECT_THAT(namesAfter(*cache, Date::distantFuture()), IsEmpty());
    expectThePage(cache->page("sqldb0:1"));
    expectThePage(cache->page(name + "1"));
    for (const char* other :
         {"sqldb0:2", "sqldb0:3", "sqldb0:4", "sqldb0:-5", "sqldb0:9", "sqldb3:1", "../sqldb0:1",
          "sqldb0", "sqldb0:", "sqldb0:1x", "sqldb:1", ":", ""}) {
        EXPECT_FALSE(cache->page(other)) << other;
    }
}

TEST_F(FolderOfCache, EntriesOfManyDatabasesStandInTheOrderOfTheirNames) {
    m_folder.write("index", "SQLCache2");
    for (const char* each : {"sqldb0", "sqldb2", "sqldb9", "sqldb10", "sqldb11"}) {
        makeDatabase(each, pageAt("2") + pageAt("12"));
    }
    for (const char* other : {"sqldb", "sqldb07", "sqldb1000", "sqldb1-wal"}) {
        m_folder.write(other, "no database of the cache");
    }
    const auto cache = open();
    const auto names = namesAfter(*cache, kLongAgo);
    EXPECT_EQ(names.size(), 10U);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end())) << testing::PrintToString(names);
    for (const std::string& name : names) expectThePage(cache->page(name));
}

TEST_F(FolderOfCache, TheRestIsListedBesideWhatCannotBeRead) {
    m_folder.write("index", "SQLCache2");
    makeDatabase("sqldb0");
    makeDatabase("sqldb2");
    const auto expectFailure = [this](StatusCode code, const std::string& says) {
        const auto cache = open();
        EXPECT_EQ(namesAfter(*cache, kLongAgo, code, says).size(), 2U);
        EXPECT_FALSE(cache->page("sqldb1:1"));
        std::filesystem::remove(m_folder.file("sqldb1"));
    };
    m_folder.write("sqldb1", std::string(8192, 'x'));
    expectFailure(StatusCode::Damaged, "/sqldb1 is encrypted, damaged or no database.");
    execute("sqldb1", "CREATE TABLE resources(res_id)");
    expectFailure(StatusCode::UnknownVersion, "/sqldb1 has an unknown form: no such column");
    execute("sqldb1",
            "CREATE VIEW resources AS SELECT 1 AS res_id, 2 AS last_used, 0 AS doomed,"
            " 36 AS body_end, 'k' AS cache_key, 'h' AS head;"
            "CREATE TABLE blobs(res_id, start, end, blob)");
    expectFailure(StatusCode::UnknownVersion, "no such table: resources");
    makeDatabase("sqldb1");
    m_folder.write("sqldb1-journal",
                   std::string(512, '\1') + "/other" + "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7");
    expectFailure(StatusCode::Damaged, "/sqldb1 is damaged.");
}

TEST_F(FolderOfCache, WhatIsNoCacheIsNotFound) {
    m_folder.write("Cache/index", "something else");
    EXPECT_EQ(BrowserCache::open(m_folder.path()).status().code(), StatusCode::NotFound);
    m_folder.write("Cache/index", "SQLCache1");
    EXPECT_THAT(namesAfter(*open(), kLongAgo), IsEmpty());
}

}  // namespace
}  // namespace siftwell
