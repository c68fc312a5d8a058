// What is read of browsers, up to where it is handed over, and of a cache the whole road.
//
//   bench_indexers [--visits N] [--entries N]
//
// A history of N visits (500,000 unless told), each to a page of its own, beside SQLite alone
// walking the same rows in this process: Firefox's, which the indexer tool reads, and Safari's. A
// cache of N entries (20,000) of 30 kB each, beside reading its files; and one of Safari's of
// 20 kB each, half of them within the database, up to the hand-over and into the index.

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "base/Log.h"
#include "base/PropertyListFormat.h"
#include "indexers/Indexers.h"
#include "sqlite/PLSqliteDatabase.h"
#include "support/BenchSession.h"
#include "support/Memory.h"
#include "support/TemporaryFolder.h"

namespace siftwell::bench {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::string_view_literals;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Counts what it is handed and drops it.
class CountingRetriever : public DocumentRetriever {
public:
    using DocumentRetriever::DocumentRetriever;

    void indexDocument(const Url&, std::optional<Date>, std::optional<std::string>,
                       const std::string&, const std::string&) override {
        ++documents;
    }
    bool indexEncodedObject(const CachedObject& object, std::optional<Date>, const std::string&,
                            const std::string&, const std::string&) override {
        ++documents;
        bytes += std::visit([](const auto& kept) { return kept.data.size(); }, object);
        return true;
    }

    std::size_t documents = 0;
    std::size_t bytes = 0;
};

template <typename Retriever>
class Run {
public:
    Run() {
        m_retriever = std::make_unique<Retriever>(DocumentRetriever::Surroundings{
            m_session->indexes(), m_session->notifier(), m_session->centre(), m_session->settings(),
            m_session.loop(), m_session->clock(), m_session->network(),
            std::make_shared<RouteReachability>(), nullptr});
    }

    // Seconds for one scan.
    double scan(const std::string& indexer, const std::string& path) {
        const auto item = std::make_shared<SearchItemRecord>(
            SearchItem{.Name = "Bench", .Path = path, .Indexer = indexer});
        const auto start = Clock::now();
        makeIndexer(indexer,
                    {m_session->indexes(), *m_retriever, m_session->notifier(),
                     m_session->settings(), m_session->paths(), m_session->clock(), m_locks},
                    item)
            ->performIndexingScan();
        const double seconds = secondsSince(start);
        m_session.loop().turn(std::chrono::milliseconds(0));
        return seconds;
    }
    const Retriever& retriever() const { return *m_retriever; }
    std::int64_t documents() { return m_session->indexes().documentCount(); }

private:
    BenchSession m_session;
    std::unique_ptr<Retriever> m_retriever;
    IndexerLocks m_locks;
};

// The most that any child had, in MiB.
double memoryOfTool() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

void run(PLSqliteDatabase& database, const std::string& statement,
         const PropertyList::Array& args = {}) {
    const auto rows = database.executeQuery(statement, args);
    while (rows != nullptr && rows->next()) {
    }
}

// SQL for a table of the numbers from 1.
std::string numbersTo(std::size_t last) {
    return "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(last) + ") ";
}

std::string makeHistory(const TemporaryFolder& folder, std::size_t visits) {
    std::string path = folder.file("places.sqlite");
    const auto database = PLSqliteDatabase::databaseWithPath(path);
    if (!database->open()) std::exit(1);
    run(*database,
        "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url TEXT, title TEXT, hidden INTEGER, "
        "last_visit_date INTEGER)");
    run(*database,
        "CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, place_id INTEGER, "
        "visit_date INTEGER, visit_type INTEGER)");
    const std::string numbers = numbersTo(visits);
    run(*database, numbers +
                       "INSERT INTO moz_places SELECT i, 'https://www.example.org/a/page/of/' || i "
                       "|| '/some-length.html', 'The title of page number ' || i, 0, "
                       "1700000000000000 + i * 1000000 FROM n");
    run(*database, numbers +
                       "INSERT INTO moz_historyvisits SELECT i, i, 1700000000000000 + i * "
                       "1000000, 1 FROM n");
    run(*database, "CREATE INDEX visits ON moz_historyvisits (place_id, visit_date)");
    return path;
}

double secondsOfSqlite(const std::string& path, const std::string& query) {
    const auto start = Clock::now();
    const auto database = PLSqliteDatabase::databaseWithPath(path);
    if (!database->openWithFlags(PLSqliteDatabase::kReadOnly)) std::exit(1);
    const auto rows = database->executeQuery(query);
    std::size_t bytes = 0;
    while (rows->next()) bytes += rows->stringForColumnIndex(0).size();
    return bytes == 0 ? 0 : secondsSince(start);
}

