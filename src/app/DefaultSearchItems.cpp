#include "app/DefaultSearchItems.h"

#include <array>
#include <utility>

#include "base/Translate.h"

namespace siftwell {

namespace {

enum class Expiry { Never, WithAge };

SearchItem item(std::string name, const char* bundleID, const char* path, const char* indexer,
                Expiry expiry) {
    SearchItem result;
    result.Name = std::move(name);
    result.Search = true;
    result.Expire = expiry == Expiry::WithAge;
    result.LastScanDate = Date::distantPast();
    result.BundleID = bundleID;
    result.Path = path;
    result.Indexer = indexer;
    return result;
}

std::vector<SearchItem> itemsThatAreOn() {
    using enum Expiry;
    // The path of the cache depends on the browser engine and is filled in by the merge.
    return {item(_("Siftwell Help"), "com.velotrin.Siftwell", "*/Help", "LocalFiles", Never),
            item(_("Safari Cache"), "com.apple.Safari", "dummy", "SafariCache", WithAge),
            item(_("Safari History"), "com.apple.Safari", "~/Library/Safari/History.*",
                 "SafariHistory", WithAge),
            item(_("Safari Bookmarks"), "com.apple.Safari", "~/Library/Safari/Bookmarks.plist",
                 "SafariBookmarks", Never)};
}

std::vector<SearchItem> itemsThatAreOff() {
    using enum Expiry;
    constexpr const char* kFirefoxPlaces =
        "~/Library/Application Support/Firefox/Profiles/*/places.sqlite";
    return {
        item(_("NetNewsWire"), "com.blackpixel.netnewswire", kNetNewsWireCache, "SafariCache",
             WithAge),
        item(_("Firefox History"), "org.mozilla.firefox", kFirefoxPlaces, "FirefoxHistory",
             WithAge),
        item(_("Firefox Bookmarks"), "org.mozilla.firefox", kFirefoxPlaces, "FirefoxBookmarks",
             Never),
        item(_("OmniWeb 5 Cache"), "com.omnigroup.OmniWeb5",
             "~/Library/Caches/com.omnigroup.OmniWeb5/", "SafariCache", WithAge),
        item(_("OmniWeb 5 History"), "com.omnigroup.OmniWeb5",
             "~/Library/Application Support/OmniWeb 5/History.plist", "OmniWebHistory", WithAge),
        item(_("OmniWeb 5 Bookmarks"), "com.omnigroup.OmniWeb5",
             "~/Library/Application Support/OmniWeb 5/Bookmarks.html", "URLExtractor", Never),
        item(_("URL Mgr Pro Bookmarks"), "com.url-manager.URLManagerPro", "~/Documents/Bookmarks/",
             "URLExtractor", Never),
        item(_("Opera History"), "com.operasoftware.Opera", "~/Library/Opera/global_history.dat",
             "Opera", WithAge),
        item(_("Opera Bookmarks"), "com.operasoftware.Opera", "~/Library/Opera/bookmarks.adr",
             "Opera", Never),
        item(_("iCab History"), "de.icab.iCab", "~/Library/Preferences/iCab/iCab 4 History",
             "SafariHistory", WithAge),
        item(_("Google Chrome History"), "com.google.Chrome",
             "~/Library/Application Support/Google/Chrome/*/History", "ChromeHistory", WithAge),
        item(_("Google Chrome Bookmarks"), "com.google.Chrome",
             "~/Library/Application Support/Google/Chrome/*/Bookmarks", "URLExtractor", Never),
        item(_("RockMelt History"), "com.rockmelt.RockMelt",
             "~/Library/Application Support/RockMelt/*/History", "ChromeHistory", WithAge),
        item(_("RockMelt Bookmarks"), "com.rockmelt.RockMelt",
             "~/Library/Application Support/RockMelt/*/Bookmarks", "URLExtractor", Never),
        item(_("Vivaldi History"), "com.vivaldi.Vivaldi",
             "~/Library/Application Support/Vivaldi/*/History", "ChromeHistory", WithAge),
        item(_("Vivaldi Bookmarks"), "com.vivaldi.Vivaldi",
             "~/Library/Application Support/Vivaldi/*/Bookmarks", "URLExtractor", Never)};
}

}  // namespace

std::vector<SearchItem> defaultSearchItems() {
    std::vector<SearchItem> items = itemsThatAreOn();
    for (SearchItem& on : items) on.Index = true;
    for (SearchItem& off : itemsThatAreOff()) items.push_back(std::move(off));
    return items;
}

std::string englishItemName(const std::string& name) {
    // Every translation that any version ever registered; a catalogue knows one language only.
    constexpr std::array<std::pair<const char*, const char*>, 2> kTranslations = {
        {{"Cache Safari", "Safari Cache"}, {"Historique Safari", "Safari History"}}};
    for (const auto& [translation, english] : kTranslations) {
        if (name == translation) return english;
    }
    return name;
}

}  // namespace siftwell
