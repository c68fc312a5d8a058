// DocumentDownloader fetches one address, screens what answers, and keeps the bytes and the
// identity of the document for whoever asked.
//
// Made and run once. Its delegate is told exactly once that it has finished: by the screening, by
// the loader, or by `cancel`.
//
// Threads: any; the delegate is told on the thread of whoever brought the end, no lock being held.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "base/Date.h"
#include "base/Mutex.h"
#include "records/URLRequest.h"
#include "retrieval/CredentialStore.h"
#include "retrieval/URLLoader.h"

namespace siftwell {

class DocumentDownloader;

// How a download ended. `domain` is "DocumentDownloader".
struct DownloadError {
    static constexpr int kNone = 0;
    static constexpr int kFailed = 2;  // the downloader's `error` says why
    int code = kNone;
};

class DownloadDelegate {
public:
    virtual ~DownloadDelegate() = default;

    virtual void downloaderFinished(const std::shared_ptr<DocumentDownloader>& downloader,
                                    DownloadError withError) = 0;
    // Whether bodies may grow now; else resume() is called on the loader when they may.
    virtual bool hasRoomForData() const = 0;
};

class DocumentDownloader : public URLLoadClient,
                           public std::enable_shared_from_this<DocumentDownloader> {
public:
    struct Document {
        Url url;
        std::optional<Date> date;
        std::optional<std::string> title;
        std::string source;
        std::string indexer;
        bool parseFrames = false;
        bool acceptsPDF = false;  // from the web
        int redirectCount = 0;    // hops that led here
    };

    // The loader outlives the run. `authorization`: 0 means never to send credentials.
    DocumentDownloader(Document document, std::shared_ptr<DownloadDelegate> delegate,
                       URLLoader& loader, int authorization);

    // Starts the load, with the credentials that `spaces` hold for the host when that is allowed.
    // Credentials travel over https alone.
    void run(std::span<const ProtectionSpace> spaces);
    // Ends the load with "Download cancelled.", which is reported unless an end was before. What
    // was loaded is given up in either case.
    void cancel();

    const Document& document() const { return m_document; }
    const URLRequest& request() const { return m_request; }
    bool cancelled() const { return m_isCancelled; }
    bool finished() const;

    // The rest is for the time after the end.
    std::optional<std::string> error() const;  // localized
    std::optional<URLResponse> response() const;
    std::size_t dataSize() const;
    // The body, which the downloader then no longer holds.
    std::string takeData();

    bool willSendRequest(const URLResponse& redirectResponse) override;
    bool didReceiveResponse(const URLResponse& response) override;
    bool didReceiveAuthenticationChallenge() override { return false; }
    Appetite didReceiveData(std::string_view bytes) override;
    void didFailWithError(int code) override;
    void didFinishLoading() override;

private:
    static bool authorize(URLRequest& request, std::span<const ProtectionSpace> spaces);
    std::optional<std::string> refusalOf(const URLResponse& response) const;
    std::optional<std::string> lackOf() const SW_REQUIRES(m_mutex);
    void finish(std::optional<std::string> error);

    const Document m_document;
    const std::shared_ptr<DownloadDelegate> m_delegate;
    URLLoader& m_loader;
    const int m_authorization;
    const URLRequest m_request;
    std::atomic<bool> m_isCancelled = false;

    mutable Mutex m_mutex;
    URLLoader::LoadID m_load SW_GUARDED_BY(m_mutex) = 0;
    bool m_isFinished SW_GUARDED_BY(m_mutex) = false;
    std::optional<URLResponse> m_response SW_GUARDED_BY(m_mutex);
    std::string m_data SW_GUARDED_BY(m_mutex);
    std::optional<std::string> m_error SW_GUARDED_BY(m_mutex);
    std::optional<int> m_receivedError SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
