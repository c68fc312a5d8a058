#include "app/AppController.h"

#include <cstdlib>

#include "SessionFixture.h"
#include "base/Url.h"
#include "fulltext/Search.h"

namespace siftwell {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

class CountingAlerts : public Alerts {
public:
    std::size_t ask(const Alert& alert, std::size_t safeAnswer) override {
        titles.push_back(alert.title);
        return safeAnswer;
    }

    std::vector<std::string> titles;
};

class AppControllerTest : public SessionFixture {
protected:
    AppControllerTest() {
        setenv("SIFTWELL_ONLINE", "no", 1);
        m_home.write("resources/Help/fragments.html",
                     "<html><head><title>Fragments</title></head><body>parts of words</body>");
    }
    ~AppControllerTest() override {
        end();
        unsetenv("SIFTWELL_ONLINE");
    }

    AppController& launch() {
        m_session = open(Purpose::Writing).value();
        m_observation = m_session->centre().observe(
            "SiftwellErrorNotification", [this](const PropertyList& record) {
                m_errors.push_back(stringFor(*record.asDictionary(), "error"));
            });
        m_controller = std::make_unique<AppController>(AppController::Surroundings{
            .session = *m_session, .alerts = m_alerts, .isResident = true});
        return *m_controller;
    }
    void end() {
        if (m_controller == nullptr) return;
        const ProgramEnd ended = closeProgram(m_controller, m_session);
        EXPECT_TRUE(ended.status.isOk() && !ended.areThreadsLeft);
    }
    void waitForScan() {
        EXPECT_TRUE(m_loop->turnUntil([&] { return m_controller->scanState()->ended > 0; },
                                      std::chrono::seconds(60)));
    }
    void addPage(const std::string& url, const std::string& source) {
        m_session->indexes().parseAndAddContent({.content = "<html><body>moss</body></html>",
                                                 .url = Url::parse(url).value(),
                                                 .date = std::nullopt,
                                                 .title = "A page",
                                                 .cachePath = std::nullopt,
                                                 .source = source,
                                                 .indexer = "URLExtractor",
                                                 .mimeType = "text/html"});
        m_session->indexes().flush();
    }
    std::size_t found(const std::string& word) {
        std::size_t count = 0;
        for (const RunningSearch& each : *m_session->indexes().startSearch(std::nullopt, word)) {
            count += each.search->findMatches(100, std::chrono::seconds(10))->hits.size();
        }
        m_session->indexes().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
        return count;
    }
    std::size_t items() { return m_session->preferences().mutableSearchItemsArray().size(); }
    const SearchItem* item(const std::string& name) {
        for (const SearchItem& each : m_session->preferences().mutableSearchItemsArray()) {
            if (each.Name == name) return &each;
        }
        return nullptr;
    }

