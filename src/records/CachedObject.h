// CachedObject: a page's bytes as a browser keeps them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "base/PropertyList.h"
#include "base/Url.h"
#include "records/URLRequest.h"

namespace siftwell {

// From a cache of responses.
struct CachedURLResponse {
    std::string data;
    URLResponse response;
    PropertyList::Dictionary userInfo;
    std::uint64_t storagePolicy = 0;
};

// From a page that was saved with what belongs to it.
struct WebResource {
    Url url;
    std::optional<std::string> mimeType;
    std::optional<std::string> textEncodingName;
    std::string data;
};

using CachedObject = std::variant<CachedURLResponse, WebResource>;

}  // namespace siftwell
