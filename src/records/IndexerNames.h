// What the name of an indexer class tells.
#pragma once

#include <string_view>

namespace siftwell {

// Whether indexers of that class scan a cache. Histories wait for them.
inline bool readsCache(std::string_view className) {
    return className == "ChromeCache" || className == "FirefoxCache" || className == "SafariCache";
}

}  // namespace siftwell