void benchHistory(std::size_t visits) {
    const TemporaryFolder folder;
    const std::string path = makeHistory(folder, visits);
    const double sqlite =
        secondsOfSqlite(path,
                        "SELECT url, title, max(visit_date) FROM moz_places, moz_historyvisits "
                        "WHERE place_id = moz_places.id GROUP BY place_id");
    Run<CountingRetriever> run;
    const double before = ownMemory();
    const double seconds = run.scan("FirefoxHistory", path);
    std::printf(
        "history: %zu visits, %zu handed over, %.2f s; SQLite alone %.2f s: %.2f x; "
        "memory %.1f MiB, %.1f before; the tool %.1f at most\n",
        visits, run.retriever().documents, seconds, sqlite, seconds / sqlite, ownMemory(), before,
        memoryOfTool());
}

std::string makeSafariHistory(const TemporaryFolder& folder, std::size_t visits) {
    std::string path = folder.file("History.db");
    const auto database = PLSqliteDatabase::databaseWithPath(path);
    if (!database->open()) std::exit(1);
    run(*database, "CREATE TABLE history_items (id INTEGER PRIMARY KEY, url TEXT NOT NULL UNIQUE)");
    run(*database,
        "CREATE TABLE history_visits (id INTEGER PRIMARY KEY, history_item INTEGER NOT NULL, "
        "visit_time REAL NOT NULL, title TEXT, redirect_destination INTEGER)");
    const std::string numbers = numbersTo(visits);
    run(*database, numbers +
                       "INSERT INTO history_items SELECT i, 'https://www.example.org/a/page/of/' "
                       "|| i || '/some-length.html' FROM n");
    run(*database, numbers +
                       "INSERT INTO history_visits SELECT i, i, 700000000.5 + i * 100, "
                       "'The title of page number ' || i, null FROM n");
    run(*database, "CREATE INDEX last_visit ON history_visits (history_item, visit_time DESC)");
    return path;
}

void benchSafariHistory(std::size_t visits) {
    const TemporaryFolder folder;
    const std::string path = makeSafariHistory(folder, visits);
    const double sqlite = secondsOfSqlite(
        path,
        "SELECT url, visit_time FROM history_items, history_visits WHERE history_item = "
        "history_items.id");
    Run<CountingRetriever> run;
    const double before = ownMemory();
    const double seconds = run.scan("SafariHistory", path);
    std::printf(
        "Safari's history: %zu visits, %zu handed over, %.2f s; SQLite alone %.2f s: %.2f x; "
        "memory %.1f MiB, %.1f before\n",
        visits, run.retriever().documents, seconds, sqlite, seconds / sqlite, ownMemory(), before);
}

