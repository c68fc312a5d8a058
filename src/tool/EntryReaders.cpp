#include "tool/EntryReaders.h"

#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Files.h"
#include "sources/PrivateDatabase.h"
#include "sources/browsers/BrowserDatabase.h"
#include "sources/browsers/ChromeHistory.h"
#include "sources/browsers/FalkonHistory.h"
#include "sources/browsers/FirefoxBookmarkBackup.h"
#include "sources/browsers/FirefoxBookmarks.h"
#include "sources/browsers/FirefoxHistory.h"
#include "sources/browsers/FlockBookmarks.h"
#include "sources/browsers/GnomeWebHistory.h"
#include "sources/browsers/QutebrowserHistory.h"
#include "sources/browsers/ShiiraBookmarks.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{128} << 20;  // of one that is read whole

// A folder of backups stands for the newest of them.
std::string fileFor(const std::string& path) {
    if (!isFolder(path)) return path;
    return newestBookmarkBackup(path).value_or(path);
}

bool isDatabase(std::string_view path) { return path.ends_with(".sqlite"); }

using DatabaseReader = Status (*)(BrowserDatabase& database, Date after, const TakeEntry& take);
using BytesReader = Status (*)(std::string_view bytes, const TakeEntry& take);

template <DatabaseReader kRead>
Status readCopy(const std::string& path, Date after, const TakeEntry& take) {
    const auto copy = PrivateDatabase::copyOf(path);
    if (!copy) return copy.status();
    auto database = BrowserDatabase::open(copy->path(), path);
    return database ? kRead(*database, after, take) : database.status();
}

template <BytesReader kRead>
Status readWhole(const std::string& path, Date, const TakeEntry& take) {
    const auto bytes = readFile(path, kMaxFileBytes);
    return bytes ? kRead(*bytes, take) : bytes.status();
}

Status readFirefoxDatabase(BrowserDatabase& database, Date, const TakeEntry& take) {
    return readFirefoxBookmarks(database, take);
}

// Its profiles hold a database, or, in a folder or named themselves, backups of it.
Status readFirefox(const std::string& path, Date after, const TakeEntry& take) {
    const std::string file = fileFor(path);
    return isDatabase(file) ? readCopy<readFirefoxDatabase>(file, after, take)
                            : readWhole<readFirefoxBookmarkBackup>(file, after, take);
}

Status readFlock(const std::string& path, Date after, const TakeEntry& take) {
    return isDatabase(path) ? readCopy<readFirefoxDatabase>(path, after, take)
                            : readWhole<readFlockBookmarks>(path, after, take);
}

constexpr std::array<std::pair<std::string_view, EntryReader>, 8> kReaders = {
    {{"ChromeHistory", readCopy<readChromeVisits>},
     {"EpiphanyHistory", readCopy<readGnomeWebVisits>},
     {"FalkonHistory", readCopy<readFalkonVisits>},
     {"FirefoxBookmarks", readFirefox},
     {"FirefoxHistory", readCopy<readFirefoxVisits>},
     {"FlockBookmarks", readFlock},
     {"QutebrowserHistory", readCopy<readQutebrowserVisits>},
     {"ShiiraBookmarks", readWhole<readShiiraBookmarks>}}};

}  // namespace

EntryReader entryReaderFor(const std::string& indexer) {
    for (const auto& [name, reader] : kReaders) {
        if (name == indexer) return reader;
    }
    return nullptr;
}

Date changeDateOf(const std::string& path) { return changeDateOfDatabase(fileFor(path)); }

std::vector<std::string> filesReadFor(const std::string& path) {
    return {path, path + "-wal", path + "-journal"};
}

}  // namespace siftwell
