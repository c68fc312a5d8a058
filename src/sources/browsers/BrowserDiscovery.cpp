#include "sources/browsers/BrowserDiscovery.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/Files.h"
#include "base/Paths.h"
#include "sources/PathExpansion.h"
#include "sources/browsers/BrowserProfiles.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

namespace fs = std::filesystem;
using Kind = BrowserSource::Kind;

constexpr std::size_t kMaxNames = 4096;  // looked at in one folder
constexpr std::size_t kMaxListBytes = std::size_t{4} << 20;

// What the browsers of one family keep in a profile, and what reads it; nullptr for nothing.
struct Family {
    const char* history;  // the file that makes a folder a profile
    const char* historyIndexer;
    const char* bookmarks;
    const char* bookmarksIndexer;
    const char* cache;  // the folder in the profile's folder for caches
    const char* cacheIndexer;
};

constexpr Family kFirefox = {"places.sqlite",    "FirefoxHistory", "places.sqlite",
                             "FirefoxBookmarks", "cache2",         "FirefoxCache"};
constexpr Family kChrome = {"History",      "ChromeHistory", "Bookmarks",
                            "URLExtractor", "Cache",         "ChromeCache"};
constexpr Family kEpiphany = {"ephy-history.db", "EpiphanyHistory", nullptr,
                              nullptr,           nullptr,           nullptr};
constexpr Family kFalkon = {"browsedata.db", "FalkonHistory", nullptr, nullptr, nullptr, nullptr};
constexpr Family kQutebrowser = {"history.sqlite", "QutebrowserHistory", nullptr, nullptr, nullptr,
                                 nullptr};

// A folder of profiles, and the one of their caches. The letters stand for the user's folders: "~"
// home, "C" configuration, "K" caches, "D" data, "V" those of flatpaks.
struct Place {
    const char* browser;
    const char* packaging;
    const Family& family;
    const char* profiles;
    const char* caches;
    const char* otherCaches = "";  // where some versions keep them
};

constexpr const char* kOwn = "";
constexpr const char* kSnap = "Snap";
constexpr const char* kFlatpak = "Flatpak";

const std::array kPlaces = {
    Place{"Firefox", kOwn, kFirefox, "~/.mozilla/firefox", "K/mozilla/firefox"},
    Place{"Firefox", kOwn, kFirefox, "C/mozilla/firefox", "K/mozilla/firefox"},
    Place{"Firefox", kSnap, kFirefox, "~/snap/firefox/common/.mozilla/firefox",
          "~/snap/firefox/common/.cache/mozilla/firefox"},
    Place{"Firefox", kFlatpak, kFirefox, "V/org.mozilla.firefox/.mozilla/firefox",
          "V/org.mozilla.firefox/cache/mozilla/firefox"},
    Place{"Firefox", kFlatpak, kFirefox, "V/org.mozilla.firefox/config/mozilla/firefox",
          "V/org.mozilla.firefox/cache/mozilla/firefox"},
    Place{"LibreWolf", kOwn, kFirefox, "~/.librewolf", "K/librewolf"},
    Place{"LibreWolf", kOwn, kFirefox, "C/librewolf/librewolf", "K/librewolf"},
    Place{"LibreWolf", kFlatpak, kFirefox, "V/io.gitlab.librewolf-community/.librewolf",
          "V/io.gitlab.librewolf-community/cache/librewolf"},
    Place{"Chromium", kOwn, kChrome, "C/chromium", "K/chromium"},
    Place{"Chromium", kSnap, kChrome, "~/snap/chromium/common/chromium",
          "~/snap/chromium/common/.cache/chromium"},
    Place{"Chromium", kFlatpak, kChrome, "V/org.chromium.Chromium/config/chromium",
          "V/org.chromium.Chromium/cache/chromium"},
    Place{"Google Chrome", kOwn, kChrome, "C/google-chrome", "K/google-chrome"},
    Place{"Google Chrome", kFlatpak, kChrome, "V/com.google.Chrome/config/google-chrome",
          "V/com.google.Chrome/cache/google-chrome"},
    Place{"Google Chrome Beta", kOwn, kChrome, "C/google-chrome-beta", "K/google-chrome-beta"},
    Place{"Google Chrome Dev", kOwn, kChrome, "C/google-chrome-unstable",
          "K/google-chrome-unstable"},
    Place{"Brave", kOwn, kChrome, "C/BraveSoftware/Brave-Browser", "K/BraveSoftware/Brave-Browser"},
    Place{"Brave", kSnap, kChrome, "~/snap/brave/current/.config/BraveSoftware/Brave-Browser",
          "~/snap/brave/common/.cache/BraveSoftware/Brave-Browser",
          "~/snap/brave/current/.cache/BraveSoftware/Brave-Browser"},
    Place{"Brave", kFlatpak, kChrome, "V/com.brave.Browser/config/BraveSoftware/Brave-Browser",
          "V/com.brave.Browser/cache/BraveSoftware/Brave-Browser"},
    Place{"Vivaldi", kOwn, kChrome, "C/vivaldi", "K/vivaldi"},
    Place{"Vivaldi", kSnap, kChrome, "~/snap/vivaldi/current/.config/vivaldi",
          "~/snap/vivaldi/common/.cache/vivaldi"},
    Place{"Vivaldi", kFlatpak, kChrome, "V/com.vivaldi.Vivaldi/config/vivaldi",
          "V/com.vivaldi.Vivaldi/cache/vivaldi"},
    Place{"Microsoft Edge", kOwn, kChrome, "C/microsoft-edge", "K/microsoft-edge"},
    Place{"Microsoft Edge", kFlatpak, kChrome, "V/com.microsoft.Edge/config/microsoft-edge",
          "V/com.microsoft.Edge/cache/microsoft-edge"},
    Place{"Microsoft Edge Beta", kOwn, kChrome, "C/microsoft-edge-beta", "K/microsoft-edge-beta"},
    Place{"Opera", kOwn, kChrome, "C/opera", "K/opera"},
    Place{"Opera", kFlatpak, kChrome, "V/com.opera.Opera/config/opera",
          "V/com.opera.Opera/cache/opera"},
    Place{"GNOME Web", kOwn, kEpiphany, "D/epiphany", ""},
    Place{"GNOME Web", kFlatpak, kEpiphany, "V/org.gnome.Epiphany/data/epiphany", ""},
    Place{"Falkon", kOwn, kFalkon, "C/falkon/profiles", ""},
    Place{"Falkon", kFlatpak, kFalkon, "V/org.kde.falkon/config/falkon/profiles", ""},
    Place{"qutebrowser", kOwn, kQutebrowser, "D/qutebrowser", ""},
    Place{"qutebrowser", kFlatpak, kQutebrowser, "V/org.qutebrowser.qutebrowser/data/qutebrowser",
          ""},
};

