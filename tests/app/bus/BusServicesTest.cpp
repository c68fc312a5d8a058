#include "app/bus/BusServices.h"

#include "BusServicesFixture.h"
#include "app/bus/BusNames.h"
#include "base/Processes.h"

namespace siftwell {
namespace {

using busName::kAppController;
using busName::kDocumentRetriever;
using busName::kNotifier;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Dictionary = PropertyList::Dictionary;
using Text = std::string;

class BusServicesTest : public BusServicesFixture {
protected:
    void hear(const std::string& notification) {
        m_heard.push_back(m_centre.observe(
            notification, [this](const PropertyList& object) { m_objects.push_back(object); }));
    }

    Result<PropertyList> index(const Text& address, const PropertyList& date) {
        store().addToPendingDocumentCount(1);
        return call(kDocumentRetriever, "indexDocument", address, date, Text("Title"),
                    Text("Pages"), Text("Tester"));
    }
    Result<PropertyList> waitFor(const Text& source, double seconds) {
        return call(kDocumentRetriever, "waitForDownloadsForSource", source, seconds);
    }
    Result<PropertyList> ask(const Text& method, const Text& source) {
        return call(kDocumentRetriever, method, source);
    }

    template <typename... Arguments>
    StatusCode codeOf(const Arguments&... arguments) {
        return call(arguments...).status().code();
    }
    // What comes of a call of the driver whose arguments are written so.
    StatusCode send(const Text& method, const std::function<void(sdbus::Message&)>& write) {
        return codeOf(kAppController, method, write);
    }

    static std::unique_ptr<sdbus::IProxy> proxyOf(BusClient& client) {
        return sdbus::createProxy(client.connection(), kAppController,
                                  busName::pathOf(kAppController));
    }

