// CachedPage: a page as a browser keeps it in its cache.
#pragma once

#include <optional>
#include <string>

#include "base/Date.h"

namespace siftwell {

struct CachedPage {
    std::string url;       // absolute, http or https
    std::string mimeType;  // in small letters, without parameters
    std::optional<std::string> textEncodingName;
    std::string data;  // unpacked
    Date lastUsed;     // the latest date at which the browser is known to have used it
};

}  // namespace siftwell
