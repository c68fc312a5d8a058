#include "sources/caches/FirefoxCache.h"

#include "sources/caches/ByteSource.h"
#include "sources/caches/CacheFolder.h"
#include "sources/caches/FirefoxCacheEntry.h"

namespace siftwell {

namespace {

// Of the SHA-1 of its key.
bool isEntryName(std::string_view name) { return isHexadecimal(name, 40); }

}  // namespace

BrowserCache::Listing FirefoxCache::entriesChangedAfter(Date date) {
    Listing listing = entryFilesIn(m_entries, isEntryName);
    std::erase_if(listing.entries, [date](const Entry& entry) { return entry.changed <= date; });
    return listing;
}

std::optional<CachedPage> FirefoxCache::page(const std::string& name) {
    const auto file = isEntryName(name) ? BytesOfFile::open(m_entries + "/" + name) : nullptr;
    return file != nullptr ? readFirefoxCacheEntry(*file, file->modified()) : std::nullopt;
}

}  // namespace siftwell
