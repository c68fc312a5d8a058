// FakeSite: a web of pages that need no network. Replies come at once, when the test lets them, or
// from other threads.
//
// Threads: any.
#pragma once

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "retrieval/URLLoader.h"

namespace siftwell {

struct Reply {
    int status = 200;
    std::optional<std::string> type = "text/html";
    std::optional<std::string> charset;
    std::string body = "<html><head></head><body>words of a page</body></html>";
    std::optional<std::int64_t> announced;  // bytes; as many as there are when none
    bool isAnnounced = true;
    bool isChallenge = false;
    int error = 0;         // the load fails with it, before any response
    bool isHeld = false;   // until release()
    int redirectFrom = 0;  // status of a redirect that comes first
};

class FakeSite : public URLLoader {
public:
    void page(const std::string& address, Reply reply) {
        MutexLock lock(m_mutex);
        m_replies[address] = std::move(reply);
    }
    void text(const std::string& address, const std::string& body) {
        page(address, Reply{.body = body});
    }

    int requests(const std::string& address) {
        MutexLock lock(m_mutex);
        return static_cast<int>(m_requests[address].size());
    }
    HeaderFields headersOf(const std::string& address) {
        MutexLock lock(m_mutex);
        return m_requests[address].back().allHTTPHeaderFields;
    }
    std::size_t held() {
        MutexLock lock(m_mutex);
        return m_held.size();
    }
    std::size_t cancelled() {
        MutexLock lock(m_mutex);
        return m_cancelled;
    }

    // Answers the held request that came first; false when there is none.
    bool release() {
        Held held;
        {
            MutexLock lock(m_mutex);
            if (m_held.empty()) return false;
            held = std::move(m_held.begin()->second);
            m_held.erase(m_held.begin());
        }
        tell(held.reply, held.request, *held.client);
        return true;
    }
    // From now on cancelling comes too late to keep an answer back.
    void cancelTooLate() { m_isCancelLate = true; }

    LoadID start(const URLRequest& request, std::shared_ptr<URLLoadClient> client) override {
        const std::string address = request.url.absoluteString();
        Reply reply{.status = 404};
        LoadID load = 0;
        {
            MutexLock lock(m_mutex);
            m_requests[address].push_back(request);
            if (m_replies.contains(address)) reply = m_replies[address];
            load = ++m_lastLoad;
            if (reply.isHeld) {
                m_held.emplace(load, Held{reply, request, std::move(client)});
                return load;
            }
        }
        tell(reply, request, *client);
        return load;
    }

    void cancel(LoadID load) override {
        MutexLock lock(m_mutex);
        if (!m_isCancelLate) m_cancelled += m_held.erase(load);
    }

private:
    struct Held {
        Reply reply;
        URLRequest request{.url = Url::fromFilePath("/")};
        std::shared_ptr<URLLoadClient> client;
    };

    static void tell(const Reply& reply, const URLRequest& request, URLLoadClient& client) {
        if (reply.error != 0) return client.didFailWithError(reply.error);
        if (reply.redirectFrom != 0 &&
            !client.willSendRequest({.url = request.url, .statusCode = reply.redirectFrom})) {
            return client.didFinishLoading();
        }
        URLResponse response{.url = request.url,
                             .mimeType = reply.type,
                             .textEncodingName = reply.charset,
                             .statusCode = reply.status};
        if (reply.isAnnounced) {
            response.expectedContentLength =
                reply.announced.value_or(static_cast<std::int64_t>(reply.body.size()));
        }
        if (!client.didReceiveResponse(response)) return;
        if (reply.isChallenge && !client.didReceiveAuthenticationChallenge()) {
            return client.didFailWithError(loadError::kAuthenticationCancelled);
        }
        constexpr std::size_t kPiece = 1 << 20;
        for (std::size_t at = 0; at < reply.body.size(); at += kPiece) {
            const auto piece = std::string_view(reply.body).substr(at, kPiece);
            while (true) {
                const auto appetite = client.didReceiveData(piece);
                if (appetite == URLLoadClient::Appetite::NoMore) return;
                if (appetite == URLLoadClient::Appetite::More) break;
                std::this_thread::yield();
            }
        }
        client.didFinishLoading();
    }

    std::atomic<bool> m_isCancelLate = false;
    Mutex m_mutex;
    std::map<std::string, Reply> m_replies SW_GUARDED_BY(m_mutex);
    std::map<std::string, std::vector<URLRequest>> m_requests SW_GUARDED_BY(m_mutex);
    std::map<LoadID, Held> m_held SW_GUARDED_BY(m_mutex);
    LoadID m_lastLoad SW_GUARDED_BY(m_mutex) = 0;
    std::size_t m_cancelled SW_GUARDED_BY(m_mutex) = 0;
};

}  // namespace siftwell
