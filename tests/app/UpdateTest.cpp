#include <gmock/gmock.h>

#include "app/PrefsFixture.h"
#include "app/update/Appcast.h"
#include "app/update/VLUpdater.h"
#include "app/update/VersionNumber.h"
#include "retrieval/CurlLoader.h"
#include "support/HttpSite.h"
#include "support/LoggedLines.h"
#include "support/WaitUntil.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr double kDay = 86'400;

VersionNumber version(std::string_view text) { return VersionNumber::parse(text).value(); }

TEST(VersionNumberTest, RisesAsVersionsDo) {
    const std::vector<std::string> rising = {
        "0",   "0.9",  "1.0a9",  "1.0b2", "1.0b10", "1.0-rc.1", "1",
        "1.9", "1.10", "1.10.1", "2b1",   "2.0",    "10",       "18446744073709551616",
    };
    for (std::size_t i = 0; i < rising.size(); ++i) {
        for (std::size_t j = 0; j < rising.size(); ++j) {
            EXPECT_EQ(version(rising[i]) <=> version(rising[j]), i <=> j)
                << rising[i] << " " << rising[j];
        }
    }
    for (const char* same : {"1.9", "1.9.0", "01.09", "v1.9", "1_9.0.0", "V1.9"}) {
        EXPECT_EQ(version(same), version("1.9")) << same;
    }
    EXPECT_EQ(version("1.0.0B2"), version("1b2"));
    for (const char* none : {"", "v", "beta", "...", "1.9 of today", "1.9/../x"}) {
        EXPECT_FALSE(VersionNumber::parse(none)) << none;
    }
    EXPECT_TRUE(VersionNumber::parse(std::string(64, '9')));
    EXPECT_FALSE(VersionNumber::parse(std::string(65, '9')));
    EXPECT_LT(version(std::string(63, '9')), version(std::string(64, '1')));
}

std::string feedOf(const std::string& items) {
    return "<?xml version='1.0'?><rss version='2.0' xmlns:x='urn:x'><channel><title>S</title>" +
           items + "</channel></rss>";
}
std::string itemOf(const std::string& itsVersion) {
    return "<item><title>Siftwell</title><enclosure x:version='" + itsVersion +
           "' url='https://h/siftwell.tar'/></item>";
}

class AppcastTest : public testing::Test {
protected:
    static auto best(const std::string& bytes) {
        return bestItemOfAppcast(bytes, *Url::parse("https://h/feed.xml"));
    }
    static std::string bestVersion(const std::string& items) {
        const auto item = best(feedOf(items));
        return item && *item ? (*item)->versionText : "none";
    }
};

TEST_F(AppcastTest, TakesTheHighestVersionWhereverTheItemSaysIt) {
    EXPECT_EQ(bestVersion(itemOf("1.9") + itemOf("1.10") + itemOf("1.10b1")), "1.10");
    EXPECT_EQ(bestVersion("<item><y:version> 2.0\n</y:version></item>" + itemOf("1.9")), "2.0");
    EXPECT_EQ(bestVersion("<item><version>4711</version><shortVersionString>1.2"
                          "</shortVersionString></item>" +
                          itemOf("1.3")),
              "1.3");
    EXPECT_EQ(bestVersion(itemOf("latest") + "<item/><entry version='9'/>"), "none");
    EXPECT_EQ(bestVersion(""), "none");
}

TEST_F(AppcastTest, TellsOfPageAndNotesAndOfNothingThatRuns) {
    const auto item = best(feedOf(
        "<item><title>Siftwell 2</title><link>news/2</link><enclosure version='2'/>"
        "<description>&lt;p&gt;Finds &lt;b&gt;more&lt;/b&gt;.&lt;script&gt;x()&lt;/script&gt;&#0;"
        "</description></item>"));
    ASSERT_TRUE(item && *item);
    EXPECT_EQ((*item)->link->absoluteString(), "https://h/news/2");
    EXPECT_THAT((*item)->notes, HasSubstr("Finds more"));
    EXPECT_THAT((*item)->notes, Not(testing::AnyOf(HasSubstr("x()"), HasSubstr("<"))));

    const auto file =
        best(feedOf("<item><title>Siftwell &amp; 2</title><link>javascript:x</link>"
                    "<enclosure version='2' url='https://h/f'/></item>"));
    EXPECT_EQ((*file)->link->absoluteString(), "https://h/f");
    EXPECT_EQ((*file)->notes, "Siftwell & 2");
    for (const char* place : {"http://h/plain", "file:///etc/passwd", ""}) {
        const auto none = best(
            feedOf("<item><version>2</version><link>" + std::string(place) + "</link></item>"));
        EXPECT_FALSE((*none)->link) << place;
    }
    const auto longNotes = best(feedOf("<item><version>2</version><description>" +
                                       std::string(100000, 'n') + "</description></item>"));
    EXPECT_EQ((*longNotes)->notes.size(), kMaxReleaseNotes);
}

