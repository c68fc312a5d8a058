#include "sources/ChromiumBlockCache.h"

#include <array>
#include <charconv>
#include <cstdio>

#include "sources/CacheFolder.h"

namespace siftwell {

namespace {

constexpr std::size_t kDigits = 8;

std::string nameOf(ChromiumBlockFiles::Address address) {
    std::array<char, kDigits + 1> name{};
    std::snprintf(name.data(), name.size(), "%08x", address);
    return name.data();
}

}  // namespace

ChromiumBlockCache::ChromiumBlockCache(const std::string& folder)
    : m_files([folder](const std::string& name) -> std::unique_ptr<ByteSource> {
          return BytesOfFile::open(folder + "/" + name);
      }) {}

Result<std::vector<BrowserCache::Entry>> ChromiumBlockCache::entriesChangedAfter(Date date) {
    std::vector<Entry> entries;
    for (const auto& [address, lastUsed] : m_files.entries()) {
        if (lastUsed > date) entries.push_back({nameOf(address), lastUsed});
    }
    return entries;
}

std::optional<CachedPage> ChromiumBlockCache::page(const std::string& name) {
    ChromiumBlockFiles::Address address = 0;
    if (!isHexadecimal(name, kDigits)) return std::nullopt;
    std::from_chars(name.data(), name.data() + name.size(), address, 16);
    return m_files.page(address);
}

}  // namespace siftwell