bool isFile(const std::string& path) {
    const auto info = fileInfo(path);
    return info && info->isRegular;
}

std::string contentsOf(const std::string& path) {
    auto contents = readFile(path, kMaxListBytes);
    return contents ? *std::move(contents) : std::string();
}

// "" when the folder that the letter stands for is not known.
std::string expanded(std::string_view place, const UserFolders& folders) {
    if (place.empty()) return "";
    const std::string flatpaks = folders.home.empty() ? "" : folders.home + "/.var/app";
    const auto& base = place.front() == 'C'   ? folders.config
                       : place.front() == 'K' ? folders.cache
                       : place.front() == 'D' ? folders.data
                       : place.front() == 'V' ? flatpaks
                                              : folders.home;
    return base.empty() ? "" : base + std::string(place.substr(1));
}

using Caches = std::array<std::string, 2>;  // "" for none

// A folder of a profile, found in one place.
struct ProfileFolder {
    std::string name;
    std::string path;
    std::optional<std::string> relative;  // to the place, where it lies in it; "" for the place
};

// "" for the folder itself, and what is in it. Profiles that nobody browses with are left out.
std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    std::size_t looked = 0;
    for (fs::directory_iterator entry(folder, error), end;
         !error && entry != end && looked < kMaxNames; entry.increment(error), ++looked) {
        names.push_back(entry->path().filename().string());
    }
    std::erase_if(names, [](const std::string& name) {
        return name == "System Profile" || name == "Guest Profile";
    });
    names.emplace_back();
    std::sort(names.begin(), names.end());
    return names;
}

// Firefox puts eight letters of chance in front of the name: "x5k2p9qa.default-release".
std::string nameOfFolder(const std::string& folder, const Family& family) {
    const std::string last = lastPathComponent(folder);
    const std::size_t dot = &family == &kFirefox ? last.find('.') : std::string::npos;
    return profileName(dot == std::string::npos ? last : last.substr(dot + 1));
}

