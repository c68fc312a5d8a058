// IndexFixture: a store of indexes in a temporary folder, in virtual time.
#pragma once

#include <gmock/gmock.h>

#include "base/Log.h"
#include "fulltext/Search.h"
#include "index/IndexController.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace siftwell {

class OnlineNetwork : public NetworkReachability {
public:
    bool isReachable(const std::string& address) override {
        asked.push_back(address);
        return isOnline;
    }

    bool isOnline = true;
    std::vector<std::string> asked;
};

class FileExtractor : public ContentExtractor {
public:
    std::optional<std::string> textOf(const Url&) override { return text; }

    std::optional<std::string> text;
};

class IndexFixture : public testing::Test {
protected:
    using Access = IndexController::Access;

    IndexFixture() {
        setLogSink([this](std::string_view line) {
            MutexLock lock(m_logMutex);
            m_log.emplace_back(line);
        });
        m_settings->registerDefaults({{"NativeExtensions", PropertyList::Array{"txt", "html"}},
                                      {"ExtractorExtensions", PropertyList::Array{"pdf"}},
                                      {"FilteredExtensions", PropertyList::Array{"jpg"}}});
        watch("SiftwellErrorNotification",
              [this](const PropertyList& error) { m_errors.push_back(*error.asDictionary()); });
        watch("SiftwellStatusRemoveURLNotification", [this](const PropertyList& url) {
            if (url.asString() != nullptr) m_told.push_back("-" + *url.asString());
        });
        watch("SiftwellStatusAddURLNotification", [this](const PropertyList& added) {
            if (const auto* record = added.asDictionary()) {
                m_told.push_back("+" + stringFor(*record, "url"));
            } else {
                m_summaries.push_back(*added.asArray());
            }
        });
        watch("SiftwellIndexingToggleNotification",
              [this](const PropertyList& isOn) { m_toggles.push_back(*isOn.asBoolean()); });
        watch("SiftwellIndexerProgressDoneNotification", [this](const PropertyList& progress) {
            if (stringFor(*progress.asDictionary(), "source") == "Loader") ++m_loaderEnds;
        });
    }
    ~IndexFixture() override {
        m_store.reset();
        setLogSink(nullptr);
    }

    static Url url(const std::string& address) { return Url::parse(address).value(); }
    static SKDocument key(const std::string& address) {
        return {url(address).scheme(), url(address).resourceSpecifier()};
    }

    std::string indexFile(const std::string& name) const {
        return m_folder.file("data/Siftwell/" + name);
    }
    bool hasIndexFile(const std::string& name) const {
        return m_folder.has("data/Siftwell/" + name);
    }

    // The first access makes the store as the program does at its start.
    IndexController& store() {
        if (m_store == nullptr) start(Access::ReadWrite);
        return *m_store;
    }
    void start(Access access) {
        makeStore(access);
        if (access == Access::ReadOnly) return;
        waitForLoader();
        m_store->enableIndexing();
        m_loop.drain();
    }
    void makeStore(Access access) {
        const Paths paths{.settingsFile = m_folder.file("x.plist"),
                          .oldIndexFolder = m_folder.file("config/Siftwell Index"),
                          .applicationData = m_folder.file("data"),
                          .stateFolder = m_folder.file("state"),
                          .resourceFolder = m_folder.file("resources")};
        m_loaderEnds = 0;
        m_store = std::make_unique<IndexController>(
            IndexController::Surroundings{paths, *m_settings, m_loop, m_centre, m_notifier, m_clock,
                                          m_network, &m_extractor},
            access);
    }
    void waitForLoader() {
        while (m_loaderEnds == 0) {
            m_loop.drain();
            std::this_thread::yield();
        }
    }
    void end() {
        store().closeIndex();
        m_store.reset();
        m_loop.drain();
    }
    void restart(Access access = Access::ReadWrite) {
        end();
        start(access);
    }
    // What lies on the disk now is what the next start finds.
    void kill() {
        std::filesystem::copy(m_folder.file("data"), m_folder.file("kept"),
                              std::filesystem::copy_options::recursive);
        m_store.reset();
        std::filesystem::remove_all(m_folder.file("data"));
        std::filesystem::rename(m_folder.file("kept"), m_folder.file("data"));
        m_loop.drain();
    }

