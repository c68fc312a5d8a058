#include "sources/caches/ChromiumBlockCache.h"

#include <array>
#include <charconv>
#include <cstdio>

#include "base/Translate.h"
#include "sources/caches/CacheFolder.h"

namespace siftwell {

namespace {

constexpr std::size_t kDigits = 8;

std::string nameOf(ChromiumBlockFiles::Address address) {
    std::array<char, kDigits + 1> name{};
    std::snprintf(name.data(), name.size(), "%08x", address);
    return name.data();
}

std::string patternFor(StatusCode code) {
    if (code == StatusCode::UnknownVersion) {
        return _("The browser cache %@ is of a form that is not known.");
    }
    return code == StatusCode::TooLarge ? _("The browser cache %@ has too many entries.")
                                        : _("The browser cache %@ is damaged.");
}

}  // namespace

ChromiumBlockCache::ChromiumBlockCache(const std::string& folder)
    : m_folder(folder), m_files([folder](const std::string& name) -> std::unique_ptr<ByteSource> {
          return BytesOfFile::open(folder + "/" + name);
      }) {}

BrowserCache::Listing ChromiumBlockCache::entriesChangedAfter(Date date) {
    const auto [entries, code] = m_files.entries();
    Listing listing;
    for (const auto& [address, lastUsed] : entries) {
        if (lastUsed > date) listing.entries.push_back({nameOf(address), lastUsed});
    }
    if (code != StatusCode::Ok) listing.status = {code, filledIn(patternFor(code), m_folder)};
    return listing;
}

std::optional<CachedPage> ChromiumBlockCache::page(const std::string& name) {
    ChromiumBlockFiles::Address address = 0;
    if (!isHexadecimal(name, kDigits)) return std::nullopt;
    std::from_chars(name.data(), name.data() + name.size(), address, 16);
    return m_files.page(address);
}

}  // namespace siftwell
