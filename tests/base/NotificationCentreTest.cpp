#include "base/NotificationCentre.h"

#include <gmock/gmock.h>

#include "support/TestRunLoop.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NotificationCentreTest : public testing::Test {
protected:
    NotificationCentre::Observation observe(const std::string& name) {
        return m_centre->observe(name, [this, name](const PropertyList& object) {
            EXPECT_TRUE(m_loop.isOwnedByThisThread());
            m_heard.push_back(name + " " + (object.isNull() ? "none" : *object.asString()));
        });
    }

    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    std::unique_ptr<NotificationCentre> m_centre = std::make_unique<NotificationCentre>(m_loop);
    std::vector<std::string> m_heard;
};

TEST_F(NotificationCentreTest, ObserversHearTheirNameOnTheMainThreadInALaterTurn) {
    const auto a = observe("a");
    const auto b = observe("b");
    std::jthread([&] {
        m_centre->postMainThreadNotificationName("a", "1");
        m_centre->postMainThreadNotificationName("b", {});
        m_centre->postMainThreadNotificationName("c", "3");
    }).join();
    EXPECT_THAT(m_heard, IsEmpty());
    m_loop.drain();
    EXPECT_THAT(m_heard, ElementsAre("a 1", "b none"));
}

TEST_F(NotificationCentreTest, ObservationEndsWithItsHandleEvenWhileItIsPosted) {
    NotificationCentre::Observation later;
    const auto first = m_centre->observe("a", [&](const PropertyList&) { later = {}; });
    later = observe("a");
    const auto last = observe("a");
    m_centre->post("a", "1");
    EXPECT_THAT(m_heard, ElementsAre("a 1"));  // from the last alone
    m_centre.reset();                          // the handles may outlive it
}

}  // namespace
}  // namespace siftwell
