#include "app/PrefsController.h"

#include "app/PrefsFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;

class PrefsControllerTest : public PrefsFixture {
protected:
    PrefsControllerTest() {
        using Entry = PropertyList::Dictionary;
        m_settings->set("SearchItems", PropertyList::Array{Entry{{"Name", "a"}, {"Newer", "kept"}},
                                                           "no item", Entry{{"Name", "b"}}});
        m_settings->registerDefaults({{"URLFilters", listOf(std::vector{m_filter})}});
    }

    const URLFilter m_filter{true, "/ad/"};
};

TEST_F(PrefsControllerTest, EditedItemsBecomeSettingsWhenTheyAreCommitted) {
    m_prefs.mutableSearchItemsArray().pop_back();
    EXPECT_EQ(storedItems(), 3U);
    m_prefs.commitSettings();
    EXPECT_EQ(storedItems(), 1U);
    EXPECT_EQ(stringFor(m_prefs.mutableSearchItemsArray().at(0).otherKeys, "Newer"), "kept");

    m_prefs.mutableSearchItemsArray()[0].Name = "not committed";
    m_prefs.revert();
    EXPECT_EQ(m_prefs.mutableSearchItemsArray()[0].Name, "a");

    // An empty list is read anew, but committed as it is.
    m_prefs.setMutableSearchItemsArray({});
    EXPECT_EQ(m_prefs.mutableSearchItemsArray().size(), 1U);
    m_prefs.setMutableSearchItemsArray({});
    m_prefs.commitSettings();
    EXPECT_EQ(storedItems(), 0U);
}

TEST_F(PrefsControllerTest, FiltersAreStoredOnlyWhenTheyWereEdited) {
    m_prefs.commitSettings();
    EXPECT_TRUE(m_settings->userValue("URLFilters").isNull());
    m_prefs.addFilter();
    m_prefs.commitSettings();
    EXPECT_THAT(m_prefs.mutableURLFilterArray(),
                ElementsAre(m_filter, URLFilter{true, "match-this-text"}));
    EXPECT_TRUE(m_prefs.takeFiltersChanged());
    m_prefs.resetFilters();
    m_prefs.commitSettings();
    EXPECT_TRUE(m_settings->userValue("URLFilters").isNull());
    EXPECT_THAT(m_prefs.mutableURLFilterArray(), ElementsAre(m_filter));
    EXPECT_FALSE(m_prefs.takeFiltersChanged());
}

TEST_F(PrefsControllerTest, LocalhostLeavesTheFiltersAndCountsAsAChange) {
    const URLFilter other{false, "/x/"};
    m_settings->set("URLFilters", listOf(std::vector<URLFilter>{{true, "/localhost"}, other}));
    EXPECT_THAT(m_prefs.mutableURLFilterArray(), ElementsAre(other));
    m_prefs.commitSettings();
    EXPECT_EQ(m_settings->array("URLFilters").size(), 1U);
    EXPECT_TRUE(m_prefs.takeFiltersChanged());
}

}  // namespace
}  // namespace siftwell
