// RSSFeedProtocol loads addresses of the scheme "feed": from the same host and path over http.
//
// The query, the port and the user of a feed's address do not count: that is how readers of feeds
// have always understood them. What answers counts as the answer of the feed's own address.
#pragma once

#include <optional>

#include "retrieval/URLLoader.h"

namespace siftwell {

class RSSFeedProtocol : public URLLoader {
public:
    // Borrows what loads over http.
    explicit RSSFeedProtocol(URLLoader& http) : m_http(http) {}

    static bool canInitWithRequest(const URLRequest& request);

    // A feed without a host fails as unavailable, before any data.
    LoadID start(const URLRequest& request, std::shared_ptr<URLLoadClient> client) override;
    void cancel(LoadID load) override { m_http.cancel(load); }

private:
    URLLoader& m_http;
};

}  // namespace siftwell
