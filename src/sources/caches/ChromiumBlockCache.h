// ChromiumBlockCache: a folder of ChromiumBlockFiles. Entries are named by their addresses.
//
// Threads and errors: as BrowserCache.
#pragma once

#include <string>

#include "sources/caches/BrowserCache.h"
#include "sources/caches/ChromiumBlockFiles.h"

namespace siftwell {

class ChromiumBlockCache final : public BrowserCache {
public:
    explicit ChromiumBlockCache(const std::string& folder);

    Listing entriesChangedAfter(Date date) override;
    std::optional<CachedPage> page(const std::string& name) override;

private:
    const std::string m_folder;
    ChromiumBlockFiles m_files;
};

}  // namespace siftwell
