#include "records/SearchItem.h"

#include <array>
#include <string_view>

namespace siftwell {

namespace {

constexpr std::array<std::string_view, 15> kKeys = {
    "Name",         "Index",       "IndexOnce",   "Search", "Expire",
    "LastScanDate", "LastURLDate", "BundleID",    "Path",   "Indexer",
    "ScanResult",   "UserItem",    "ProcessName", "Delete", "CreationDate"};

void setIfPresent(PropertyList::Dictionary& dictionary, const char* key, const auto& value) {
    if (value) dictionary[key] = *value;
}

}  // namespace

SearchItem SearchItem::fromDictionary(const PropertyList::Dictionary& dictionary) {
    SearchItem item;
    item.Name = stringFor(dictionary, "Name");
    item.Index = booleanFor(dictionary, "Index");
    item.IndexOnce = booleanFor(dictionary, "IndexOnce");
    item.Search = booleanFor(dictionary, "Search");
    item.Expire = booleanFor(dictionary, "Expire");
    item.LastScanDate = dateFor(dictionary, "LastScanDate");
    item.LastURLDate = dateFor(dictionary, "LastURLDate");
    item.BundleID = stringFor(dictionary, "BundleID");
    item.Path = stringFor(dictionary, "Path");
    item.Indexer = stringFor(dictionary, "Indexer");
    if (const auto result = integerFor(dictionary, "ScanResult")) {
        item.ScanResult = static_cast<int>(*result);
    }
    item.UserItem = booleanFor(dictionary, "UserItem");
    if (find(dictionary, "ProcessName") != nullptr) {
        item.ProcessName = stringFor(dictionary, "ProcessName");
    }
    item.Delete = booleanFor(dictionary, "Delete");
    item.CreationDate = dateFor(dictionary, "CreationDate");
    item.otherKeys = dictionary;
    for (const std::string_view key : kKeys) item.otherKeys.erase(std::string(key));
    return item;
}

PropertyList::Dictionary SearchItem::toDictionary() const {
    PropertyList::Dictionary dictionary = otherKeys;
    dictionary["Name"] = Name;
    dictionary["Index"] = Index;
    dictionary["IndexOnce"] = IndexOnce;
    dictionary["Search"] = Search;
    dictionary["Expire"] = Expire;
    setIfPresent(dictionary, "LastScanDate", LastScanDate);
    setIfPresent(dictionary, "LastURLDate", LastURLDate);
    dictionary["BundleID"] = BundleID;
    dictionary["Path"] = Path;
    dictionary["Indexer"] = Indexer;
    setIfPresent(dictionary, "ScanResult", ScanResult);
    if (UserItem) dictionary["UserItem"] = true;
    setIfPresent(dictionary, "ProcessName", ProcessName);
    if (Delete) dictionary["Delete"] = true;
    setIfPresent(dictionary, "CreationDate", CreationDate);
    return dictionary;
}

std::vector<SearchItem> searchItemsIn(const PropertyList::Array& list) {
    std::vector<SearchItem> items;
    for (const PropertyList& entry : list) {
        if (const auto* dictionary = entry.asDictionary()) {
            items.push_back(SearchItem::fromDictionary(*dictionary));
        }
    }
    return items;
}

PropertyList::Array listOf(const std::vector<SearchItem>& items) {
    PropertyList::Array list;
    for (const SearchItem& item : items) list.emplace_back(item.toDictionary());
    return list;
}

}  // namespace siftwell
