// What a first and a second scan of a home folder hand over, source by source.
//
// $SIFTWELL_SAMPLES names a folder with archives of home folders and `expected.json`, whose `items`
// say for each source what must be handed over, what may be, and what must not.

#include <gmock/gmock.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <set>

#include "app/RegisteredDefaults.h"
#include "indexers/Indexers.h"
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
        std::string mimeType;
        std::string title;
    };

    using DocumentRetriever::DocumentRetriever;

    void indexDocument(const Url& url, std::optional<Date> date, std::optional<std::string> title,
                       const std::string& source, const std::string& indexer) override {
        documents.push_back(
            {url.absoluteString(), date, source, indexer, "", "", title.value_or("")});
    }
    bool indexEncodedObject(const CachedObject& object, std::optional<Date> date,
                            const std::string& source, const std::string& indexer,
                            const std::string& objectPath) override {
        const auto* resource = std::get_if<WebResource>(&object);
        documents.push_back({resource == nullptr ? "" : resource->url.absoluteString(), date,
                             source, indexer, objectPath,
                             resource == nullptr ? "" : resource->mimeType.value_or(""), ""});
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

    std::vector<Document> scan(SearchItem& item) {
        m_recorder->documents.clear();
        const auto record = std::make_shared<SearchItemRecord>(item);
        const auto indexer = makeIndexer(
            item.Indexer,
            {store(), *m_recorder, m_notifier, *m_settings, m_paths, m_clock, m_locks}, record);
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
            if (entry.contains("title") && !entry.contains("browser_title")) {
                EXPECT_EQ(found->title, entry["title"].is_null() ? "" : entry["title"]) << url;
            }
            if (entry.contains("source")) EXPECT_EQ(found->source, entry["source"]);
            if (entry.contains("indexer")) EXPECT_EQ(found->indexer, entry["indexer"]);
            at = static_cast<std::size_t>(found - documents.begin());
            documents.erase(found);
        }
        for (const Document& document : documents) {
            ADD_FAILURE() << item["id"] << " handed over too: " << document.url;
        }
    }

    // All items of the indexers; how many documents the first scans handed over. What comes a
    // second time must be right to do so.
    std::size_t scanTwice(const std::vector<std::string>& indexers,
                          const std::function<bool(const Document&)>& isRightAgain) {
        std::size_t count = 0;
        for (const std::string& indexer : indexers) {
            for (const json& described : itemsOf(indexer)) {
                SCOPED_TRACE(described["id"]);
                SearchItem item = itemFor(described);
                const auto documents = scan(item);
                compare(described, documents);
                count += documents.size();
                for (const Document& again : scan(item)) {
                    EXPECT_TRUE(isRightAgain(again)) << again.url;
                }
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
    // Nothing changed; files that are watched are read again nevertheless.
    const auto isRight = [this](const Document& again) { return again.date == m_clock.now(); };
    EXPECT_GT(scanTwice({"URLExtractor", "InternetExplorer"}, isRight), 40U);
}

TEST_F(SampleHomeTest, DatabasesOfBrowsersHandOverTheirVisitsAndBookmarksOnce) {
    const auto isRight = [](const Document&) { return false; };
    EXPECT_GT(scanTwice({"FirefoxHistory", "FirefoxBookmarks", "ChromeHistory"}, isRight), 100U);
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
                             document.mimeType);
            }
        }
        EXPECT_EQ(found, expected);
        EXPECT_TRUE(scan(item).empty());
    }
}

}  // namespace
}  // namespace siftwell
