// CachedResponse: what a cache tells of one entry, in whatever form, and whether it is a page.
//
// Threads: a value and pure functions. Errors: input is hostile; what is no page is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "records/CachedPage.h"
#include "text/HttpResponseHead.h"

namespace siftwell {

struct CachedResponse {
    std::string url;
    HttpResponseHead head;
    std::uint64_t bodyBytes = 0;  // as stored
    Date lastUsed;

    // By what stands beside the body, which need not be read when this is no page.
    bool isPage() const;
    // None when the body is not as long as was said, or cannot be unpacked.
    std::optional<CachedPage> pageWith(std::string body) const;
};

// The lines of a head, up to the first empty one.
HttpResponseHead headWithLines(std::string_view text, char separator);

// A stored time of whole seconds stands for all of its second, since visits are told more finely:
// the page was used by a visit in the same second, or after it began.
Date endOfSecond(Date time);

}  // namespace siftwell
