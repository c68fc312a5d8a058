// IndexFixture: a store of indexes in a temporary folder, in virtual time.
#pragma once

#include <gmock/gmock.h>

#include <map>

#include "base/Files.h"
#include "base/Log.h"
#include "fulltext/Search.h"
#include "index/IndexController.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace siftwell {

// A number for the bytes of every file in the folder and those in it.
inline std::map<std::string, std::size_t> filesBelow(const std::string& folder) {
    std::map<std::string, std::size_t> found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        const std::string path = entry.path().string();
        found[path] = std::hash<std::string>()(readFile(path, 1 << 24).value());
    }
    return found;
}

// What lies on the disk before somebody lets go is what is found there afterwards.
template <typename LetGo>
void killWhileOpen(const std::string& folder, LetGo letGo) {
    std::filesystem::copy(folder, folder + ".kept", std::filesystem::copy_options::recursive);
    letGo();
    std::filesystem::remove_all(folder);
    std::filesystem::rename(folder + ".kept", folder);
}

class OnlineNetwork : public NetworkReachability {
public:
    bool isReachable(const std::string&) override {
        ++asked;
        return isOnline;
    }
    bool isHostReachable(const std::string&) override { return isOnline; }

    bool isOnline = true;
    int asked = 0;
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
            m_log.append(line) += '\n';
        });
        m_settings->registerDefaults({{"NativeExtensions", PropertyList::Array{"txt", "html"}},
                                      {"ExtractorExtensions", PropertyList::Array{"pdf"}},
                                      {"FilteredExtensions", PropertyList::Array{"jpg"}}});
        watch("SiftwellErrorNotification", [this](const PropertyList& record) {
            const auto& error = *record.asDictionary();
            m_errors.push_back(std::to_string(integerFor(error, "severity").value_or(0)) + " " +
                               stringFor(error, "error"));
            m_details = stringFor(error, "details");
        });
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
        m_loaderEnds = 0;
        m_store = std::make_unique<IndexController>(
            IndexController::Surroundings{m_paths, *m_settings, m_loop, m_centre, m_notifier,
                                          m_clock, m_network, &m_extractor},
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
    void kill() {
        killWhileOpen(m_folder.file("data"), [this] { m_store.reset(); });
        m_loop.drain();
    }

    // A page of that moment, in seconds, or of none.
    static AddRequest request(const std::string& address, const std::string& text,
                              const std::string& source = "Pages",
                              const std::optional<double>& seconds = 1000,
                              const std::optional<std::string>& title = std::nullopt) {
        const auto date = seconds ? std::optional(Date::fromReference(*seconds)) : std::nullopt;
        return {text, text, url(address), source, "Tester", date, title, std::nullopt};
    }
    template <typename... Given>
    void add(const std::string& address, const std::string& text, const Given&... given) {
        store().addDataToIndex(request(address, text, given...));
        m_loop.drain();
    }

    // Behind the back of the rules that keep a page in one index only.
    SKIndex put(const std::string& address, const std::string& source) {
        SKIndex index = store().skIndexForSource(source, url(address).scheme(), true);
        const auto added = index->index->add(key(address), "word", "word");
        const PropertyRecord record = {Date::fromReference(1), source, "Tester", "T", address, {}};
        index->properties->addSKDocument(added->id, record);
        return index;
    }

    std::string whereIs(const std::string& address) {
        const SKIndex index = store().skIndexForSKDocument(key(address), std::nullopt);
        return index == nullptr ? "" : index->name;
    }
    std::optional<PropertyRecord> recordOf(const std::string& address) {
        const SKDocument named = store().skDocumentForURL(url(address)).value();
        const SKIndex index = store().skIndexForSKDocument(named, std::nullopt);
        if (index == nullptr) return std::nullopt;
        const auto document = index->index->documentWith(named);
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
        return m_errors;
    }
    bool isLogged(const std::string& part) {
        MutexLock lock(m_logMutex);
        return m_log.find(part) != std::string::npos;
    }

    void watch(const std::string& name, NotificationCentre::Observer observer) {
        m_observations.push_back(m_centre.observe(name, std::move(observer)));
    }

    TemporaryFolder m_folder;
    Paths m_paths{.settingsFile = m_folder.file("x.plist"),
                  .oldIndexFolder = m_folder.file("config/Siftwell Index"),
                  .applicationData = m_folder.file("data"),
                  .stateFolder = m_folder.file("state"),
                  .resourceFolder = m_folder.file("resources"),
                  .indexerTool = Paths::ofThisUser().indexerTool};
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    std::unique_ptr<Settings> m_settings =
        Settings::open(m_folder.file("x.plist"), Settings::Access::ReadWrite, m_loop).value();
    NotificationCentre m_centre{m_loop};
    SWNotifier m_notifier{m_centre, m_clock};
    OnlineNetwork m_network;
    FileExtractor m_extractor;
    std::vector<NotificationCentre::Observation> m_observations;
    std::vector<std::string> m_errors;             // severity and text
    std::string m_details;                         // of the last one
    std::vector<PropertyList::Array> m_summaries;  // as the loader sent them
    std::vector<std::string> m_told;               // "+" or "-" and the address
    std::vector<bool> m_toggles;
    int m_loaderEnds = 0;
    Mutex m_logMutex;
    std::string m_log SW_GUARDED_BY(m_logMutex);
    std::unique_ptr<IndexController> m_store;
};

}  // namespace siftwell
