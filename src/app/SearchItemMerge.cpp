#include "app/SearchItemMerge.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "app/DefaultSearchItems.h"

namespace siftwell {

namespace {

// Which sources were on under the names that they had in older versions.
struct CarriedFlags {
    bool firefoxHistory = false;
    bool firefoxBookmarks = false;
    bool netNewsWire = false;
};

bool isRetired(std::string_view name) {
    constexpr std::array<std::string_view, 7> kRetired = {"Internet Explorer History",
                                                          "Internet Explorer Favorites",
                                                          "Mozilla (Netscape) History",
                                                          "Mozilla (Netscape) Bookmarks",
                                                          "Firefox 2 Bookmarks",
                                                          "Firefox 2 History",
                                                          "PulpFiction"};
    return std::find(kRetired.begin(), kRetired.end(), name) != kRetired.end();
}

// Whether the item leaves the list; whether it was on is carried over where it has a successor.
bool leaves(const SearchItem& item, CarriedFlags& carried) {
    const std::string& name = item.Name;
    if (name == "Firefox 3 History" || name == "Firefox 4 History") {
        carried.firefoxHistory |= item.Index;
        return true;
    }
    if (name == "Firefox 3 Bookmarks" || name == "Firefox 4 Bookmarks") {
        carried.firefoxBookmarks |= item.Index;
        return true;
    }
    if (name == "NetNewsWire 2") {
        carried.netNewsWire |= item.Index;
        return true;
    }
    return name == "Siftwell Cache" || (isRetired(name) && !item.Index);
}

CarriedFlags dropFormerItems(std::vector<SearchItem>& list) {
    CarriedFlags carried;
    std::erase_if(list, [&](const SearchItem& item) { return leaves(item, carried); });
    return carried;
}

// The paths of these are rewritten, so they are known by their names alone.
bool isKnownByNameAlone(const std::string& englishName) {
    return englishName == "Safari Cache" || englishName == "Safari History" ||
           englishName == "NetNewsWire";
}

bool isBuiltIn(const SearchItem& item, const SearchItem& builtIn) {
    const std::string name = englishItemName(item.Name);
    return name == englishItemName(builtIn.Name) &&
           (item.Path == builtIn.Path || isKnownByNameAlone(name));
}

bool isCarriedOver(const SearchItem& builtIn, const CarriedFlags& carried) {
    const std::string name = englishItemName(builtIn.Name);
    return (name == "Firefox History" && carried.firefoxHistory) ||
           (name == "Firefox Bookmarks" && carried.firefoxBookmarks) ||
           (name == "NetNewsWire" && carried.netNewsWire);
}

void addBuiltInItem(std::vector<SearchItem>& list, SearchItem builtIn,
                    const CarriedFlags& carried) {
    const auto found = std::find_if(
        list.begin(), list.end(), [&](const SearchItem& item) { return isBuiltIn(item, builtIn); });
    if (found != list.end()) {
        found->UserItem = false;
        return;
    }
    if (isCarriedOver(builtIn, carried)) builtIn.Index = true;
    list.push_back(std::move(builtIn));
}

// The first digit tells the system that the engine was made for: 7534.48.3 is the engine 534.
long engineNumber(const std::string& version) {
    return version.empty() ? 0 : std::strtol(version.c_str() + 1, nullptr, 10);
}

std::string safariCachePath(long engine, const FolderProbe& resolvedFolder) {
    if (engine >= 526) return "~/Library/Caches/com.apple.Safari";
    if (resolvedFolder("/var/folders/")) return "/var/folders/*/*/-Caches-/com.apple.Safari";
    return "~/Library/Caches/Safari";
}

void moveNetNewsWire(SearchItem& item, const FolderProbe& resolvedFolder) {
    if (item.Path != "~/Library/Caches/NetNewsWire" &&
        item.Path != "~/Library/Caches/com.ranchero.NetNewsWire") {
        return;
    }
    if (const auto folder = resolvedFolder(kNetNewsWireCache)) item.Path = *folder;
}

void rewritePath(SearchItem& item, long engine, const FolderProbe& resolvedFolder) {
    const std::string name = englishItemName(item.Name);
    if (name == "Safari Cache" && item.Indexer == "SafariCache") {
        item.Path = safariCachePath(engine, resolvedFolder);
    } else if (name == "Safari History" && item.Indexer == "SafariHistory") {
        item.Path =
            engine >= 600 ? "~/Library/Safari/History.db" : "~/Library/Safari/History.plist";
    } else if (name == "Opera History") {
        item.Path = "~/Library/Opera/global_history.dat";
    } else if (name == "Opera Bookmarks") {
        item.Path = "~/Library/Opera/bookmarks.adr";
    } else if (name == "NetNewsWire") {
        moveNetNewsWire(item, resolvedFolder);
    }
}

}  // namespace

std::vector<SearchItem> mergedSearchItems(std::vector<SearchItem> list,
                                          const std::vector<SearchItem>& defaults,
                                          const std::string& engineVersion,
                                          const FolderProbe& resolvedFolder) {
    const CarriedFlags carried = dropFormerItems(list);
    for (SearchItem& item : list) item.UserItem = true;
    for (const SearchItem& builtIn : defaults) addBuiltInItem(list, builtIn, carried);
    const long engine = engineNumber(engineVersion);
    for (SearchItem& item : list) rewritePath(item, engine, resolvedFolder);
    return list;
}

}  // namespace siftwell
