#include "sources/FirefoxCache.h"

#include "sources/ByteSource.h"
#include "sources/CacheFolder.h"
#include "sources/FirefoxCacheEntry.h"

namespace siftwell {

namespace {

// Of the SHA-1 of its key.
bool isEntryName(std::string_view name) { return isHexadecimal(name, 40); }

}  // namespace

Result<std::vector<BrowserCache::Entry>> FirefoxCache::entriesChangedAfter(Date date) {
    auto entries = entryFilesIn(m_entries, isEntryName);
    if (entries) std::erase_if(*entries, [date](const Entry& e) { return e.changed <= date; });
    return entries;
}

std::optional<CachedPage> FirefoxCache::page(const std::string& name) {
    const auto file = isEntryName(name) ? BytesOfFile::open(m_entries + "/" + name) : nullptr;
    return file != nullptr ? readFirefoxCacheEntry(*file, file->modified()) : std::nullopt;
}

}  // namespace siftwell
