#include "sources/caches/BrowserCache.h"

#include <array>

#include "base/Files.h"
#include "base/Translate.h"
#include "sources/caches/ByteSource.h"
#include "sources/caches/ChromiumBlockCache.h"
#include "sources/caches/ChromiumSimpleCache.h"
#include "sources/caches/ChromiumSqliteCache.h"
#include "sources/caches/FirefoxCache.h"

namespace siftwell {

namespace {

std::optional<std::string> firefoxEntriesIn(const std::string& folder) {
    if (lastPathComponent(folder) == "entries" && isFolder(folder)) return folder;
    for (const char* below : {"/cache2/entries", "/entries"}) {
        if (isFolder(folder + below)) return folder + below;
    }
    return std::nullopt;
}

// Every form has a file of that name, and begins it in its own way.
std::unique_ptr<BrowserCache> chromiumCacheIn(const std::string& folder) {
    constexpr std::string_view kSimple = "\x30\x5c\x72\xa7\x1b\x6d\xfb\xfc";
    constexpr std::string_view kBlocks = "\xc3\xca\x03\xc1";
    constexpr std::string_view kSqlite = "SQLCache";
    const auto begin = readFile(folder + "/index", kSqlite.size());
    if (!begin) return nullptr;
    if (begin->starts_with(kSimple)) return std::make_unique<ChromiumSimpleCache>(folder);
    if (begin->starts_with(kBlocks)) return std::make_unique<ChromiumBlockCache>(folder);
    if (begin->starts_with(kSqlite)) return std::make_unique<ChromiumSqliteCache>(folder);
    return nullptr;
}

}  // namespace

Result<std::unique_ptr<BrowserCache>> BrowserCache::open(const std::string& folder) {
    if (const auto entries = firefoxEntriesIn(folder)) {
        return std::unique_ptr<BrowserCache>(std::make_unique<FirefoxCache>(*entries));
    }
    for (const char* below : {"", "/Cache_Data", "/Cache/Cache_Data", "/Cache"}) {
        if (auto cache = chromiumCacheIn(folder + below)) return cache;
    }
    return {StatusCode::NotFound, filledIn(_("There is no browser cache in %@."), folder)};
}

}  // namespace siftwell
