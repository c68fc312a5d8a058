// ChromiumSimpleCache: the form in which the Chrome family keeps its cache on Linux, a file for
// each entry.
//
// Threads and errors: as BrowserCache.
#pragma once

#include <string>

#include "sources/caches/BrowserCache.h"
#include "sources/caches/ChromiumSimpleEntry.h"

namespace siftwell {

class ChromiumSimpleCache final : public BrowserCache {
public:
    explicit ChromiumSimpleCache(std::string folder);

    // An entry that was used again counts as changed, though its file is as it was.
    Listing entriesChangedAfter(Date date) override;
    std::optional<CachedPage> page(const std::string& name) override;

private:
    Date lastUsed(const std::string& name, Date modified) const;

    const std::string m_folder;
    ChromiumSimpleIndex m_index;  // empty where it cannot be read
};

}  // namespace siftwell
