#include "base/SWNotifier.h"

#include <gmock/gmock.h>

#include "support/TestRunLoop.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class SWNotifierTest : public testing::Test {
protected:
    using Record = PropertyList::Dictionary;

    // What `report` posts under the name.
    std::vector<PropertyList> posted(const char* name, const std::function<void()>& report) {
        std::vector<PropertyList> objects;
        const auto observation =
            m_centre.observe(name, [&](const PropertyList& object) { objects.push_back(object); });
        report();
        m_loop.drain();
        return objects;
    }

    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    NotificationCentre m_centre{m_loop};
    SWNotifier m_notifier{m_centre, m_clock};
};

TEST_F(SWNotifierTest, ErrorRecordEndsAtTheFirstAbsentValue) {
    const auto records = posted("SiftwellErrorNotification", [&] {
        m_notifier.reportError("Oops", 5, "http://h/", "why");
        m_notifier.reportError("Oops", 3, "", std::nullopt);
        m_notifier.reportError("Oops", -1, std::nullopt, "why");
    });
    const std::string now = m_clock.now().formattedLocally("%Y-%m-%d %H:%M:%S");
    EXPECT_THAT(records, ElementsAre(Record{{"error", "Oops"},
                                            {"severity", 5},
                                            {"url", "http://h/"},
                                            {"details", "why"},
                                            {"date", now}},
                                     Record{{"error", "Oops"}, {"severity", 3}, {"url", ""}},
                                     Record{{"error", "Oops"}, {"severity", -1}}));
}

TEST_F(SWNotifierTest, ProgressNamesItsSource) {
    const auto posts = [&](const std::string& event, const std::function<void()>& report) {
        return posted(("SiftwellIndexerProgress" + event + "Notification").c_str(), report);
    };
    EXPECT_THAT(posts("Start", [&] { m_notifier.reportProgressStartingIn("S", 0); }),
                ElementsAre(Record{{"source", "S"}, {"count", 0}}));
    EXPECT_THAT(posts("", [&] { m_notifier.reportProgressIn("S", "half"); }),
                ElementsAre(Record{{"source", "S"}, {"message", "half"}}));
    EXPECT_THAT(posts("Done", [&] { m_notifier.reportProgressDoneIn("S", ""); }),
                ElementsAre(Record{{"source", "S"}, {"message", ""}}));
}

TEST_F(SWNotifierTest, StatusIsRepeatedAtMostOnceASecond) {
    const auto report = [&](double second, std::vector<const char*> statuses) {
        m_clock.setNow(Date::fromUnix(second));
        return posted("SiftwellStatusChangeNotification", [&] {
            for (const char* status : statuses) m_notifier.reportStatus(status);
        });
    };
    EXPECT_THAT(report(1000.0, {"Idle", "Idle"}), ElementsAre("Idle"));
    EXPECT_THAT(report(1000.9, {"Idle"}), SizeIs(0));
    EXPECT_THAT(report(1001.0, {"Idle", "Busy", "Idle"}), ElementsAre("Idle", "Busy", "Idle"));
    EXPECT_THAT(report(500.0, {"Idle", "Busy"}), ElementsAre("Busy"));  // the clock was set back
}

}  // namespace
}  // namespace siftwell
