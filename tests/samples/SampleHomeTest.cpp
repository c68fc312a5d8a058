// What a first and a second scan of a home folder hand over, source by source.
//
// $SIFTWELL_SAMPLES names a folder with archives of home folders and `expected.json`, whose `items`
// say for each source what must be handed over, what may be, and what must not.

#include <gmock/gmock.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <set>

#include "app/RegisteredDefaults.h"
#include "base/Exception.h"
#include "base/Files.h"
#include "indexers/Indexers.h"
#include "indexers/OmniWebHistory.h"
#include "retrieval/RetrieverFixture.h"
#include "samples/Samples.h"

namespace siftwell {
namespace {

using nlohmann::json;

// Keeps what it is handed, and does nothing with it.
class RecordingRetriever : public DocumentRetriever {
public:
    struct Document {
        std::string url;
        std::optional<Date> date;
        std::string source;
        std::string indexer;
        std::string objectPath;  // of bytes that were handed over
        std::optional<std::string> mimeType;
        std::string title;
        std::optional<std::string> encodingName;
        std::size_t bytes = 0;
    };

    using DocumentRetriever::DocumentRetriever;

    void indexDocument(const Url& url, std::optional<Date> date, std::optional<std::string> title,
                       const std::string& source, const std::string& indexer) override {
        documents.push_back(
            {url.absoluteString(), date, source, indexer, "", {}, title.value_or("")});
    }
    bool indexEncodedObject(const CachedObject& object, std::optional<Date> date,
                            const std::string& source, const std::string& indexer,
                            const std::string& objectPath) override {
        const auto keep = [&](const auto& head, const std::string& data) {
            documents.push_back({head.url.absoluteString(), date, source, indexer, objectPath,
                                 head.mimeType, "", head.textEncodingName, data.size()});
        };
        if (const auto* resource = std::get_if<WebResource>(&object)) {
            keep(*resource, resource->data);
        } else if (const auto* cached = std::get_if<CachedURLResponse>(&object)) {
            keep(cached->response, cached->data);
        }
        return true;
    }

    std::vector<Document> documents;
};

class SampleHomeTest : public RetrieverFixture {
protected:
    using Document = RecordingRetriever::Document;

    void SetUp() override {
        SW_SAMPLES_OR_SKIP(m_samples);
        m_expected = m_samples->json("expected.json");
        m_settings->registerDefaults(registeredDefaults(m_clock.now()));
        m_recorder = std::make_unique<RecordingRetriever>(surroundings());
        // After everything that the samples are dated with.
        m_clock.setNow(Date::parseUtc("2026-11-21 12:00:00").value());
    }
    void TearDown() override { m_recorder.reset(); }

    // The items of an indexer that stand for files of their own.
    std::vector<json> itemsOf(const std::string& indexer) {
        std::vector<json> items;
        for (const json& item : m_expected["items"]) {
            if (item["indexer"] == indexer) items.push_back(item);
        }
        return items;
    }
    // Those of an item, or of the items that it is made of.
    std::vector<json> entriesOf(const json& item) {
        std::vector<json> entries = item.value("entries", std::vector<json>());
        for (const json& part : item.value("entries_of", json::array())) {
            for (const json& other : m_expected["items"]) {
                if (other["id"] != part) continue;
                for (const json& entry : entriesOf(other)) entries.push_back(entry);
            }
        }
        return entries;
    }

    SiftwellIndexer::Surroundings recording() {
        return {store(), *m_recorder, m_notifier, *m_settings, m_paths, m_clock, m_locks};
    }

    std::vector<Document> scan(SearchItem& item) {
        m_recorder->documents.clear();
        const auto record = std::make_shared<SearchItemRecord>(item);
        const auto indexer = makeIndexer(item.Indexer, recording(), record);
        EXPECT_NE(indexer, nullptr) << item.Indexer;
        if (indexer != nullptr) indexer->performIndexingScan();
        item = record->item();
        EXPECT_EQ(item.ScanResult, 0) << item.Path;
        return m_recorder->documents;
    }

    SearchItem itemFor(const json& described) {
        return {.Name = described["id"],
                .Index = true,
                .LastScanDate = Date::distantPast(),
                .Path = m_samples->home(described["archive"], m_folder.path()) + "/" +
                        described["path"].get<std::string>(),
                .Indexer = described["indexer"]};
    }

