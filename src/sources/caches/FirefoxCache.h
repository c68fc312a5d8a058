// FirefoxCache: a cache2 folder's entries, a file each.
//
// Threads and errors: as BrowserCache.
#pragma once

#include <string>
#include <utility>

#include "sources/caches/BrowserCache.h"

namespace siftwell {

class FirefoxCache final : public BrowserCache {
public:
    explicit FirefoxCache(std::string entries) : m_entries(std::move(entries)) {}

    Listing entriesChangedAfter(Date date) override;
    std::optional<CachedPage> page(const std::string& name) override;

private:
    const std::string m_entries;  // the folder of that name
};

}  // namespace siftwell
