#include "records/SearchItem.h"

#include <gmock/gmock.h>

#include <set>

namespace siftwell {
namespace {

using Dictionary = PropertyList::Dictionary;

std::set<std::string> keysOf(const Dictionary& dictionary) {
    std::set<std::string> keys;
    for (const auto& [key, value] : dictionary) keys.insert(key);
    return keys;
}

TEST(SearchItemTest, EveryKeySurvivesTheWayThroughTheSettings) {
    const Date date = Date::fromReference(123.5);
    const Dictionary full = {{"Name", "n"},         {"Index", true},     {"IndexOnce", true},
                             {"Search", true},      {"Expire", true},    {"LastScanDate", date},
                             {"LastURLDate", date}, {"BundleID", "b"},   {"Path", "\xFFp"},
                             {"Indexer", "i"},      {"ScanResult", 6},   {"UserItem", true},
                             {"ProcessName", ""},   {"Delete", true},    {"CreationDate", date},
                             {"FromTheFuture", 1},  {"index", "no flag"}};
    const SearchItem item = SearchItem::fromDictionary(full);
    EXPECT_EQ(item.toDictionary(), full);
    EXPECT_EQ(item.ScanResult, scanResult::kUnexpectedError);
    EXPECT_EQ(searchItemsIn(listOf(std::vector{item, SearchItem()})),
              (std::vector{item, SearchItem()}));
}

TEST(SearchItemTest, WhatIsNotSetIsNotStored) {
    EXPECT_EQ(keysOf(SearchItem().toDictionary()),
              (std::set<std::string>{"Name", "Index", "IndexOnce", "Search", "Expire", "BundleID",
                                     "Path", "Indexer"}));
    const Dictionary cleared = {{"UserItem", false}, {"Delete", false}};
    const Dictionary stored = SearchItem::fromDictionary(cleared).toDictionary();
    EXPECT_FALSE(stored.contains("UserItem") || stored.contains("Delete"));
}

TEST(SearchItemTest, ValuesOfOtherKindsCountAsTheSettingsReadThem) {
    const SearchItem item = SearchItem::fromDictionary({{"Name", 7},
                                                        {"Index", "YES"},
                                                        {"Search", 1},
                                                        {"Expire", PropertyList::Array{}},
                                                        {"LastScanDate", "yesterday"},
                                                        {"ScanResult", "3"}});
    EXPECT_EQ(item.Name, "");
    EXPECT_TRUE(item.Index && item.Search);
    EXPECT_FALSE(item.Expire || item.LastScanDate);
    EXPECT_EQ(item.ScanResult, scanResult::kConfigurationError);
    EXPECT_THAT(searchItemsIn({PropertyList("x"), PropertyList(1), Dictionary{{"Name", "n"}}}),
                testing::ElementsAre(testing::Field(&SearchItem::Name, "n")));
}

TEST(SearchItemTest, NameAndPathTogetherMakeAnItem) {
    SearchItem item;
    item.Name = "a";
    item.Path = "b";
    SearchItem other = item;
    other.Index = true;
    EXPECT_TRUE(item.isSameItemAs(other));
    EXPECT_NE(item, other);
    other.Path = "B";
    EXPECT_FALSE(item.isSameItemAs(other));
}

}  // namespace
}  // namespace siftwell
