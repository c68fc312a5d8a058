#include "app/SearchItemMerge.h"

#include <gmock/gmock.h>

#include "app/DefaultSearchItems.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::Field;
using testing::IsEmpty;

using Items = std::vector<SearchItem>;

auto named(const std::string& name) { return Field(&SearchItem::Name, name); }
auto on(bool index) { return Field(&SearchItem::Index, index); }
auto ofUser(bool user) { return Field(&SearchItem::UserItem, user); }
auto at(const std::string& path) { return Field(&SearchItem::Path, path); }

SearchItem item(const std::string& name, bool index, const std::string& path = "/p",
                const std::string& indexer = "") {
    SearchItem result;
    result.Name = name;
    result.Index = index;
    result.Path = path;
    result.Indexer = indexer;
    return result;
}

Items inFrench(Items items) {
    for (SearchItem& each : items) {
        if (each.Name == "Safari Cache") each.Name = "Cache Safari";
        if (each.Name == "Safari History") each.Name = "Historique Safari";
    }
    return items;
}

// Merges on a computer that has one of the folders that are looked for, or none.
Items merged(const Items& list, const Items& defaults = {}, const std::string& engine = "8600",
             const std::string& folder = "") {
    return mergedSearchItems(list, defaults, engine, [&](const std::string& path) {
        return path == folder ? std::optional("/resolved" + path) : std::nullopt;
    });
}

TEST(SearchItemMergeTest, FirstLaunchYieldsTheBuiltInItemsWithFourOn) {
    const Items items = merged(defaultSearchItems(), defaultSearchItems());
    ASSERT_EQ(items.size(), 20U);
    EXPECT_THAT(items, Each(ofUser(false)));
    for (std::size_t i = 0; i < 20; ++i) EXPECT_EQ(items[i].Index, i < 4) << items[i].Name;
    EXPECT_EQ(merged(items, defaultSearchItems()), items);  // so does the second
    EXPECT_EQ(merged({}, defaultSearchItems()), items);
}

TEST(SearchItemMergeTest, ItemsAreNotAddedTwiceInAnotherLanguage) {
    const Items english = defaultSearchItems();
    const Items french = inFrench(english);
    EXPECT_EQ(merged(merged(english, english), french), merged(english, english));
    EXPECT_EQ(merged(merged(french, french), english), merged(french, french));
    EXPECT_EQ(inFrench(merged(english, english)), merged(french, french));  // paths included
}

TEST(SearchItemMergeTest, WhatTheUserChangedWinsAndItemsElsewhereStayBeside) {
    SearchItem changed = item("Opera History", true, "~/Library/Opera/global_history.dat");
    changed.LastScanDate = Date::fromReference(5);
    changed.otherKeys = {{"FromTheFuture", PropertyList::Array{1}}};
    const Items items = merged({changed, item("Firefox History", false, "/mine/places.sqlite"),
                                item("NetNewsWire", true, "/mine")},
                               defaultSearchItems());
    EXPECT_EQ(items.size(), 21U);
    EXPECT_EQ(items[0], changed);
    EXPECT_THAT(items[1], AllOf(at("/mine/places.sqlite"), ofUser(true)));
    EXPECT_THAT(items, Contains(AllOf(named("Firefox History"), ofUser(false))));
    EXPECT_THAT(items[2], AllOf(at("/mine"), ofUser(false)));  // known by its name alone
}

TEST(SearchItemMergeTest, RenamedSourcesHandTheirStateOver) {
    const Items items = merged({item("Firefox 4 History", true), item("Firefox 3 History", false),
                                item("Firefox 3 Bookmarks", false), item("NetNewsWire 2", true),
                                item("Siftwell Cache", true)},
                               defaultSearchItems());
    EXPECT_EQ(items.size(), 20U);
    EXPECT_THAT(items, Contains(AllOf(named("Firefox History"), on(true), ofUser(false))));
    EXPECT_THAT(items, Contains(AllOf(named("Firefox Bookmarks"), on(false))));
    EXPECT_THAT(items, Contains(AllOf(named("NetNewsWire"), on(true))));
    EXPECT_THAT(
        merged({item("NetNewsWire", false), item("NetNewsWire 2", true)}, defaultSearchItems())[0],
        AllOf(named("NetNewsWire"), on(false)));  // it was in the list already
}

TEST(SearchItemMergeTest, RetiredSourcesStayOnlyWhileTheyAreOn) {
    for (const char* name : {"Internet Explorer History", "Internet Explorer Favorites",
                             "Mozilla (Netscape) History", "Mozilla (Netscape) Bookmarks",
                             "Firefox 2 Bookmarks", "Firefox 2 History", "PulpFiction"}) {
        EXPECT_THAT(merged({item(name, false)}), IsEmpty()) << name;
        EXPECT_THAT(merged({item(name, true)}), Contains(ofUser(true))) << name;
    }
}

TEST(SearchItemMergeTest, PathsFollowTheVersionOfTheEngine) {
    const auto cachePath = [](const char* engine, const char* folder = "") {
        return merged({item("Safari Cache", true, "dummy", "SafariCache")}, {}, engine, folder)
            .front()
            .Path;
    };
    EXPECT_EQ(cachePath("7534.48.3"), "~/Library/Caches/com.apple.Safari");
    EXPECT_EQ(cachePath("5526"), "~/Library/Caches/com.apple.Safari");
    EXPECT_EQ(cachePath("5525"), "~/Library/Caches/Safari");
    EXPECT_EQ(cachePath("5525", "/var/folders/"), "/var/folders/*/*/-Caches-/com.apple.Safari");
    EXPECT_EQ(cachePath(""), "~/Library/Caches/Safari");
    const Items history = {item("Historique Safari", true, "x", "SafariHistory")};
    EXPECT_THAT(merged(history, {}, "8600")[0], at("~/Library/Safari/History.db"));
    EXPECT_THAT(merged(history, {}, "8599.9")[0], at("~/Library/Safari/History.plist"));
    EXPECT_THAT(merged({item("Safari Cache", true, "/mine", "LocalFiles"),
                        item("iCab History", true, "/mine", "SafariHistory")}),
                Each(at("/mine")));
}

TEST(SearchItemMergeTest, FormerPathsAreRewritten) {
    EXPECT_THAT(merged({item("Opera History", true)})[0], at("~/Library/Opera/global_history.dat"));
    EXPECT_THAT(merged({item("Opera Bookmarks", true)})[0], at("~/Library/Opera/bookmarks.adr"));
    for (const char* former :
         {"~/Library/Caches/NetNewsWire", "~/Library/Caches/com.ranchero.NetNewsWire"}) {
        const Items list = {item("NetNewsWire", true, former)};
        EXPECT_THAT(merged(list)[0], at(former));
        EXPECT_THAT(merged(list, {}, "8600", kNetNewsWireCache)[0],
                    at(std::string("/resolved") + kNetNewsWireCache));
    }
}

}  // namespace
}  // namespace siftwell