    // To the microsecond where that is given; some of those were rounded on their way.
    bool isDateRight(const json& entry, const std::optional<Date>& date) {
        if (entry.contains("date_added")) return date.has_value();  // which one is left open
        if (!entry.contains("date")) return !date;
        if (!date) return false;
        const std::string expected = entry["date"];
        if (expected == "now") return *date == m_clock.now();
        const double behind = *date - Date::parseUtc(expected.substr(0, 19)).value();
        const std::string fraction = "0" + expected.substr(19, expected.size() - 20);
        return fraction == "0" ? std::abs(behind) < 1
                               : std::abs(behind - std::stod(fraction)) < 3e-6;
    }

    // Each "must" is there once for each time that it is named, in its order where that is fixed;
    // nothing is there that is not named.
    void compare(const json& item, std::vector<Document> documents) {
        const bool isOrdered = item.value("ordered", json()).is_boolean() && item["ordered"];
        std::size_t at = 0;
        for (const json& entry : entriesOf(item)) {
            const std::string url = entry["url"];
            const auto from = documents.begin() + (isOrdered ? static_cast<std::ptrdiff_t>(at) : 0);
            const auto found = std::find_if(from, documents.end(), [&](const Document& document) {
                return document.url == url && isDateRight(entry, document.date);
            });
            if (found == documents.end()) {
                EXPECT_NE(entry["class"], "must") << "missing: " << entry;
                continue;
            }
            const bool isTitled = !entry.contains("browser_title") && entry.contains("title") &&
                                  entry["title"].is_string();
            EXPECT_EQ(found->title, isTitled ? entry["title"] : json("")) << url;
            EXPECT_EQ(found->source, entry.value("source", item["id"].get<std::string>()));
            EXPECT_EQ(found->indexer, entry.value("indexer", item["indexer"].get<std::string>()));
            if (entry.contains("object_path_ends_with")) compareObject(entry, *found);
            at = static_cast<std::size_t>(found - documents.begin());
            documents.erase(found);
        }
        for (const Document& document : documents) {
            ADD_FAILURE() << item["id"] << " handed over too: " << document.url;
        }
    }

    // What was handed over with its bytes, and what can be read again of it.
    void compareObject(const json& entry, const Document& document) {
        const std::string url = entry["url"];
        const std::string end = entry["object_path_ends_with"];
        EXPECT_TRUE(document.objectPath.ends_with(end)) << document.objectPath;
        EXPECT_EQ(document.mimeType, textIn(entry["mime_type"])) << url;
        EXPECT_EQ(document.encodingName, textIn(entry["encoding_name"])) << url;
        EXPECT_EQ(document.bytes, entry["body_bytes"]) << url;
        if (!entry.contains("read_back")) return;
        EXPECT_EQ(sizeReadAgain(document.indexer, document.objectPath), entry["read_back"]) << url;
    }
    // Null when nothing can be read.
    json sizeReadAgain(const std::string& indexer, const std::string& objectPath) {
        const auto record = std::make_shared<SearchItemRecord>(SearchItem());
        const auto data = makeIndexer(indexer, recording(), record)->dataFromCache(objectPath);
        return data ? json(data->bytes.size()) : json();
    }
    static std::optional<std::string> textIn(const json& value) {
        if (value.is_null()) return std::nullopt;
        return value.get<std::string>();
    }

    static std::multiset<std::string> told(const std::vector<Document>& documents) {
        std::multiset<std::string> texts;
        for (const Document& each : documents) {
            texts.insert(each.url + " " + (each.date ? each.date->iso8601() : ""));
        }
        return texts;
    }

    // Whether what was handed over comes again though nothing changed: by the item as the first
    // scan left it.
    using ComesAgain = std::function<bool(const SearchItem&, const Document&)>;

    // All items of the indexers; how many documents the first scans handed over.
    std::size_t scanTwice(const std::vector<std::string>& indexers, const ComesAgain& comesAgain) {
        std::size_t count = 0;
        for (const std::string& indexer : indexers) {
            for (const json& described : itemsOf(indexer)) {
                SCOPED_TRACE(described["id"]);
                SearchItem item = itemFor(described);
                auto documents = scan(item);
                compare(described, documents);
                count += documents.size();
                std::erase_if(documents, [&](const Document& document) {
                    return !comesAgain(item, document);
                });
                EXPECT_EQ(told(scan(item)), told(documents));
            }
        }
        return count;
    }

