// BrowserDiscovery: the browsers of a user, by the files that they leave in the home folder.
//
// A browser may be there several times, as the system's own package, as a snap and as a flatpak,
// each with profiles of its own.
//
// Threads: a pure function of the file system. Errors: what cannot be read is not found. Lists and
// folders are read within bounds, since other programs wrote them; no file of a browser is changed
// or locked.
#pragma once

#include <string>
#include <vector>

namespace siftwell {

// "" where one is not known; nothing is found below it then.
struct UserFolders {
    std::string home;
    std::string config;  // $XDG_CONFIG_HOME
    std::string cache;   // $XDG_CACHE_HOME
    std::string data;    // $XDG_DATA_HOME

    static UserFolders ofThisUser();
};

struct BrowserSource {
    // In the order in which a scan is to begin them: a page in a cache is not fetched again.
    enum class Kind { Cache, History, Bookmarks };

    Kind kind = Kind::History;
    std::string indexer;  // the class that reads it
    std::string path;     // absolute; of a cache its own folder, which holds nothing else

    bool operator==(const BrowserSource&) const = default;
};

struct BrowserProfile {
    std::string browser;                 // "Firefox"
    std::string packaging;               // "Snap" or "Flatpak"; "" for the system's own
    std::string name;                    // as the browser shows it, or else that of its folder
    std::vector<BrowserSource> sources;  // in the order of their kinds, at least one
};

// What leads to the same file by several ways is found once.
std::vector<BrowserProfile> browserProfiles(const UserFolders& folders);

}  // namespace siftwell
