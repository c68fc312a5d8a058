#include "retrieval/RSSFeedProtocol.h"

#include <utility>

#include "text/Ascii.h"

namespace siftwell {

namespace {

// The address's path as it is written; "/" when it is empty.
std::string rawPathOf(const Url& url) {
    const std::string specifier = url.resourceSpecifier();
    const std::size_t authority = specifier.starts_with("//") ? 2 : 0;
    const std::size_t begin = std::min(specifier.find_first_of("/?#", authority), specifier.size());
    const std::size_t end = std::min(specifier.find_first_of("?#", begin), specifier.size());
    return begin == end ? "/" : specifier.substr(begin, end - begin);
}

std::optional<URLRequest> httpRequestFor(const URLRequest& request) {
    const auto& host = request.url.host();
    if (!host || host->empty()) return std::nullopt;
    auto url = Url::parse("http://" + *host + rawPathOf(request.url));
    if (!url) return std::nullopt;
    URLRequest derived = request;
    derived.url = *std::move(url);
    return derived;
}

// Tells the feed's client what becomes of the http request.
class FeedClient : public URLLoadClient {
public:
    FeedClient(Url feed, std::shared_ptr<URLLoadClient> client)
        : m_feed(std::move(feed)), m_client(std::move(client)) {}

    bool willSendRequest(const URLResponse&) override { return true; }

    bool didReceiveResponse(const URLResponse& response) override {
        URLResponse own = response;
        own.url = m_feed;
        own.statusCode = 200;  // whatever the server said: the body counts
        return m_client->didReceiveResponse(own);
    }

    bool didReceiveAuthenticationChallenge() override {
        return m_client->didReceiveAuthenticationChallenge();
    }
    Appetite didReceiveData(std::string_view bytes) override {
        return m_client->didReceiveData(bytes);
    }
    void didFailWithError(int code) override { m_client->didFailWithError(code); }
    void didFinishLoading() override { m_client->didFinishLoading(); }

private:
    const Url m_feed;
    const std::shared_ptr<URLLoadClient> m_client;
};

}  // namespace

bool RSSFeedProtocol::canInitWithRequest(const URLRequest& request) {
    return lowerCasedAscii(request.url.scheme()) == "feed";
}

URLLoader::LoadID RSSFeedProtocol::start(const URLRequest& request,
                                         std::shared_ptr<URLLoadClient> client) {
    const auto derived = httpRequestFor(request);
    if (!derived) {
        client->didFailWithError(loadError::kUnavailable);
        return 0;
    }
    return m_http.start(*derived, std::make_shared<FeedClient>(request.url, std::move(client)));
}

}  // namespace siftwell
