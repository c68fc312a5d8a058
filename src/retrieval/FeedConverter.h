// FeedConverter: a feed as a page to look at.
//
// Nothing in a feed can make the page load or run anything: of its markup only the text is left,
// all of which is escaped, and of its addresses only links to http, https and feed.
//
// Threads: pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Status.h"
#include "base/Url.h"
#include "retrieval/FeedReader.h"

namespace siftwell {

// UTF-8, at most a little over 8 MB; entries that would make it longer are left out.
std::string pageOfFeed(const Feed& feed);

// The whole way. The address stands for a title that the feed does not have.
Result<std::string> convertFeed(std::string_view bytes,
                                const std::optional<std::string>& encodingName, const Url& url);

}  // namespace siftwell