std::vector<ProfileFolder> foldersInIni(const std::string& place) {
    std::vector<ProfileFolder> folders;
    for (ListedProfile& each : profilesInIni(contentsOf(place + "/profiles.ini"))) {
        ProfileFolder folder{std::move(each.name), std::move(each.path), std::nullopt};
        if (!folder.path.starts_with('/')) {
            folder.relative = folder.path;
            folder.path = place + "/" + folder.path;
        }
        folders.push_back(std::move(folder));
    }
    return folders;
}

std::vector<ProfileFolder> foldersWithHistory(const std::string& place, const Family& family) {
    std::vector<ProfileFolder> folders;
    for (const std::string& name : namesIn(place)) {
        std::string folder = place;
        if (!name.empty()) folder.append("/").append(name);
        if (!isFile(folder + "/" + family.history)) continue;
        folders.push_back({"", folder, name});
        if (folders.size() == kMaxBrowserProfiles) break;
    }
    return folders;
}

std::vector<ProfileFolder> foldersIn(const std::string& place, const Family& family) {
    std::vector<ProfileFolder> folders;
    if (&family == &kFirefox) folders = foldersInIni(place);
    if (folders.empty()) folders = foldersWithHistory(place, family);
    if (folders.empty()) return folders;
    std::map<std::string, std::string> names;
    if (&family == &kChrome) names = profileNamesInLocalState(contentsOf(place + "/Local State"));
    for (ProfileFolder& folder : folders) {
        const auto name = names.find(folder.relative.value_or(""));
        if (name != names.end()) folder.name = name->second;
        const bool isOnly = folder.relative == "" && &family != &kChrome;
        if (folder.name.empty() && !isOnly) folder.name = nameOfFolder(folder.path, family);
    }
    return folders;
}

// The folder of the profile's cache, and never one around it: what lies beside the cache is nobody
// else's business. A profile somewhere else holds its own.
std::optional<std::string> cacheFolder(const ProfileFolder& folder, const Caches& caches,
                                       const Family& family) {
    std::vector<std::string> candidates;
    for (const std::string& each : caches) {
        if (!folder.relative || each.empty()) continue;
        candidates.push_back(folder.relative->empty() ? each : each + "/" + *folder.relative);
    }
    candidates.push_back(folder.path);
    for (const std::string& candidate : candidates) {
        std::string cache = candidate + "/" + family.cache;
        if (isFolder(cache)) return cache;
    }
    return std::nullopt;
}

std::vector<BrowserSource> sourcesIn(const ProfileFolder& folder, const Caches& caches,
                                     const Family& family) {
    std::vector<BrowserSource> sources;
    if (family.cache != nullptr) {
        const auto cache = cacheFolder(folder, caches, family);
        if (cache) sources.push_back({Kind::Cache, family.cacheIndexer, *cache});
    }
    const std::string history = folder.path + "/" + family.history;
    if (isFile(history)) sources.push_back({Kind::History, family.historyIndexer, history});
    if (family.bookmarks != nullptr) {
        const std::string bookmarks = folder.path + "/" + family.bookmarks;
        if (isFile(bookmarks)) {
            sources.push_back({Kind::Bookmarks, family.bookmarksIndexer, bookmarks});
        }
    }
    return sources;
}

}  // namespace

UserFolders UserFolders::ofThisUser() {
    return {.home = homeFolder(),
            .config = baseFolder("XDG_CONFIG_HOME", "/.config"),
            .cache = baseFolder("XDG_CACHE_HOME", "/.cache"),
            .data = baseFolder("XDG_DATA_HOME", "/.local/share")};
}

std::vector<BrowserProfile> browserProfiles(const UserFolders& folders) {
    std::vector<BrowserProfile> profiles;
    std::set<std::pair<std::string, std::string>> known;  // indexers and the files they read
    // Settings and messages hold texts only.
    const auto isLeftOut = [&known](const BrowserSource& source) {
        return !isValidUtf8(source.path) ||
               !known.insert({source.indexer, resolvingSymbolicLinks(source.path)}).second;
    };
    for (const Place& place : kPlaces) {
        const std::string folder = expanded(place.profiles, folders);
        if (folder.empty() || !isFolder(folder)) continue;
        const Caches caches = {expanded(place.caches, folders),
                               expanded(place.otherCaches, folders)};
        for (ProfileFolder& each : foldersIn(folder, place.family)) {
            auto sources = sourcesIn(each, caches, place.family);
            std::erase_if(sources, isLeftOut);
            if (sources.empty()) continue;
            profiles.push_back(
                {place.browser, place.packaging, std::move(each.name), std::move(sources)});
        }
    }
    return profiles;
}

}  // namespace siftwell
