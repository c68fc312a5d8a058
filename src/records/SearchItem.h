// SearchItem: one place to index, as the settings list it.
//
// An item is identified by its name and path together. The name is also the source name under which
// its documents stand in the index.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/PropertyList.h"

namespace siftwell {

// What ScanResult may be.
namespace scanResult {
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;             // told by the indexer, or indexing was switched off
inline constexpr int kConfigurationError = 3;  // unknown indexer class or path
inline constexpr int kCopyFailed = 4;
inline constexpr int kDownloadsUnfinished = 5;
inline constexpr int kUnexpectedError = 6;
}  // namespace scanResult

struct SearchItem {
    std::string Name;
    bool Index = false;      // scanned at each scan
    bool IndexOnce = false;  // switched off after the next successful scan
    bool Search = false;     // takes part in searches
    bool Expire = false;     // its documents age out
    std::optional<Date> LastScanDate;
    std::optional<Date> LastURLDate;
    std::string BundleID;
    std::string Path;  // may start with "~" and hold "*"; the address itself for a single page
    std::string Indexer;
    std::optional<int> ScanResult;
    bool UserItem = false;  // not among the built-in items
    std::optional<std::string> ProcessName;
    bool Delete = false;  // temporary: leaves the list, with its file, after a successful scan
    std::optional<Date> CreationDate;

    // Keys of other versions of the program, kept as they are.
    PropertyList::Dictionary otherKeys;

    bool isSameItemAs(const SearchItem& other) const {
        return Name == other.Name && Path == other.Path;
    }

    static SearchItem fromDictionary(const PropertyList::Dictionary& dictionary);

    // Flags that are only there when they are set ("UserItem", "Delete") are left out when not.
    PropertyList::Dictionary toDictionary() const;

    bool operator==(const SearchItem&) const = default;
};

// The items in a list as the settings hold it, and back. Entries that are no dictionaries are left
// out.
std::vector<SearchItem> searchItemsIn(const PropertyList::Array& list);
PropertyList::Array listOf(const std::vector<SearchItem>& items);

}  // namespace siftwell
