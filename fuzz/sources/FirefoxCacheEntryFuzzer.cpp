// Any bytes as an entry of Firefox's cache.

#include "CachedPageRules.h"
#include "sources/caches/FirefoxCacheEntry.h"

using namespace siftwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const BytesInMemory file(fuzz::asText(data, size));
    const Date modified = Date::fromUnix(0);
    const auto page = readFirefoxCacheEntry(file, modified);
    fuzz::requirePage(page);
    fuzz::require(!page || page->lastUsed >= modified);
    return 0;
}