    std::optional<Samples> m_samples;
    json m_expected;
    IndexerLocks m_locks;
    std::unique_ptr<RecordingRetriever> m_recorder;
};

TEST_F(SampleHomeTest, ListsAndFilesOfAddressesHandOverWhatTheyHold) {
    // Files that are watched are read again at every scan.
    const auto isWatched = [](const SearchItem& item, const Document&) {
        return item.Path.ends_with(".monitor");
    };
    EXPECT_GT(scanTwice({"URLExtractor", "InternetExplorer"}, isWatched), 40U);
}

TEST_F(SampleHomeTest, BookmarksAndHistoriesOfAMacHandOverTheirPagesOnce) {
    const auto never = [](const SearchItem&, const Document&) { return false; };
    EXPECT_GE(scanTwice({"SafariBookmarks", "CaminoBookmarks", "Opera"}, never), 37U);
    EXPECT_TRUE(takeReports().empty());
}

// The date of a history's database moves no threshold, so that visits come until a property list
// beside it was read later than they were made.
TEST_F(SampleHomeTest, SafarisHistoryOffersTheVisitsInADatabaseAgain) {
    const auto isLater = [](const SearchItem& item, const Document& document) {
        return *document.date > item.LastScanDate.value_or(Date::distantPast());
    };
    EXPECT_GT(scanTwice({"SafariHistory"}, isLater), 100U);
    EXPECT_TRUE(takeReports().empty());
}

TEST_F(SampleHomeTest, SafarisCacheHandsOverItsBodiesOnce) {
    const auto never = [](const SearchItem&, const Document&) { return false; };
    EXPECT_GT(scanTwice({"SafariCache"}, never), 30U);
    for (const json& described : itemsOf("SafariCache")) {
        const SearchItem item = itemFor(described);
        for (const json& body : described.value("read_back", json::array())) {
            const std::string objectPath =
                item.Path + "/" + body["object_path_ends_with"].get<std::string>();
            EXPECT_EQ(sizeReadAgain("SafariCache", objectPath), body["bytes"]) << objectPath;
        }
    }
}

TEST_F(SampleHomeTest, OmniWebsHistoryFailsAndItsParserReadsIt) {
    for (const json& described : itemsOf("OmniWebHistory")) {
        SearchItem item = itemFor(described);
        EXPECT_THROW(scan(item), NamedException);
        EXPECT_TRUE(m_recorder->documents.empty());
        OmniWebHistory history(recording(), std::make_shared<SearchItemRecord>(item));
        const auto visits = history.parseHistory(*readFile(item.Path, 1 << 20));
        std::vector<Document> documents;
        for (const BatchEntry& visit : visits.value()) {
            documents.push_back({visit.url.absoluteString(), visit.date, item.Name, item.Indexer});
        }
        EXPECT_EQ(documents.size(), described["entries"].size());
        compare(described, documents);
    }
}

TEST_F(SampleHomeTest, DatabasesOfBrowsersHandOverTheirVisitsAndBookmarksOnce) {
    const auto never = [](const SearchItem&, const Document&) { return false; };
    EXPECT_GT(scanTwice({"FirefoxHistory", "FirefoxBookmarks", "ChromeHistory"}, never), 100U);
    EXPECT_TRUE(takeReports().empty());
}

TEST_F(SampleHomeTest, LocalFilesHandOverEachFileAndWhatArchivesHold) {
    const auto items = itemsOf("LocalFiles");
    ASSERT_FALSE(items.empty());
    for (const json& described : items) {
        SearchItem item = itemFor(described);
        const std::string folder = m_samples->home(described["archive"], m_folder.path()) + "/";
        std::multiset<std::string> expected;
        for (const json& entry : described["entries"]) {
            const std::string file = entry["file"];
            for (const json& object : entry.value("objects", json::array())) {
                expected.insert(file + " " + object["url"].get<std::string>() + " " +
                                object["mime_type"].get<std::string>());
            }
            if (!entry.contains("objects")) expected.insert(file);
        }
        std::multiset<std::string> found;
        for (const Document& document : scan(item)) {
            if (document.objectPath.empty()) {
                const auto url = Url::parse(document.url);
                found.insert(url->path()->substr(folder.size()));
            } else {
                found.insert(document.objectPath.substr(folder.size()) + " " + document.url + " " +
                             document.mimeType.value_or(""));
            }
        }
        EXPECT_EQ(found, expected);
        EXPECT_TRUE(scan(item).empty());
    }
}

}  // namespace
}  // namespace siftwell
