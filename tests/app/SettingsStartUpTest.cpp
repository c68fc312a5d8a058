#include "app/SettingsStartUp.h"

#include "app/PrefsFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SettingsStartUpTest : public PrefsFixture {
protected:
    NotificationCentre m_centre{m_loop};
    SettingsStartUp m_startUp{*m_settings, m_prefs, m_centre, m_clock};
};

TEST_F(SettingsStartUpTest, EachLaunchStartsWithCautiousSettings) {
    m_settings->set("IndexProtectedPages", 1);
    m_settings->set("SUFeedURL", "https://elsewhere/");
    m_settings->set("DaysToSearch", 7);
    m_startUp.registerDefaults();
    EXPECT_EQ(m_settings->integer("IndexProtectedPages"), 0);
    EXPECT_TRUE(m_settings->value("SUFeedURL").isNull());
    EXPECT_EQ(m_settings->integer("DaysToSearch"), 7);
    EXPECT_EQ(m_settings->date("constraintDate2"), m_clock.now());
}

TEST_F(SettingsStartUpTest, SettingsAreAnnouncedOnceTheItemsAreMerged) {
    m_startUp.registerDefaults();
    std::vector<std::size_t> heard;
    const auto observation =
        m_centre.observe("SiftwellPreferenceChangeNotification",
                         [&](const PropertyList&) { heard.push_back(storedItems()); });
    m_startUp.updateDefaultSearchItems();
    EXPECT_THAT(heard, IsEmpty());
    m_loop.drain();
    EXPECT_THAT(heard, ElementsAre(20U));
    EXPECT_EQ(m_prefs.mutableSearchItemsArray()[2].Path, "~/Library/Safari/History.db");
}

}  // namespace
}  // namespace siftwell
