#include "app/SettingsStartUp.h"

#include "app/DefaultURLFilters.h"
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

TEST_F(SettingsStartUpTest, EachLaunchStartsWithCautiousSettingsOfTheTypesThatReadersAskFor) {
    m_settings->set("IndexProtectedPages", 1);
    m_settings->set("SUFeedURL", "https://elsewhere/");
    m_settings->set("DaysToSearch", 7);
    m_startUp.registerDefaults();
    EXPECT_EQ(m_settings->integer("IndexProtectedPages"), 0);
    EXPECT_TRUE(m_settings->value("SUFeedURL").isNull());
    EXPECT_EQ(m_settings->integer("DaysToSearch"), 7);
    EXPECT_EQ(m_settings->value("SearchType"), PropertyList("0"));
    EXPECT_EQ(m_settings->value("MinutesBetweenScans"), PropertyList(1.0));
    EXPECT_EQ(m_settings->value("UseContentExtractors"), PropertyList(false));
    EXPECT_EQ(m_settings->date("constraintDate2"), m_clock.now());
    EXPECT_EQ(m_settings->date("constraintDate1")->formattedLocally("%Y-%m-%d %H:%M:%S"),
              "2000-01-01 00:00:00");
}

TEST_F(SettingsStartUpTest, BuiltInFiltersBlockNoOrdinaryHost) {
    const std::vector<URLFilter> filters = defaultURLFilters();
    EXPECT_EQ(filters.size(), 30U);
    for (const URLFilter& filter : filters) {
        EXPECT_TRUE(filter.Enabled);
        EXPECT_THAT("https://downloads.example.org/reads/add/loader.html",
                    Not(testing::HasSubstr(filter.String)));
    }
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