    std::vector<NotificationCentre::Observation> m_heard;
    std::vector<PropertyList> m_objects;
};

TEST_F(BusServicesTest, ReportsOfOtherProcessesReachTheNotifier) {
    offer();
    for (const char* name : busName::kPassedOn) hear(name);
    EXPECT_TRUE(call(kNotifier, "reportError", Text("E"), std::int32_t{-5}, Text("u"), Text("d")));
    EXPECT_TRUE(call(kNotifier, "reportProgressStarting", Text("S"), std::int32_t{0}));
    EXPECT_TRUE(call(kNotifier, "reportProgress", Text("S"), Text("half")));
    EXPECT_TRUE(call(kNotifier, "reportProgressDone", Text("S"), Text("all")));
    EXPECT_TRUE(call(kNotifier, "reportStatus", Text("Idle")));
    m_loop.drain();
    auto error = *m_objects.at(0).asDictionary();
    EXPECT_EQ(error.erase("date"), 1U);
    EXPECT_EQ(error,
              (Dictionary{{"error", "E"}, {"severity", -5}, {"url", "u"}, {"details", "d"}}));
    m_objects.erase(m_objects.begin());
    EXPECT_THAT(m_objects, ElementsAre(Dictionary{{"source", "S"}, {"count", 0}},
                                       Dictionary{{"source", "S"}, {"message", "half"}},
                                       Dictionary{{"source", "S"}, {"message", "all"}}, "Idle"));
}

TEST_F(BusServicesTest, DocumentsComeIntoTheIndexOnRequest) {
    offer();
    const Date date = Date::fromReference(500000000.5);
    EXPECT_TRUE(index("http://a/1", date));
    EXPECT_TRUE(index("http://a/2", Text()));
    EXPECT_EQ(*waitFor("Pages", 600), PropertyList(true));
    EXPECT_THAT(find("words"), testing::SizeIs(2));
    EXPECT_EQ(recordOf("http://a/1")->date, date);
    EXPECT_EQ(store().pendingDocumentCount(), 0);

    const std::vector<std::pair<Text, PropertyList>> wrong = {
        {"no address", ""}, {"relative", ""}, {"http://a/3", "yesterday"}, {"http://a/3", 7}};
    for (const auto& [address, when] : wrong) {
        EXPECT_EQ(
            codeOf(kDocumentRetriever, "indexDocument", address, when, Text(), Text("S"), Text()),
            StatusCode::Invalid);
    }
}

TEST_F(BusServicesTest, WaitingForDownloadsEndsInTimeAndHoldsNobodyUp) {
    offer();
    m_site.page("http://a/slow", Reply{.isHeld = true});
    EXPECT_TRUE(index("http://a/slow", Text()));
    waitUntil([this] { return retriever().downloadInProgressForSource("Pages"); });
    EXPECT_EQ(*ask("downloadInProgressForSource", "Pages"), PropertyList(true));
    EXPECT_EQ(*ask("downloadInProgressForSource", ""), PropertyList(true));
    EXPECT_EQ(*ask("downloadWaitingForSource", ""), PropertyList(false));
    EXPECT_EQ(*ask("downloadInProgressForSource", "Others"), PropertyList(false));

    EXPECT_EQ(*waitFor("Others", 600), PropertyList(true));
    EXPECT_EQ(*waitFor("Pages", 0), PropertyList(false));
    EXPECT_EQ(*waitFor("Pages", -1), PropertyList(false));
    EXPECT_EQ(*waitFor("Pages", 0.2), PropertyList(false));
    EXPECT_EQ(waitFor("Pages", std::nan("")).status().code(), StatusCode::Invalid);
    m_turn = std::chrono::milliseconds(50);
    const Date before = m_clock.now();
    EXPECT_EQ(*waitFor("Pages", 1e300), PropertyList(false));
    EXPECT_GE(m_clock.now() - before, 599);
    m_turn = std::chrono::milliseconds(1);

    EXPECT_TRUE(call(kDocumentRetriever, "cancelDownloadsForSource", Text("Pages"), 600.0));
    EXPECT_EQ(*ask("downloadInProgressForSource", ""), PropertyList(false));
    EXPECT_EQ(*waitFor("", 600), PropertyList(true));
    EXPECT_EQ(store().pendingDocumentCount(), 0);
    waitUntil([this] { return m_site.cancelled() == 1; });
}

TEST_F(BusServicesTest, RunningItemIsFoundByItsProcessName) {
    offer();
    m_runningItem =
        SearchItem{.Name = "Tester", .LastScanDate = Date::distantPast(), .Path = "~/x"};
    EXPECT_EQ(*call(kAppController, "runningSearchItemForProcess", Text("Tester.1.2")),
              PropertyList(m_runningItem->toDictionary()));
    EXPECT_EQ(*call(kAppController, "runningSearchItemForProcess", Text("other")),
              PropertyList(Dictionary{}));
}

TEST_F(BusServicesTest, CallsThatDoNotFitAreRefusedAndHarmNobody) {
    offer();
    EXPECT_EQ(codeOf(kAppController, "startScan", std::int32_t{1}), StatusCode::Failed);
    EXPECT_EQ(codeOf(kAppController, "startScan"), StatusCode::Failed);
    EXPECT_EQ(codeOf(kAppController, "startScan", Text("nothing")), StatusCode::Invalid);
    EXPECT_EQ(codeOf(kAppController, "addToIndex", Text("http://a"), Text(), Text("eat"), true),
              StatusCode::Invalid);
    EXPECT_EQ(codeOf(kAppController, "addToIndex", Text("a b"), Text(), Text("ask"), true),
              StatusCode::Invalid);
    EXPECT_EQ(codeOf(kAppController, "noSuchMethod"), StatusCode::Failed);
    EXPECT_EQ(send("removeFromIndex",
                   [](sdbus::Message& message) { message << std::vector<Text>(100'001); }),
              StatusCode::TooLarge);
    EXPECT_EQ(send("setSetting",
                   [](sdbus::Message& message) {
                       message << Text("key") << sdbus::Variant(sdbus::ObjectPath("/a"));
                   }),
              StatusCode::Invalid);
    EXPECT_THAT(m_driver.requests, IsEmpty());
    EXPECT_TRUE(call(kAppController, "quit"));
    EXPECT_THAT(m_driver.requests, ElementsAre("quit"));
}

TEST_F(BusServicesTest, CallsThatWaitForABusyProgramAreBounded) {
    offer();
    BusClient client;
    auto object = proxyOf(client);
    std::vector<std::string> errors;
    for (int i = 0; i < 257; ++i) {
        auto call = object->createMethodCall(kAppController, "resetURLFilters");
        object->callMethod(call, [&](sdbus::MethodReply&, const sdbus::Error* error) {
            if (error != nullptr) errors.push_back(error->getName());
        });
    }
    waitUntil([&] {
        client.connection().processPendingRequest();
        return !errors.empty();
    });
    EXPECT_THAT(errors, ElementsAre("com.velotrin.Siftwell.Error.Busy"));
    m_loop.drain();
    EXPECT_THAT(m_driver.requests, testing::SizeIs(256));
}

TEST_F(BusServicesTest, OtherUsersAreNotServed) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    offer();
    const auto outcome = serving([this] {
        return SystemProcesses().run(
            {.arguments = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "busctl",
                           "--address=" + m_bus.address(), "call", kAppController,
                           busName::pathOf(kAppController), kAppController, "quit"}},
            {});
    });
    ASSERT_TRUE(outcome) << outcome.status().message();
    EXPECT_FALSE(outcome->isSuccess());
    EXPECT_THAT(outcome->errors, HasSubstr("Siftwell serves the programs of its own user only."));
    EXPECT_THAT(m_driver.requests, IsEmpty());
}

TEST_F(BusServicesTest, TheNamesAreThoseOfOneCopyAtATime) {
    offer();
    const auto second = openServices();
    EXPECT_EQ(second.status().code(), StatusCode::Exists);
    EXPECT_THAT(second.status().message(), HasSubstr(kAppController));
    m_services.reset();
    EXPECT_TRUE(openServices());
}

TEST_F(BusServicesTest, WithoutABusTheProgramIsTold) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    EXPECT_EQ(openServices().status().code(), StatusCode::NotFound);
}

TEST_F(BusServicesTest, OpenCallsAreAnsweredAtTheEndAndTheirJobsDoNothing) {
    offer();
    BusClient client;
    auto object = proxyOf(client);
    std::string answer;
    auto call = object->createMethodCall(kAppController, "quit");
    object->callMethod(call, [&](sdbus::MethodReply&, const sdbus::Error* error) {
        answer = error == nullptr ? "none" : error->getMessage();
    });
    // Answered without the main loop, and after what was sent before has arrived.
    object->callMethod("Ping").onInterface("org.freedesktop.DBus.Peer");
    m_services.reset();
    waitUntil([&] {
        client.connection().processPendingRequest();
        return !answer.empty();
    });
    EXPECT_EQ(answer, "Siftwell is about to end.");
    m_loop.drain();
    EXPECT_THAT(m_driver.requests, IsEmpty());
}

TEST_F(BusServicesTest, ACopyMayEndWhileItAnswers) {
    offer();
    m_driver.onQuit = [this] { m_services.reset(); };
    EXPECT_FALSE(call(kAppController, "quit"));
    EXPECT_EQ(call(kAppController, "quit").status().code(), StatusCode::NotFound);
}

TEST_F(BusServicesTest, ABusThatGoesAwayTakesNobodyWithIt) {
    offer();
    m_bus.daemon().end();
    waitUntil([this] { return isLogged("The connection to the bus ended"); });
    for (int i = 0; i < 3; ++i) m_notifier.reportError("E", 5, "", "");
    m_loop.drain();
    m_services.reset();
}

TEST_F(BusServicesTest, ABusThatHangsHoldsUpNobodyForLong) {
    offer();
    m_bus.daemon().send(SIGSTOP);
    for (int i = 0; i < 5000; ++i) m_notifier.reportError(std::string(1000, 'x'), 5, "", "");
    m_loop.drain();
    const auto start = std::chrono::steady_clock::now();
    m_services.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace siftwell
