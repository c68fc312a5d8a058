#include "sources/caches/ChromiumSimpleCache.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/Files.h"
#include "sources/caches/ByteSource.h"
#include "sources/caches/CacheFolder.h"

namespace siftwell {

namespace {

constexpr std::size_t kDigits = 16;
constexpr std::size_t kMaxIndexBytes = 24 << 20;  // a million entries, as the browser allows

bool isEntryName(std::string_view name) {
    return isHexadecimal(name.substr(0, kDigits), kDigits) && name.substr(kDigits) == "_0";
}

}  // namespace

ChromiumSimpleCache::ChromiumSimpleCache(std::string folder) : m_folder(std::move(folder)) {
    const auto bytes = readFile(m_folder + "/index-dir/the-real-index", kMaxIndexBytes);
    if (bytes) m_index = readChromiumSimpleIndex(*bytes).value_or(ChromiumSimpleIndex());
}

Date ChromiumSimpleCache::lastUsed(const std::string& name, Date modified) const {
    std::uint64_t number = 0;
    std::from_chars(name.data(), name.data() + kDigits, number, 16);
    const auto found = m_index.find(number);
    return found != m_index.end() ? std::max(found->second, modified) : modified;
}

BrowserCache::Listing ChromiumSimpleCache::entriesChangedAfter(Date date) {
    Listing listing = entryFilesIn(m_folder, isEntryName);
    for (Entry& entry : listing.entries) entry.changed = lastUsed(entry.name, entry.changed);
    std::erase_if(listing.entries, [date](const Entry& entry) { return entry.changed <= date; });
    return listing;
}

std::optional<CachedPage> ChromiumSimpleCache::page(const std::string& name) {
    const auto file = isEntryName(name) ? BytesOfFile::open(m_folder + "/" + name) : nullptr;
    if (file == nullptr) return std::nullopt;
    return readChromiumSimpleEntry(*file, lastUsed(name, file->modified()));
}

}  // namespace siftwell