TEST_F(AppcastTest, HostileFeedsAreRefusedOrReadWithinBounds) {
    EXPECT_EQ(best("").status().code(), StatusCode::Damaged);
    EXPECT_EQ(best("<html><body>Sign in</body></html>").status().code(), StatusCode::Damaged);
    EXPECT_EQ(best(feedOf("<item>")).status().code(), StatusCode::Damaged);
    EXPECT_EQ(best(feedOf(std::string(kMaxAppcastBytes, ' '))).status().code(),
              StatusCode::TooLarge);
    std::string many;
    for (std::size_t i = 0; i < kMaxAppcastMarkups; ++i) many += "<a/>";
    EXPECT_EQ(best(feedOf(many)).status().code(), StatusCode::TooLarge);
    std::string deep;
    for (std::size_t i = 0; i < kMaxAppcastMarkups / 2 - 10; ++i) deep += "<a>";
    for (std::size_t i = 0; i < kMaxAppcastMarkups / 2 - 10; ++i) deep += "</a>";
    EXPECT_EQ(bestVersion(deep + itemOf("2")), "2");
    EXPECT_EQ(bestVersion("<item>" + deep + "<version>2</version></item>"), "2");
    const auto entities = best("<!DOCTYPE rss [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>" +
                               feedOf("<item><version>2</version><title>&e;</title></item>"));
    ASSERT_TRUE(entities && *entities);
    EXPECT_THAT((*entities)->notes, Not(HasSubstr("root")));
    std::string items;
    for (std::size_t i = 0; i <= kMaxAppcastItems; ++i) {
        items += "<item><version>" + std::to_string(i + 1) + "</version></item>";
    }
    EXPECT_EQ(bestVersion(items), std::to_string(kMaxAppcastItems));
}

class UpdateTest : public PrefsFixture {
protected:
    UpdateTest() {
        m_settings->registerDefaults({{"CheckForUpdates", true},
                                      {"UpdateCheckInterval", 1},
                                      {"LastUpdateCheck", Date::distantPast()}});
        m_observation =
            m_centre.observe("SiftwellUpdateAvailableNotification", [this](const auto& update) {
                const auto& record = *update.asDictionary();
                m_told.push_back(stringFor(record, "version") + " " + stringFor(record, "url") +
                                 " " + stringFor(record, "notes"));
            });
    }

    void feed(const std::string& items) {
        m_site.page("/feed", {.type = "application/rss+xml", .body = feedOf(items)});
    }
    void begin(const std::string& address, const std::string& own = "1.9") {
        using Transport = VLUpdater::Transport;
        m_updater = std::make_unique<VLUpdater>(
            VLUpdater::Surroundings{*m_settings, m_centre, m_loop, m_clock, m_loader}, address,
            m_isPlainAllowed ? Transport::AlsoPlainOnHost : Transport::Secure);
        m_updater->configure("SW", own);
        m_updater->checkForUpdate();
    }
    // To the end, without moving the clock.
    void look(const std::string& address, const std::string& own = "1.9") {
        begin(address, own);
        look();
    }
    void look() {
        m_updater->checkForUpdate();
        waitUntil([this] {
            m_loop.drain();
            return !m_updater->isChecking();
        });
        m_loop.drain();
    }
    int requestsAfter(double seconds) {
        m_clock.advance(seconds);
        look();
        return m_site.requests("/feed");
    }

    LoggedLines m_log;
    NotificationCentre m_centre{m_loop};
    NotificationCentre::Observation m_observation;
    std::vector<std::string> m_told;
    bool m_isPlainAllowed = true;
    HttpSite m_site;
    CurlLoader m_loader;
    std::unique_ptr<VLUpdater> m_updater;
};

