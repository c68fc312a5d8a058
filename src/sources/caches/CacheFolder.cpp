#include "sources/caches/CacheFolder.h"

#include <algorithm>
#include <utility>

#include "sources/FolderWalk.h"

namespace siftwell {

BrowserCache::Listing entryFilesIn(const std::string& folder,
                                   const std::function<bool(std::string_view)>& isEntry) {
    BrowserCache::Listing listing;
    FolderWalk walk(folder, [&listing](const Status& status) {
        if (listing.status.isOk()) listing.status = status;
    });
    for (std::string path; walk.next(path);) {
        // What lies in folders below has a longer name, and is no entry.
        std::string name = path.substr(std::min(folder.size() + 1, path.size()));
        if (isEntry(name)) listing.entries.push_back({std::move(name), walk.modified()});
    }
    return listing;
}

bool isHexadecimal(std::string_view text, std::size_t digits) {
    return text.size() == digits &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

}  // namespace siftwell
