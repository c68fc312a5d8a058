// Feeds as they are fetched for a preview.
//
// Threads: any; waits for the network, no longer than until it is told to stop.
// Errors: none beyond none.
#pragma once

#include <optional>
#include <stop_token>

#include "app/PreviewDocument.h"
#include "retrieval/URLLoader.h"

namespace siftwell {

// The feed at the address (http, https or feed) as a page, at most what a feed may have of bytes.
// None when it cannot be loaded, or is no feed.
std::optional<PreviewDocument> fetchedFeed(const Url& url, URLLoader& network,
                                           const std::stop_token& stop);

}  // namespace siftwell