TEST_F(UpdateTest, TellsOfANewerVersionOnceInEachInterval) {
    feed(itemOf("1.10"));
    look(m_site.address("/feed"));
    EXPECT_THAT(m_told, ElementsAre("1.10 https://h/siftwell.tar Siftwell"));
    EXPECT_THAT(m_log.take(), ElementsAre("Version 1.10 is available: https://h/siftwell.tar"));
    EXPECT_EQ(m_settings->date("LastUpdateCheck"), m_clock.now());
    EXPECT_EQ(m_site.fieldsOf("/feed").find("User-Agent")->second, "Siftwell/1.9 (SW)");

    EXPECT_EQ(requestsAfter(kDay - 1), 1);
    EXPECT_EQ(requestsAfter(1), 2);
    m_updater->setCheckInterval(std::chrono::seconds(0));
    EXPECT_EQ(requestsAfter(59), 2);
    EXPECT_EQ(requestsAfter(1), 3);
    EXPECT_EQ(requestsAfter(-100'000), 4) << "the clock was wrong before";
    m_settings->set("UpdateCheckInterval", 3);
    m_updater->autoConfigure();
    EXPECT_EQ(requestsAfter(kDay), 4);
    m_settings->set("CheckForUpdates", false);
    EXPECT_EQ(requestsAfter(3 * kDay), 4);
    m_updater->checkNow();
    EXPECT_EQ(requestsAfter(0), 5) << "the user asked for it";
    EXPECT_THAT(m_told, SizeIs(5));
}

TEST_F(UpdateTest, OlderAndEqualVersionsAreNoNews) {
    feed(itemOf("1.9b4") + itemOf("1.9.0"));
    look(m_site.address("/feed"));
    m_clock.advance(kDay);
    look(m_site.address("/feed"), "2.0");
    EXPECT_EQ(m_site.requests("/feed"), 2);
    EXPECT_THAT(m_told, IsEmpty());
    EXPECT_THAT(m_log.take(), IsEmpty());
}

TEST_F(UpdateTest, WhoAsksIsToldOnceWhatCameOfIt) {
    std::vector<std::string> answers;
    const auto ask = [&](const std::string& version) {
        feed(itemOf(version));
        m_updater->checkNow([&](const Result<bool>& isThereNewer) {
            answers.emplace_back(!isThereNewer   ? isThereNewer.status().message()
                                 : *isThereNewer ? "newer"
                                                 : "none");
        });
        look();
        m_updater->checkNow();
        look();
    };
    begin(m_site.address("/feed"));
    look();
    ask("1.10");
    ask("1.9");
    m_site.page("/feed", {.status = 503, .body = ""});
    m_updater->checkNow(
        [&](const auto& isThereNewer) { answers.push_back(isThereNewer.status().message()); });
    look();
    EXPECT_THAT(answers, ElementsAre("newer", "none", "The server answered with status 503."));
}

TEST_F(UpdateTest, OnlySecureAddressesAreAsked) {
    feed(itemOf("1.10"));
    m_isPlainAllowed = false;
    for (const std::string& address : {m_site.address("/feed"), std::string("https:///feed"),
                                       std::string("file:///etc/passwd"), std::string("feed")}) {
        look(address);
        EXPECT_THAT(m_log.take(), ElementsAre("The address of the update feed cannot be used."));
    }
    m_isPlainAllowed = true;
    look("http://localhost:" + std::to_string(m_site.port()) + "/feed");
    m_log.take();
    look("");
    EXPECT_THAT(m_log.take(), IsEmpty());
    look(m_site.address("/feed"), "unknown");
    EXPECT_EQ(m_site.requests("/feed"), 0);
    EXPECT_EQ(m_settings->date("LastUpdateCheck"), Date::distantPast());
}

TEST_F(UpdateTest, BadFeedIsGivenUpUntilTheIntervalIsOver) {
    const std::string huge = feedOf(std::string(kMaxAppcastBytes, ' ') + itemOf("1.10"));
    m_site.page("/malformed", {.body = "<rss><channel><item>"});
    m_site.page("/huge", {.body = huge});
    m_site.page("/unannounced", {.body = huge, .isChunked = true});
    m_site.page("/redirected", {.status = 302, .headers = {{"Location", "/feed"}}});
    m_site.page("/failed", {.status = 503, .body = feedOf(itemOf("1.10"))});
    feed(itemOf("1.10"));
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/malformed", "The feed is damaged"},
        {"/huge", "The feed is too large."},
        {"/unannounced", "The feed is too large."},
        {"/redirected", "The feed was redirected."},
        {"/failed", "The server answered with status 503."},
        {"/missing", "The server answered with status 404."}};
    for (const auto& [path, reason] : cases) {
        look(m_site.address(path));
        EXPECT_THAT(m_log.take(), ElementsAre(HasSubstr("Update check failed: " + reason)));
        look();
        EXPECT_EQ(m_site.requests(path), 1);
        m_clock.advance(kDay);
    }
    EXPECT_EQ(m_site.requests("/feed"), 0);
    EXPECT_THAT(m_told, IsEmpty());
    look(m_site.address("/feed"));
    EXPECT_THAT(m_told, SizeIs(1));
}

TEST_F(UpdateTest, FeedThatNeverEndsIsBrokenOff) {
    std::atomic<int> begun = 0;
    std::atomic<int> broken = 0;
    RawSite slow([&](int connection, const std::string&) {
        RawSite::send(connection, "HTTP/1.1 200 OK\r\n\r\n<rss>");
        ++begun;
        while (!slow.isEnding() && RawSite::send(connection, " ")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ++broken;
    });
    const auto waitFor = [](const std::atomic<int>& count, int expected) {
        while (count < expected) std::this_thread::yield();
    };
    const auto beginLook = [&](int number) {
        begin(slow.address("/"));
        m_updater->checkForUpdate();
        waitFor(begun, number);
    };
    beginLook(1);
    m_loop.drain();
    EXPECT_TRUE(m_updater->isChecking());
    const Date before = m_clock.now();
    while (m_updater->isChecking()) m_loop.turn(std::chrono::minutes(1));
    EXPECT_EQ(m_clock.now() - before, 30);
    EXPECT_THAT(m_log.take(), ElementsAre("Update check failed: The feed took too long."));
    waitFor(broken, 1);

    m_clock.advance(kDay);
    beginLook(2);
    m_updater.reset();
    waitFor(broken, 2);
    m_loop.drain();
    EXPECT_THAT(m_log.take(), IsEmpty());
    EXPECT_EQ(m_loop.pendingTimers(), 0U);
    EXPECT_EQ(begun, 2);
}

}  // namespace
}  // namespace siftwell
