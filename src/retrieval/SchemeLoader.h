// SchemeLoader gives every load to the loader of its address's scheme.
#pragma once

#include "retrieval/FileLoader.h"
#include "retrieval/RSSFeedProtocol.h"
#include "retrieval/URLLoader.h"

namespace siftwell {

class SchemeLoader : public URLLoader {
public:
    // Borrows what loads over the network.
    explicit SchemeLoader(URLLoader& network) : m_network(network), m_feeds(network) {}

    LoadID start(const URLRequest& request, std::shared_ptr<URLLoadClient> client) override {
        if (request.url.isFile()) return m_files.start(request, std::move(client));
        if (RSSFeedProtocol::canInitWithRequest(request)) {
            return m_feeds.start(request, std::move(client));
        }
        return m_network.start(request, std::move(client));
    }
    void cancel(LoadID load) override { m_network.cancel(load); }
    void resume() override { m_network.resume(); }

private:
    URLLoader& m_network;
    FileLoader m_files;
    RSSFeedProtocol m_feeds;
};

}  // namespace siftwell