    struct Given {
        std::string source = "Pages";
        std::optional<Date> date = Date::fromReference(1000);
        std::optional<std::string> title;
    };
    void add(const std::string& address, const std::string& text, const Given& given) {
        store().addDataToIndex({.content = text,
                                .readable = text,
                                .url = url(address),
                                .source = given.source,
                                .indexer = "Tester",
                                .date = given.date,
                                .title = given.title,
                                .cachePath = std::nullopt});
        m_loop.drain();
    }
    void add(const std::string& address, const std::string& text) { add(address, text, Given()); }

    // Behind the back of the rules that keep a page in one index only.
    SKIndex put(const std::string& address, const std::string& source) {
        SKIndex index = store().skIndexForSource(source, url(address).scheme(), true);
        const auto added = index->index->add(key(address), "word", "word");
        index->properties->addSKDocument(added->id, PropertyRecord{.date = Date::fromReference(1),
                                                                   .source = source,
                                                                   .indexer = "Tester",
                                                                   .title = "T",
                                                                   .url = address});
        return index;
    }

    std::string whereIs(const std::string& address) {
        const SKIndex index = store().skIndexForSKDocument(key(address), std::nullopt);
        return index == nullptr ? "" : index->name;
    }
    std::optional<PropertyRecord> recordOf(const std::string& address) {
        const SKIndex index = store().skIndexForSKDocument(key(address), std::nullopt);
        if (index == nullptr) return std::nullopt;
        const auto document = index->index->documentWith(key(address));
        return store().propertiesForDocumentID(document->value(), index);
    }

    // The addresses that hold the words.
    std::vector<std::string> find(const std::string& query,
                                  const std::optional<std::vector<std::string>>& sources = {}) {
        std::vector<std::string> found;
        for (const RunningSearch& running : *store().startSearch(sources, query)) {
            const auto matches = running.search->findMatches(1000, std::chrono::seconds(10));
            EXPECT_TRUE(matches) << matches.status().message();
            for (const fulltext::Hit& hit : matches->hits) {
                const auto record = store().propertiesForDocumentID(hit.document, running.index);
                found.push_back(record ? record->url : "no record");
            }
        }
        store().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
        return found;
    }

    std::vector<std::string> errors() {
        m_loop.drain();
        std::vector<std::string> texts;
        for (const auto& error : m_errors) {
            texts.push_back(std::to_string(integerFor(error, "severity").value_or(0)) + " " +
                            stringFor(error, "error"));
        }
        return texts;
    }
    bool isLogged(const std::string& part) {
        MutexLock lock(m_logMutex);
        return std::any_of(m_log.begin(), m_log.end(), [&part](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    }

    void watch(const std::string& name, NotificationCentre::Observer observer) {
        m_observations.push_back(m_centre.observe(name, std::move(observer)));
    }

    TemporaryFolder m_folder;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    std::unique_ptr<Settings> m_settings =
        Settings::open(m_folder.file("x.plist"), Settings::Access::ReadWrite, m_loop).value();
    NotificationCentre m_centre{m_loop};
    SWNotifier m_notifier{m_centre, m_clock};
    OnlineNetwork m_network;
    FileExtractor m_extractor;
    std::vector<NotificationCentre::Observation> m_observations;
    std::vector<PropertyList::Dictionary> m_errors;
    std::vector<PropertyList::Array> m_summaries;  // as the loader sent them
    std::vector<std::string> m_told;               // "+" or "-" and the address
    std::vector<bool> m_toggles;
    int m_loaderEnds = 0;
    Mutex m_logMutex;
    std::vector<std::string> m_log SW_GUARDED_BY(m_logMutex);
    std::unique_ptr<IndexController> m_store;
};

}  // namespace siftwell
