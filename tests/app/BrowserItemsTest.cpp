#include "app/BrowserItems.h"

#include <gmock/gmock.h>

#include "app/DefaultSearchItems.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using State = BrowserItem::State;

using Texts = std::vector<std::string>;

class BrowserItemsTest : public testing::Test {
protected:
    // A profile in a folder of its own, with a history, bookmarks and a cache.
    BrowserProfile profile(const std::string& browser, const std::string& packaging,
                           const std::string& name) {
        const std::string folder = std::to_string(++m_profiles);
        std::filesystem::create_directories(m_home.file(folder + "/Cache"));
        using Kind = BrowserSource::Kind;
        return {browser,
                packaging,
                name,
                {{Kind::Cache, "ChromeCache", m_home.file(folder + "/Cache")},
                 {Kind::History, "ChromeHistory", m_home.write(folder + "/History", "")},
                 {Kind::Bookmarks, "URLExtractor", m_home.write(folder + "/Bookmarks", "")}}};
    }
    std::vector<BrowserItems> items(const std::vector<BrowserProfile>& profiles) {
        return browserItems(profiles, m_list, m_paths);
    }
    // What tells the items of each profile apart.
    Texts ends(const std::vector<BrowserProfile>& profiles) {
        Texts ends;
        for (const BrowserItems& each : items(profiles)) {
            const std::string cache = each.profile.browser + " Cache";
            const std::string end = each.items[0].item.Name.substr(cache.size());
            EXPECT_EQ(each.items[0].item.Name, cache + end);
            EXPECT_EQ(each.items[1].item.Name, each.profile.browser + " History" + end);
            EXPECT_EQ(each.items[2].item.Name, each.profile.browser + " Bookmarks" + end);
            ends.push_back(end);
        }
        return ends;
    }
    void add(const std::vector<BrowserProfile>& profiles, bool isOn) {
        std::vector<SearchItem> added;
        for (const BrowserItems& browser : items(profiles)) {
            for (const BrowserItem& each : browser.items) {
                added.push_back(each.item);
                added.back().Index = isOn;
            }
        }
        std::reverse(added.begin(), added.end());  // order is the list's affair
        m_list = withMissingItems(m_list, added, m_paths);
    }
    Texts firstNames(std::size_t count) {
        Texts names;
        for (std::size_t i = 0; i < count; ++i) names.push_back(m_list[i].Name);
        return names;
    }

    TemporaryFolder m_home;
    const Paths m_paths{};
    int m_profiles = 0;
    std::vector<SearchItem> m_list = defaultSearchItems();
};

TEST_F(BrowserItemsTest, NamesTellAsMuchAsIsNeeded) {
    EXPECT_THAT(ends({profile("Brave", "", "Default")}), ElementsAre(""));
    EXPECT_THAT(ends({profile("Brave", "Snap", "Default")}), ElementsAre(""));
    EXPECT_THAT(ends({profile("Brave", "", "Home"), profile("Brave", "", "Work"),
                      profile("Brave", "Snap", "Home"), profile("Chromium", "", "Home")}),
                ElementsAre(" (Home)", " (Work)", " (Snap)", ""));
    EXPECT_THAT(ends({profile("Brave", "", "Home"), profile("Brave", "Flatpak", "Home"),
                      profile("Brave", "Flatpak", "Work")}),
                ElementsAre("", " (Flatpak, Home)", " (Flatpak, Work)"));
    EXPECT_THAT(
        ends({profile("Brave", "", "Me"), profile("Brave", "", "Me"), profile("Brave", "", "")}),
        ElementsAre(" (Me)", " (Me) 2", ""));
    // Names of built-in items are not to be had, though they are not in the list.
    m_list.clear();
    EXPECT_THAT(ends({profile("Vivaldi", "", "Home")}), ElementsAre(" (Home)"));
}

TEST_F(BrowserItemsTest, WhatIsThereIsKnownByItsFileAndSwitchedOnWhenAsked) {
    const std::vector<BrowserProfile> found = {profile("Brave", "", "Home")};
    SearchItem own;
    own.Name = "Mine";
    own.Indexer = "ChromeHistory";
    own.Path = m_home.file("link/Hist*");
    std::filesystem::create_directory_symlink(m_home.file("1"), m_home.file("link"));
    m_list.push_back(own);
    const auto before = items(found)[0];
    EXPECT_EQ(before.items[0].state, State::New);
    EXPECT_EQ(before.items[1].state, State::Off);
    EXPECT_EQ(before.items[1].item.Name, "Mine");

    add(found, false);
    EXPECT_EQ(m_list.size(), 23U);
    add(found, true);
    add(found, false);  // leaves on what is on
    EXPECT_EQ(m_list.size(), 23U);
    const BrowserItems now = items(found)[0];
    for (const BrowserItem& each : now.items) EXPECT_EQ(each.state, State::On);
    EXPECT_TRUE(m_list.back().Index);
    EXPECT_TRUE(m_list[0].UserItem && m_list[0].Search && m_list[0].Expire);
    EXPECT_EQ(m_list[0].LastScanDate, Date::distantPast());
    EXPECT_FALSE(m_list[1].Expire) << "bookmarks stay";
}

TEST_F(BrowserItemsTest, CachesStandBeforeHistoriesAndThoseBeforeBookmarks) {
    std::vector<BrowserProfile> found = {profile("Brave", "", "Home")};
    add(found, true);
    found.push_back(profile("Chromium", "", "Home"));
    add(found, true);
    EXPECT_THAT(firstNames(7),
                ElementsAre("Brave Cache", "Chromium Cache", "Brave History", "Chromium History",
                            "Brave Bookmarks", "Chromium Bookmarks", "Siftwell Help"));
    // The same twice in one request.
    m_list.clear();
    SearchItem item;
    item.Name = "a";
    item.Path = m_home.file("1/History");
    item.Indexer = "ChromeHistory";
    m_list = withMissingItems({}, {item, item}, m_paths);
    EXPECT_THAT(m_list, testing::SizeIs(1));
    EXPECT_THAT(items({}), IsEmpty());
}

}  // namespace
}  // namespace siftwell
