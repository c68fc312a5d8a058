#include "app/bus/RunningCopy.h"

#include "BusServicesFixture.h"
#include "app/bus/BusNames.h"

namespace siftwell {
namespace {

using busName::kAppController;
using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::HasSubstr;

using Array = PropertyList::Array;
using Data = PropertyList::Data;
using Dictionary = PropertyList::Dictionary;

constexpr std::chrono::milliseconds kShort(200);
constexpr std::chrono::seconds kLong(20);

class RunningCopyTest : public BusServicesFixture {
protected:
    void connect(std::chrono::milliseconds limit = kLong) {
        auto copy = RunningCopy::connect(m_centreOfClient, getpid(), limit);
        ASSERT_TRUE(copy) << copy.status().message();
        m_copy = *std::move(copy);
    }
    StatusCode codeOfConnecting(pid_t process = 0) {
        const auto copy = RunningCopy::connect(m_centreOfClient, process, kShort);
        m_message = copy.status().message();
        return copy.status().code();
    }
    template <typename Ask>
    auto asked(Ask ask) {
        return serving([&] { return ask(*m_copy); });
    }
    Status set(const PropertyList& value) {
        return asked([&](Driver& copy) { return copy.setSetting("key", value); });
    }

    TestRunLoop m_loopOfClient{m_clock};
    NotificationCentre m_centreOfClient{m_loopOfClient};
    std::unique_ptr<RunningCopy> m_copy;
    std::string m_message;
};

TEST_F(RunningCopyTest, IsFoundWhereItIsOfferedOnly) {
    EXPECT_EQ(codeOfConnecting(), StatusCode::NotFound);
    offer();
    EXPECT_EQ(codeOfConnecting(), StatusCode::Ok);
    EXPECT_EQ(codeOfConnecting(getpid()), StatusCode::Ok);
    EXPECT_EQ(codeOfConnecting(1), StatusCode::NotFound);
    EXPECT_THAT(m_message, HasSubstr("process " + std::to_string(getpid()) + " answers"));
    connect();
    EXPECT_EQ(m_copy->process(), getpid());

    m_services.reset();
    EXPECT_EQ(codeOfConnecting(), StatusCode::NotFound);
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    EXPECT_EQ(codeOfConnecting(), StatusCode::NotFound);
}

TEST_F(RunningCopyTest, ABusThatSaysNothingIsLeft) {
    const MuteBus mute;
    setenv("DBUS_SESSION_BUS_ADDRESS", mute.address().c_str(), 1);
    EXPECT_EQ(codeOfConnecting(), StatusCode::Busy);
}

TEST_F(RunningCopyTest, EveryRequestArrivesAsItWasMade) {
    offer();
    connect();
    const Url page = url("https://example.com/a?b=%20c#d");
    const SearchItem item = SearchItem::fromDictionary(
        {{"Name", "Käse (Snap)"}, {"Index", true}, {"LastScanDate", Date::distantPast()}});
    const auto told = asked([&](Driver& copy) {
        return std::vector<Status>{copy.startScan(Driver::ScanScope::Everything),
                                   copy.startScan(Driver::ScanScope::LocalSources),
                                   copy.addToIndex({.url = page}),
                                   copy.addToIndex({.url = url("file:///x"),
                                                    .indexer = "Bookmarks",
                                                    .fileUse = Driver::FileUse::IndexContents,
                                                    .isScanStarted = false}),
                                   copy.addMissingItems({item, item}),
                                   copy.setSearchItemValue("käse", "Index", true),
                                   copy.deleteSearchItem("one"),
                                   copy.resetScanDate("two"),
                                   copy.addURLFilter("*.example"),
                                   copy.deleteURLFilter(""),
                                   copy.resetURLFilters(),
                                   copy.setSetting("Key", Array{1, 2.5, Date::fromReference(3)}),
                                   copy.removeSetting("Key"),
                                   copy.searchService("some words"),
                                   copy.clearIndex(),
                                   copy.rebuildIndex(),
                                   copy.compactIndex(),
                                   copy.dumpURLs("/a"),
                                   copy.dumpIndex("/b"),
                                   copy.applyFilters(),
                                   copy.quit()};
    });
    for (const Status& status : told) EXPECT_TRUE(status.isOk()) << status.message();
    EXPECT_THAT(
        m_driver.requests,
        ElementsAre("scan everything", "scan local", "item käse.Index", "delete one", "reset two",
                    "filter *.example", "unfilter ", "reset filters", "setting Key",
                    "no setting Key", "search some words", "clear", "rebuild", "compact",
                    "dump URLs to /a", "dump to /b", "apply filters", "quit"));
    EXPECT_THAT(m_driver.values, ElementsAre(true, Array{1, 2.5, Date::fromReference(3)}));
    EXPECT_THAT(m_driver.additions,
                ElementsAre(FieldsAre(page, std::nullopt, Driver::FileUse::Ask, true),
                            FieldsAre(url("file:///x"), "Bookmarks", Driver::FileUse::IndexContents,
                                      false)));
    EXPECT_THAT(m_driver.items, ElementsAre(item, item));
}

TEST_F(RunningCopyTest, AnswersArriveAsTheyWereGiven) {
    offer();
    connect();
    m_driver.state = {true, false, 1, true, -2, 3, 4};
    m_driver.statusAnswer = {{"process", 7}, {"runningItems", Array{"a\xFF"}}};
    EXPECT_THAT(*asked([](Driver& copy) { return copy.scanState(); }),
                FieldsAre(true, false, 1, true, -2, 3, 4));
    EXPECT_EQ(*asked([](Driver& copy) { return copy.status(); }),
              (Dictionary{{"process", 7}, {"runningItems", Array{"a\uFFFD"}}}));
    const std::vector<std::string> urls = {"http://a/", "", "b"};
    EXPECT_EQ(*asked([&](Driver& copy) { return copy.removeFromIndex(urls); }), 3U);
    EXPECT_EQ(m_driver.removed, urls);
    m_driver.maintenance = {true, 2, 37.5, Status(StatusCode::Busy, "Not now."), 5, {"http://a/"}};
    EXPECT_TRUE(asked([](Driver& copy) { return copy.eraseFromIndex({"c"}); }).isOk());
    EXPECT_THAT(m_driver.removed, ElementsAre("c"));
    const auto state = *asked([](Driver& copy) { return copy.maintenanceState(); });
    EXPECT_THAT(state, FieldsAre(true, 2, 37.5, _, 5, ElementsAre("http://a/")));
    EXPECT_EQ(state.result.code(), StatusCode::Busy);
    EXPECT_EQ(state.result.message(), "Not now.");
}

TEST_F(RunningCopyTest, ErrorsKeepTheirCodeAndMessage) {
    offer();
    connect();
    for (int code = static_cast<int>(StatusCode::NotFound);
         code <= static_cast<int>(StatusCode::Failed); ++code) {
        m_driver.answer = Status(StatusCode(code), "It is \"so\".\xFF");
        const Status status = asked([](Driver& copy) { return copy.resetURLFilters(); });
        EXPECT_EQ(status.code(), StatusCode(code));
        EXPECT_EQ(status.message(), "It is \"so\".\uFFFD");
        EXPECT_EQ(asked([](Driver& copy) { return copy.status(); }).status().code(),
                  StatusCode(code));
    }
}

// What is hostile is told apart by BusValues.
TEST_F(RunningCopyTest, ValuesThatCannotTravelAreRefusedAndEndNothing) {
    offer();
    connect();
    PropertyList deep;
    for (int i = 0; i < 200; ++i) deep = Dictionary{{"in", deep}};
    EXPECT_EQ(set(deep).code(), StatusCode::TooLarge);
    EXPECT_TRUE(set(std::string("a\0\xFF", 3)).isOk());
    EXPECT_THAT(m_driver.values, ElementsAre("a\uFFFD\uFFFD"));
    m_driver.statusAnswer = {{"deep", deep}};
    EXPECT_EQ(asked([](Driver& copy) { return copy.status(); }).status().code(),
              StatusCode::TooLarge);
    m_driver.statusAnswer = {{"long", Data{std::string(3'000'000, '\xFF')}}};
    EXPECT_EQ(*asked([](Driver& copy) { return copy.status(); }), m_driver.statusAnswer);
}

TEST_F(RunningCopyTest, ACopyThatHangsIsLeftWithAdvice) {
    offer();
    connect(kShort);
    const Status status = m_copy->resetURLFilters();  // nobody serves the main loop
    EXPECT_EQ(status.code(), StatusCode::Busy);
    EXPECT_THAT(status.message(), HasSubstr("process " + std::to_string(getpid())));
    EXPECT_THAT(status.message(), HasSubstr("or end it"));
    EXPECT_EQ(m_copy->scanState().status().code(), StatusCode::Busy);
    EXPECT_FALSE(m_copy->waitUntilGone(std::chrono::milliseconds(1)));
    m_loop.drain();
    m_driver.statusAnswer = {{"pending", 1}};
    EXPECT_EQ(*asked([](Driver& copy) { return copy.status(); }), m_driver.statusAnswer);
}

TEST_F(RunningCopyTest, WhatTheOtherCopyTellsIsToldHere) {
    offer();
    connect();
    std::vector<std::string> heard;
    std::vector<NotificationCentre::Observation> observations;
    const auto hear = [&](const std::string& name) {
        observations.push_back(m_centreOfClient.observe(name, [&heard,
                                                               name](const PropertyList& object) {
            const auto* record = object.asDictionary();
            heard.push_back(name + " " +
                            (record != nullptr ? stringFor(*record, "error") : *object.asString()));
        }));
    };
    for (const char* name : busName::kPassedOn) hear(name);
    hear("SiftwellPreferenceChangeNotification");

    m_centre.post("SiftwellPreferenceChangeNotification", {});
    m_notifier.reportError("E\xFF", 5, std::nullopt, std::nullopt);
    m_notifier.reportStatus("Idle");
    m_loop.drain();
    m_centre.post("SiftwellIndexingDoneNotification", {});
    waitUntil([&] {
        m_loopOfClient.drain();
        return heard.size() >= 3;
    });
    EXPECT_THAT(heard, ElementsAre("SiftwellErrorNotification E\uFFFD",
                                   "SiftwellStatusChangeNotification Idle",
                                   "SiftwellIndexingDoneNotification "));
}

TEST_F(RunningCopyTest, NobodyElseSpeaksForIt) {
    offer();
    connect();
    int heard = 0;
    const auto observation = m_centreOfClient.observe("SiftwellStatusChangeNotification",
                                                      [&heard](const PropertyList&) { ++heard; });
    BusClient other;
    auto object = sdbus::createObject(other.connection(), busName::pathOf(kAppController));
    object->registerSignal(kAppController, busName::kNotification, "sv");
    object->finishRegistration();
    auto signal = object->createSignal(kAppController, busName::kNotification);
    BusWriter writer(signal);
    writer.write(std::string("SiftwellStatusChangeNotification"));
    writer.write(PropertyList("lies"));
    object->emitSignal(signal);
    m_notifier.reportStatus("truth");
    m_loop.drain();
    waitUntil([&] {
        m_loopOfClient.drain();
        return heard > 0;
    });
    EXPECT_EQ(heard, 1);
}

TEST_F(RunningCopyTest, ItsEndIsNoticed) {
    offer();
    connect();
    EXPECT_TRUE(asked([](Driver& copy) { return copy.quit(); }).isOk());
    EXPECT_FALSE(m_copy->waitUntilGone(std::chrono::milliseconds(1)));
    m_services.reset();
    EXPECT_TRUE(m_copy->waitUntilGone(kLong));
    EXPECT_EQ(m_copy->startScan(Driver::ScanScope::Everything).code(), StatusCode::Busy);
}

TEST_F(RunningCopyTest, TheEndOfTheBusIsNoticed) {
    offer();
    connect();
    m_bus.daemon().end();
    EXPECT_TRUE(m_copy->waitUntilGone(kLong));
    EXPECT_FALSE(m_copy->quit().isOk());
}

}  // namespace
}  // namespace siftwell
