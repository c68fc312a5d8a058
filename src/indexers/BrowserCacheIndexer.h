// BrowserCacheIndexer (FirefoxCache, ChromeCache): pages out of the caches of browsers, from the
// very bytes that the browser showed, without asking for them again.
#pragma once

#include "indexers/TaskIndexer.h"

namespace siftwell {

class BrowserCacheIndexer : public TaskIndexer {
public:
    using TaskIndexer::TaskIndexer;

    void performIndexingScan() override;
    // `objectPath` is a folder, a slash or "&entry=", and the name of the entry.
    std::optional<CachedData> dataFromCache(const std::string& objectPath) override;

protected:
    void takePage(const std::string& folder, wire::Page&& page) override;
};

}  // namespace siftwell
