#include "sources/browsers/FirefoxBookmarkBackup.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "base/Files.h"
#include "sources/browsers/MozLz4.h"

namespace siftwell {

namespace {

namespace fs = std::filesystem;

constexpr BookmarkNames kNames{.address = "uri",
                               .title = "title",
                               .date = "dateAdded",
                               .dates = kFirefoxDates,
                               .hiddenKey = "root",
                               .hiddenValue = "tagsFolder"};

using Age = std::pair<Date, Date>;

std::optional<Age> ageOf(const fs::path& file) {
    constexpr std::string_view kStart = "bookmarks-";
    constexpr std::size_t kDayLength = 10;
    const std::string name = file.filename().string();
    const std::string extension = file.extension().string();
    if (!name.starts_with(kStart) || (extension != ".json" && extension != ".jsonlz4")) return {};
    const auto day = Date::parseUtc(std::string_view(name).substr(kStart.size(), kDayLength));
    const auto info = fileInfo(file.string());
    if (!day || !info || !info->isRegular) return {};
    return Age{*day, info->modified};
}

}  // namespace

std::optional<std::string> newestBookmarkBackup(const std::string& folder) {
    std::optional<std::string> newest;
    Age newestAge{Date::distantPast(), Date::distantPast()};
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error)) {
        const auto age = ageOf(file->path());
        if (!age || *age < newestAge) continue;
        newestAge = *age;
        newest = file->path().string();
    }
    return newest;
}

Status readFirefoxBookmarkBackup(std::string_view bytes, const TakeEntry& take) {
    if (!isMozLz4(bytes)) return readBookmarkTree(bytes, kNames, take);
    const auto unpacked = unpackMozLz4(bytes);
    if (!unpacked) return unpacked.status();
    return readBookmarkTree(*unpacked, kNames, take);
}

}  // namespace siftwell
