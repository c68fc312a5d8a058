// What is true of every page from a cache.
#pragma once

#include <optional>

#include "Require.h"
#include "base/Url.h"
#include "records/CachedPage.h"
#include "sources/caches/BrowserCache.h"

namespace siftwell::fuzz {

inline void requirePage(const std::optional<CachedPage>& page) {
    if (!page) return;
    const auto url = Url::parse(page->url);
    require(url && url->scheme().size() >= 4 && url->scheme().size() <= 5);
    require(!page->mimeType.empty());
    require(!page->textEncodingName || !page->textEncodingName->empty());
    require(page->data.size() <= BrowserCache::kMaxPageBytes);
}

}  // namespace siftwell::fuzz
