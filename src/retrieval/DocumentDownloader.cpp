#include "retrieval/DocumentDownloader.h"

#include <utility>

#include "base/Translate.h"
#include "retrieval/HttpStatusText.h"
#include "text/Base64.h"

namespace siftwell {

namespace {

constexpr std::int64_t kMaxAnnouncedBytes = 2 << 20;
constexpr std::size_t kMaxUnannouncedBytes = std::size_t{64} << 20;

// Servers used to give unknown programs pages without text.
constexpr const char* kUserAgent =
    "Mozilla/5.0 (Macintosh; U; PPC Mac OS X; en) AppleWebKit/417.9 (KHTML, like Gecko) "
    "Siftwell/1.9";

bool isForbidding(const std::optional<URLResponse>& response) {
    return response && response->statusCode && forbidsRetrying(*response->statusCode);
}

std::string tooLarge() {
    return _("Data size is larger than 2MB.  This can't be something I'm supposed to index.");
}

URLRequest requestFor(const Url& url) {
    URLRequest request{.url = url};
    request.timeoutInterval = std::chrono::seconds(30);
    request.allHTTPHeaderFields["User-Agent"] = kUserAgent;
    return request;
}

bool isHttps(const Url& url) { return url.scheme() == "https"; }

}  // namespace

DocumentDownloader::DocumentDownloader(Document document,
                                       std::shared_ptr<DownloadDelegate> delegate,
                                       URLLoader& loader, int authorization)
    : m_document(std::move(document)),
      m_delegate(std::move(delegate)),
      m_loader(loader),
      m_authorization(authorization),
      m_request(requestFor(m_document.url)) {}

void DocumentDownloader::run(std::span<const ProtectionSpace> spaces) {
    URLRequest request = m_request;
    if (m_authorization != 0 && isHttps(request.url) && !authorize(request, spaces)) {
        return finish(_("Could not make a secure connection (authentication failed)."));
    }
    const URLLoader::LoadID load = m_loader.start(request, shared_from_this());
    bool isEnded = false;
    {
        MutexLock lock(m_mutex);
        m_load = load;
        isEnded = m_isFinished;
    }
    if (isEnded && load != 0) m_loader.cancel(load);
}

// False when there is a stored password for the host that cannot be used.
bool DocumentDownloader::authorize(URLRequest& request, std::span<const ProtectionSpace> spaces) {
    for (const ProtectionSpace& space : spaces) {
        const bool isOfHost = request.url.host() == space.host && space.protocol == "https";
        if (!isOfHost || space.users.empty()) continue;
        const auto& [user, password] = space.users.back();
        if (!password || !space.isSentInClear()) return false;
        request.allHTTPHeaderFields["Authorization"] =
            "Basic " + base64Encode(user + ":" + password->text());
        return true;
    }
    return true;
}

void DocumentDownloader::cancel() {
    m_isCancelled = true;
    URLLoader::LoadID load = 0;
    bool wasFinished = false;
    {
        MutexLock lock(m_mutex);
        load = m_load;
        wasFinished = std::exchange(m_isFinished, true);
        m_error = _("Download cancelled.");
        m_data = {};
    }
    if (load != 0) m_loader.cancel(load);
    if (!wasFinished) m_delegate->downloaderFinished(shared_from_this(), {DownloadError::kFailed});
}

bool DocumentDownloader::finished() const {
    MutexLock lock(m_mutex);
    return m_isFinished;
}

std::optional<std::string> DocumentDownloader::error() const {
    MutexLock lock(m_mutex);
    return m_error;
}

std::optional<URLResponse> DocumentDownloader::response() const {
    MutexLock lock(m_mutex);
    return m_response;
}

std::size_t DocumentDownloader::dataSize() const {
    MutexLock lock(m_mutex);
    return m_data.size();
}

std::string DocumentDownloader::takeData() {
    MutexLock lock(m_mutex);
    return std::exchange(m_data, {});
}

bool DocumentDownloader::willSendRequest(const URLResponse& redirectResponse) {
    if (!isForbidding(redirectResponse)) return true;
    MutexLock lock(m_mutex);
    m_error = filledIn(_("URL was redirected with HTTP status %d."),
                       std::int64_t{*redirectResponse.statusCode});
    return false;
}

bool DocumentDownloader::didReceiveResponse(const URLResponse& response) {
    auto refusal = refusalOf(response);
    {
        MutexLock lock(m_mutex);
        if (m_isFinished) return false;
        m_response = response;
        m_data.clear();
    }
    if (!refusal) return true;
    finish(std::move(refusal));
    return false;
}

std::optional<std::string> DocumentDownloader::refusalOf(const URLResponse& response) const {
    if (m_request.url.isFile()) return std::nullopt;
    if (response.expectedContentLength.value_or(0) > kMaxAnnouncedBytes) return tooLarge();
    if (!response.mimeType) return std::nullopt;
    const std::string& type = *response.mimeType;
    const auto contains = [&type](const char* part) {
        return type.find(part) != std::string::npos;
    };
    if (contains("text/") || contains("application/xml") || contains("application/rss+xml")) {
        return std::nullopt;
    }
    if (contains("application/pdf") && m_document.acceptsPDF) return std::nullopt;
    return filledIn(_("Can't index document with MIME type of %@."), type);
}

// A file may have any size. A body of the web whose size was not told must end somewhere.
URLLoadClient::Appetite DocumentDownloader::didReceiveData(std::string_view bytes) {
    const bool isFile = m_request.url.isFile();
    if (!isFile && !m_delegate->hasRoomForData()) return Appetite::Later;
    {
        MutexLock lock(m_mutex);
        if (m_isFinished) return Appetite::NoMore;
        if (isFile || m_data.size() + bytes.size() <= kMaxUnannouncedBytes) {
            m_data += bytes;
            return Appetite::More;
        }
    }
    finish(tooLarge());
    return Appetite::NoMore;
}

void DocumentDownloader::didFailWithError(int code) {
    {
        MutexLock lock(m_mutex);
        m_receivedError = code;
    }
    if (code == 0) return;
    if (code == loadError::kAuthenticationCancelled) {
        return finish(_("Connection error (authentication failed)."));
    }
    finish(filledIn(_("Could not get data (error code %d)."), std::int64_t{code}));
}

void DocumentDownloader::didFinishLoading() {
    std::optional<std::string> error;
    {
        MutexLock lock(m_mutex);
        error = lackOf();
    }
    finish(std::move(error));
}

// What is missing when a load has come to its end.
std::optional<std::string> DocumentDownloader::lackOf() const {
    if (isForbidding(m_response)) {
        return filledIn(_("Request failed with HTTP status %d."),
                        std::int64_t{*m_response->statusCode});
    }
    if (m_error || !m_data.empty()) return m_error;
    if (!m_receivedError) {
        return _("Could not get data (no further error information available).");
    }
    return *m_receivedError == loadError::kAuthenticationCancelled
               ? _("Could not get data (authentication failed).")
               : filledIn(_("Could not get data (error code %d)."), std::int64_t{*m_receivedError});
}

void DocumentDownloader::finish(std::optional<std::string> error) {
    const DownloadError result{error ? DownloadError::kFailed : DownloadError::kNone};
    {
        MutexLock lock(m_mutex);
        if (m_isFinished) return;
        m_isFinished = true;
        m_error = std::move(error);
        if (result.code != DownloadError::kNone) m_data = {};
    }
    m_delegate->downloaderFinished(shared_from_this(), result);
}

}  // namespace siftwell
