#include "app/FetchedFeed.h"

#include <memory>
#include <utility>

#include "base/Mutex.h"
#include "retrieval/FeedReader.h"
#include "retrieval/SchemeLoader.h"

namespace siftwell {

namespace {

// Gathers one feed, for whoever waits.
class GatheredFeed : public URLLoadClient {
public:
    explicit GatheredFeed(const Url& url) : m_feed{url, std::nullopt, std::nullopt, {}} {}

    bool willSendRequest(const URLResponse&) override { return true; }

    bool didReceiveResponse(const URLResponse& response) override {
        if (response.statusCode.value_or(200) >= 300) {
            end(false);
            return false;
        }
        MutexLock lock(m_mutex);
        m_feed.mimeType = response.mimeType;
        m_feed.textEncodingName = response.textEncodingName;
        m_feed.data.clear();
        return true;
    }

    bool didReceiveAuthenticationChallenge() override { return false; }

    Appetite didReceiveData(std::string_view bytes) override {
        if (append(bytes)) return Appetite::More;
        end(false);
        return Appetite::NoMore;
    }

    void didFailWithError(int) override { end(false); }
    void didFinishLoading() override { end(true); }

    void end(bool isWhole) {
        MutexLock lock(m_mutex);
        m_isWhole = isWhole;
        m_hasEnded = true;
        m_end.notifyAll();
    }

    std::optional<WebResource> wait() {
        MutexLock lock(m_mutex);
        while (!m_hasEnded) m_end.wait(m_mutex);
        return m_isWhole ? std::optional<WebResource>(std::move(m_feed)) : std::nullopt;
    }

private:
    bool append(std::string_view bytes) {
        MutexLock lock(m_mutex);
        if (m_feed.data.size() + bytes.size() > kMaxFeedBytes) return false;
        m_feed.data += bytes;
        return true;
    }

    Mutex m_mutex;
    Condition m_end;
    WebResource m_feed SW_GUARDED_BY(m_mutex);
    bool m_isWhole SW_GUARDED_BY(m_mutex) = false;
    bool m_hasEnded SW_GUARDED_BY(m_mutex) = false;
};

}  // namespace

std::optional<PreviewDocument> fetchedFeed(const Url& url, URLLoader& network,
                                           const std::stop_token& stop) {
    const auto gathered = std::make_shared<GatheredFeed>(url);
    SchemeLoader loader(network);
    URLRequest request{.url = url};
    const URLLoader::LoadID load = loader.start(request, gathered);
    const std::stop_callback onStop(stop, [&] {
        loader.cancel(load);
        gathered->end(false);
    });
    const auto feed = gathered->wait();
    return feed ? documentOfFeed(*feed) : std::nullopt;
}

}  // namespace siftwell
