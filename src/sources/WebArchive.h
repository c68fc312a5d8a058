// WebArchive: a page that was saved with its pictures and frames in one file, a property list.
//
// Threads: pure function. Errors: input is hostile; see PropertyListFormat.h for what is refused,
// which bounds how deep frames lie in frames.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "records/CachedObject.h"

namespace siftwell {

struct WebArchive {
    WebResource mainResource;
    std::vector<WebResource> subresources;
    std::vector<WebArchive> subframeArchives;

    // None without a main resource. Other resources without address or bytes are left out, and so
    // are frames without a main resource.
    static std::optional<WebArchive> initWithData(std::string_view bytes);
};

}  // namespace siftwell