// An entry of the cache that keeps a file for each: body, hashes, what belongs to it, its place.
std::string cacheEntry(const std::string& url, const std::string& body) {
    std::string bytes = body;
    const auto number = [&bytes](std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    };
    const std::string key = ":" + url;
    const std::string head =
        "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
        std::to_string(body.size()) + "\r\n";
    number(0);  // its hash
    for (std::size_t at = 0; at < body.size(); at += std::size_t{256} << 10) bytes += "\0\0"sv;
    number(3);  // version
    number(1);
    number(1'700'000'000);
    number(1'700'000'000);
    number(0);
    number(1'900'000'000);
    number(static_cast<std::uint32_t>(key.size()));
    number(0);
    bytes += key + '\0';
    bytes += "request-method" + std::string(1, '\0') + "GET" + '\0';
    bytes += "response-head" + std::string(1, '\0') + head + '\0';
    number(static_cast<std::uint32_t>(body.size()));
    return bytes;
}

void makeCache(const TemporaryFolder& folder, std::size_t entries) {
    constexpr std::size_t kBody = 30'000;
    for (std::size_t i = 0; i < entries; ++i) {
        std::string body = "<html><title>Page " + std::to_string(i) + "</title>";
        while (body.size() < kBody)
            body += "<p>words and more words, " + std::to_string(body.size());
        const std::string number = std::to_string(i);
        const std::string name = std::string(40 - number.size(), '0') + number;
        folder.write("cache2/entries/" + name,
                     cacheEntry("https://www.example.org/" + std::to_string(i), body));
    }
}

double secondsOfReading(const std::string& folder) {
    const auto start = Clock::now();
    std::string bytes;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        bytes.resize(entry.file_size());
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    return secondsSince(start);
}

void benchCache(std::size_t entries) {
    const TemporaryFolder folder;
    makeCache(folder, entries);
    const double reading = secondsOfReading(folder.file("cache2/entries"));
    Run<CountingRetriever> run;
    const double before = ownMemory();
    const double seconds = run.scan("FirefoxCache", folder.path());
    std::printf(
        "cache: %zu entries, %zu pages of %.0f MB handed over, %.2f s; reading its files "
        "%.2f s: %.2f x; memory %.1f MiB, %.1f before; the tool %.1f at most\n",
        entries, run.retriever().documents, static_cast<double>(run.retriever().bytes) / 1e6,
        seconds, reading, seconds / reading, ownMemory(), before, memoryOfTool());
}

// A page of some 20 kB in words of its own.
std::string pageOfWords(std::size_t number) {
    constexpr std::size_t kBytes = 20'000;
    std::string page =
        "<html><head><title>Page " + std::to_string(number) + "</title></head><body>";
    for (std::size_t i = 0; page.size() < kBytes; ++i) {
        page += "<p class=\"n\">The <a href=\"/page?n=" + std::to_string(i) + "\">bird" +
                std::to_string(number * i % 977) + "</a> of the harbour stands on one leg, " +
                "<em>always</em>; see egret" + std::to_string((number + i) % 6100) + ".</p>\n";
    }
    return page + "</body></html>";
}

// Half of the bodies lie in the database, the others beside it.
void makeSafariCache(const TemporaryFolder& folder, std::size_t entries) {
    const auto database = PLSqliteDatabase::databaseWithPath(folder.file("Cache.db"));
    if (!database->open()) std::exit(1);
    run(*database, "PRAGMA synchronous = OFF");
    run(*database,
        "CREATE TABLE cfurl_cache_response (entry_ID INTEGER PRIMARY KEY AUTOINCREMENT, "
        "time_stamp NOT NULL DEFAULT CURRENT_TIMESTAMP)");
    run(*database,
        "CREATE TABLE cfurl_cache_blob_data (entry_ID INTEGER PRIMARY KEY, response_object BLOB)");
    run(*database,
        "CREATE TABLE cfurl_cache_receiver_data (entry_ID INTEGER PRIMARY KEY, isDataOnFS INTEGER, "
        "receiver_data BLOB)");
    run(*database, "CREATE INDEX time_stamp_index ON cfurl_cache_response (time_stamp)");
    database->beginTransaction();
    for (std::size_t i = 1; i <= entries; ++i) {
        const auto id = static_cast<std::int64_t>(i);
        const bool isFile = i % 2 == 0;
        const std::string name = "body-" + std::to_string(i);
        if (isFile) folder.write("fsCachedData/" + name, pageOfWords(i));
        const PropertyList::Dictionary response{
            {"Array", PropertyList::Array{
                          PropertyList::Dictionary{
                              {"_CFURLString", "https://www.example.org/" + std::to_string(i)}},
                          1.5, 0, 200,
                          PropertyList::Dictionary{{"Content-Type", "text/html; charset=utf-8"}},
                          20'000, "text/html"}}};
        run(*database,
            "INSERT INTO cfurl_cache_response VALUES (?, datetime(1700000000 + ?, 'unixepoch'))",
            {id, id});
        run(*database, "INSERT INTO cfurl_cache_blob_data VALUES (?, ?)",
            {id, PropertyList::Data{serializePropertyList(response)}});
        run(*database, "INSERT INTO cfurl_cache_receiver_data VALUES (?, ?, ?)",
            {id, isFile ? 1 : 0,
             isFile ? PropertyList(name) : PropertyList(PropertyList::Data{pageOfWords(i)})});
    }
    database->commitTransaction();
}

void benchSafariCache(std::size_t entries) {
    const TemporaryFolder folder;
    makeSafariCache(folder, entries);
    {
        Run<CountingRetriever> run;
        const double before = ownMemory();
        const double seconds = run.scan("SafariCache", folder.path());
        std::printf(
            "Safari's cache: %zu entries, %zu pages of %.0f MB handed over, %.2f s; memory "
            "%.1f MiB, %.1f before\n",
            entries, run.retriever().documents, static_cast<double>(run.retriever().bytes) / 1e6,
            seconds, ownMemory(), before);
    }
    Run<DocumentRetriever> run;
    const double before = ownMemory();
    const double seconds = run.scan("SafariCache", folder.path());
    std::printf("the same into the index: %lld pages, %.2f s; memory %.1f MiB, %.1f before\n",
                static_cast<long long>(run.documents()), seconds, ownMemory(), before);
}

}  // namespace

}  // namespace siftwell::bench

int main(int argc, char** argv) {
    std::size_t visits = 500'000;
    std::size_t entries = 20'000;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view option = argv[i];
        if (option == "--visits") visits = std::strtoull(argv[i + 1], nullptr, 10);
        if (option == "--entries") entries = std::strtoull(argv[i + 1], nullptr, 10);
    }
    siftwell::setLogSink([](std::string_view) {});
    siftwell::bench::benchHistory(visits);
    siftwell::bench::benchSafariHistory(visits);
    siftwell::bench::benchCache(entries);
    siftwell::bench::benchSafariCache(entries);
}