    CountingAlerts m_alerts;
    std::vector<std::string> m_errors;
    NotificationCentre::Observation m_observation;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<AppController> m_controller;
};

TEST_F(AppControllerTest, FirstLaunchReadsTheHelpPagesWithoutANetworkAndWithoutAWait) {
    launch().applicationDidFinishLaunching();
    waitForScan();
    EXPECT_EQ(found("fragments"), 1U);
    EXPECT_THAT(m_errors, IsEmpty());
    EXPECT_THAT(m_alerts.titles, IsEmpty());
    // The scan of everything is still to come.
    const auto status = *m_controller->status();
    const double wait = *dateFor(status, "nextScan") - SystemClock().now();
    EXPECT_TRUE(wait > 30 && wait <= 60) << wait;
    EXPECT_EQ(item("Siftwell Help")->ScanResult, 0);
    EXPECT_FALSE(m_session->settings().boolean("FirstRunExplanationShown")) << "without windows";
}

TEST_F(AppControllerTest, LoaderThatEndsTwiceOpensTheGateOnce) {
    AppController& controller = launch();
    controller.waitUntilIndexingIsEnabled();
    m_session->indexes().disableIndexing();
    m_session->notifier().reportProgressDoneIn("Loader", "");
    m_loop->turn(std::chrono::milliseconds(0));
    m_loop->turn(std::chrono::milliseconds(0));
    EXPECT_FALSE(m_session->indexes().indexingEnabled());
    m_session->indexes().enableIndexing();
}

TEST_F(AppControllerTest, FolderThatIsAddedAgainIsASecondItem) {
    const Driver::Addition folder{.url = Url::fromFilePath(m_home.path()), .isScanStarted = false};
    const std::size_t before = launch().addToIndex(folder).isOk() ? items() : 0;
    EXPECT_TRUE(m_controller->addToIndex(folder).isOk());
    EXPECT_EQ(items(), before + 1);
}

TEST_F(AppControllerTest, FileThatNobodyExplainedIsIndexedAsItIs) {
    const std::string file = m_home.write("links.html", "<a href=\"http://h/\">linked</a>");
    AppController& controller = launch();
    controller.waitUntilIndexingIsEnabled();
    EXPECT_TRUE(controller.addToIndex({.url = Url::fromFilePath(file)}).isOk());
    waitForScan();
    EXPECT_THAT(m_alerts.titles, ElementsAre("What should Siftwell do with this file?"));
    EXPECT_EQ(found("linked"), 1U);
}

// Whoever asks over the bus may ask for anything.
TEST_F(AppControllerTest, WhatIsNotThereOrNotForUsersIsNotEdited) {
    AppController& controller = launch();
    EXPECT_EQ(controller.setSearchItemValue("Safari Cache", "ScanResult", 0).code(),
              StatusCode::Invalid);
    EXPECT_EQ(controller.setSearchItemValue("Nobody", "Index", true).code(), StatusCode::NotFound);
    EXPECT_EQ(controller.deleteURLFilter("/secret/").code(), StatusCode::NotFound);
    EXPECT_EQ(controller.setSetting("SearchItems", PropertyList::Array{}).code(),
              StatusCode::Invalid);
    EXPECT_EQ(controller.addToIndex({.url = Url::parse("file:///").value()}).code(),
              StatusCode::Invalid);
    m_loop->turn(std::chrono::milliseconds(0));
    EXPECT_THAT(m_errors, ElementsAre("Please enter a valid URL to a page or document."));
    // A filter counts for the running program at once.
    EXPECT_TRUE(controller.addURLFilter("/secret/").isOk());
    m_loop->turn(std::chrono::milliseconds(0));
    m_loop->turn(std::chrono::milliseconds(0));
    EXPECT_FALSE(m_session->indexes().canProcessURL(Url::parse("http://h/secret/x").value()));
}

TEST_F(AppControllerTest, ErrorsAreKeptForOtherProcessesWithinBounds) {
    launch();
    m_session->notifier().reportError("Odd \xff\n", 5, "http://h/", "a\nb");
    m_session->notifier().reportError("Bare", 3, std::nullopt, std::nullopt);
    m_loop->turn(std::chrono::milliseconds(0));
    auto errors = ErrorLog::read(m_paths.stateFolder);
    EXPECT_THAT(errors, ElementsAre(FieldsAre("Odd \uFFFD\n", 5, "http://h/", "a\nb", _),
                                    FieldsAre("Bare", 3, "", "", _)));
    for (int i = 0; i < 600; ++i) {
        m_session->notifier().reportError("Error " + std::to_string(i), 5, "",
                                          std::string(9000, 'x'));
    }
    m_loop->turn(std::chrono::milliseconds(0));
    errors = ErrorLog::read(m_paths.stateFolder);
    EXPECT_LT(errors.size(), 400U);
    EXPECT_EQ(errors.back().error, "Error 599");
}

TEST_F(AppControllerTest, DisablingIndexingEndsTheSearchThatTheScanWouldWaitFor) {
    for (int i = 0; i < 300; ++i) m_home.write("many/" + std::to_string(i) + ".txt", "page");
    AppController& controller = launch();
    controller.waitUntilIndexingIsEnabled();
    EXPECT_TRUE(controller.addToIndex({.url = Url::fromFilePath(m_home.file("many"))}).isOk());
    m_session->indexes().startSearch(std::nullopt, "page");  // holds the priority from now on
    controller.disableIndexing();
    EXPECT_TRUE(m_loop->turnUntil(
        [&] { return controller.hasIndexingCompleted(std::chrono::milliseconds(0)); },
        std::chrono::seconds(20)));
    EXPECT_FALSE(controller.scanState()->isScanning);
    EXPECT_TRUE(m_session->indexes().currentSearch().isNone());
    controller.enableIndexing();
}

TEST_F(AppControllerTest, RemovingPagesLeavesARunningSearchAlone) {
    AppController& controller = launch();
    controller.waitUntilIndexingIsEnabled();
    addPage("https://host/moss", "One");
    addPage("https://host/moss", "Two");
    IndexController& indexes = m_session->indexes();
    const auto search = indexes.startSearch(std::nullopt, "moss");
    EXPECT_EQ(controller.removeFromIndex({"https://host/moss", "https://host/fern"}).value(), 1U);
    EXPECT_EQ(indexes.currentSearch().running, search);
    EXPECT_EQ(indexes.documentCount(), 0);  // it stood in two indexes
    EXPECT_EQ(found("moss"), 0U);
}

TEST_F(AppControllerTest, PagesThatAreStillToBeRemovedAtTheEndAreRemoved) {
    launch().waitUntilIndexingIsEnabled();
    addPage("https://host/moss", "One");
    m_controller->removePages({"https://host/moss"});
    end();
    launch().waitUntilIndexingIsEnabled();
    EXPECT_EQ(m_session->indexes().documentCount(), 0);
    EXPECT_EQ(found("moss"), 0U);
}

TEST_F(AppControllerTest, ScanThatHangsIsLeftWithAllThatItUses) {
    std::atomic<bool> mayEnd = false;
    class Hung : public SiftwellIndexer {
    public:
        Hung(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> item,
             std::atomic<bool>& end)
            : SiftwellIndexer(surroundings, std::move(item), "Hung"), m_mayEnd(end) {}
        void performIndexingScan() override {
            while (!m_mayEnd) std::this_thread::yield();
        }

    private:
        std::atomic<bool>& m_mayEnd;
    };
    IndexerLocks locks;
    m_session = open(Purpose::Writing).value();
    Session& session = *m_session;
    m_controller = std::make_unique<AppController>(AppController::Surroundings{
        .session = session,
        .alerts = m_alerts,
        .makeIndexer = [&session, &mayEnd, &locks](const std::string&, const auto& item) {
            return std::make_unique<Hung>(
                SiftwellIndexer::Surroundings{session.indexes(), session.retriever(),
                                              session.notifier(), session.settings(),
                                              session.paths(), session.clock(), locks},
                item, mayEnd);
        }});
    AppController& controller = *m_controller;
    controller.waitUntilIndexingIsEnabled();
    EXPECT_TRUE(controller.startScan(Driver::ScanScope::LocalSources).isOk());
    const auto isAnyRunning = [&] {
        return !controller.status()->at("runningItems").asArray()->empty();
    };
    while (!isAnyRunning()) m_loop->turn(std::chrono::milliseconds(10));
    EXPECT_EQ(found("fragments"), 0U) << "no search waits for it";
    EXPECT_TRUE(controller.setSetting("DaysToSearch", 30).isOk());
    const ProgramEnd ended = closeProgram(m_controller, m_session);
    EXPECT_TRUE(ended.areThreadsLeft);
    EXPECT_TRUE(ended.status.isOk());
    mayEnd = true;  // so that this process can end as others do
    EXPECT_TRUE(m_loop->turnUntil([&] { return !controller.scanState()->isScanning; },
                                  std::chrono::seconds(60)));
    delete &controller;
    delete &session;
}

}  // namespace
}  // namespace siftwell
