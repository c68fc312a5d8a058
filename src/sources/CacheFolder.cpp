#include "sources/CacheFolder.h"

#include <algorithm>
#include <optional>

#include "base/Files.h"
#include "sources/FolderWalk.h"

namespace siftwell {

Result<std::vector<BrowserCache::Entry>> entryFilesIn(
    const std::string& folder, const std::function<bool(std::string_view)>& isEntry) {
    std::optional<Status> error;
    FolderWalk walk(folder, [&error](const Status& status) { error = status; });
    std::vector<BrowserCache::Entry> entries;
    for (std::string path; walk.next(path);) {
        // What lies in folders below has a longer name, and is no entry.
        std::string name = path.substr(std::min(folder.size() + 1, path.size()));
        if (isEntry(name)) entries.push_back({std::move(name), walk.modified()});
    }
    if (error && entries.empty()) return *std::move(error);
    return entries;
}

bool isHexadecimal(std::string_view text, std::size_t digits) {
    return text.size() == digits &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

}  // namespace siftwell
