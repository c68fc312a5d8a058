#include "retrieval/CurlLoader.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <optional>
#include <utility>

#include "base/ThreadPriority.h"
#include "text/HttpResponseHead.h"

namespace siftwell {

namespace {

using SteadyClock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr long kMaxRedirects = 20;
constexpr long kMaxConnections = 32;                         // kept open for the next request
constexpr std::size_t kMaxHeadBytes = std::size_t{1} << 20;  // of all responses to one request
constexpr Milliseconds kLongestWait(1000);

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct AddressDeleter {
    void operator()(CURLU* address) const { curl_url_cleanup(address); }
};
using List = std::unique_ptr<curl_slist, ListDeleter>;
using Address = std::unique_ptr<CURLU, AddressDeleter>;

void append(List& list, const std::string& line) {
    curl_slist* const longer = curl_slist_append(list.get(), line.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(list.release());
    list.reset(longer);
}

template <typename Pointer>
Pointer require(Pointer pointer) {
    if (pointer == nullptr) throw std::bad_alloc();
    return pointer;
}

// Names and passwords in an address are sent to nobody.
Address addressWithoutUser(const std::string& text) {
    Address address(require(curl_url()));
    const bool isParsed = curl_url_set(address.get(), CURLUPART_URL, text.c_str(),
                                       CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
    curl_url_set(address.get(), CURLUPART_USER, nullptr, 0);
    curl_url_set(address.get(), CURLUPART_PASSWORD, nullptr, 0);
    return isParsed ? std::move(address) : nullptr;
}

URLResponse responseWith(const HttpResponseHead& head, const Url& url) {
    ContentType type = head.contentType();
    return {.url = url,
            .mimeType = std::move(type.mimeType),
            .expectedContentLength = head.contentLength(),
            .textEncodingName = std::move(type.charset),
            .statusCode = head.status()};
}

int errorFor(CURLcode code) {
    switch (code) {
        case CURLE_OPERATION_TIMEDOUT:
            return loadError::kTimedOut;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return loadError::kHostNotFound;
        case CURLE_COULDNT_CONNECT:
            return loadError::kCannotConnect;
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return loadError::kConnectionLost;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
        case CURLE_SSL_CACERT_BADFILE:
            return loadError::kInsecure;
        default:
            return static_cast<int>(code);
    }
}

}  // namespace

struct CurlLoader::Multi {
    std::unique_ptr<CURLM, MultiDeleter> handle;
};

// One load. Made by any thread, then the transfer thread's.
class CurlLoader::Transfer {
public:
    Transfer(LoadID id, const URLRequest& request, std::shared_ptr<URLLoadClient> client,
             const Options& options)
        : m_id(id), m_request(request), m_client(std::move(client)) {
        setUp(options);
    }

    LoadID id() const { return m_id; }
    CURL* easy() const { return m_easy.get(); }

    void noteStart() { m_lastArrival = SteadyClock::now(); }

    void resume() {
        if (!std::exchange(m_isPaused, false)) return;
        m_lastArrival = SteadyClock::now();
        curl_easy_pause(m_easy.get(), CURLPAUSE_CONT);
    }

    // When it fails for want of an arrival; never while it is told to wait.
    std::optional<SteadyClock::time_point> deadline() const {
        if (m_isPaused) return std::nullopt;
        return m_lastArrival +
               std::chrono::duration_cast<SteadyClock::duration>(m_request.timeoutInterval);
    }

    void finish(CURLcode code) {
        if (std::exchange(m_isEnded, true)) return;
        if (code == CURLE_OK) {
            m_client->didFinishLoading();
        } else {
            m_client->didFailWithError(errorFor(code));
        }
    }

private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        const CURLcode code = curl_easy_setopt(m_easy.get(), option, value);
        if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    }

    void setUp(const Options& options) {
        m_address = addressWithoutUser(m_request.url.absoluteString());
        if (m_address) set(CURLOPT_CURLU, m_address.get());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
        set(CURLOPT_FOLLOWLOCATION, 1L);
        set(CURLOPT_MAXREDIRS, kMaxRedirects);
        set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NONE));
        set(CURLOPT_ACCEPT_ENCODING, "");           // all that can be decoded
        set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);  // a proxy's head is not the page's
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_QUICK_EXIT, 1L);  // a resolver that hangs is left alone
        set(CURLOPT_CONNECTTIMEOUT_MS,
            static_cast<long>(
                std::chrono::duration_cast<Milliseconds>(m_request.timeoutInterval).count()));
        set(CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
        set(CURLOPT_HEADERDATA, this);
        set(CURLOPT_WRITEFUNCTION, &Transfer::onData);
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_PRIVATE, this);
        for (const auto& [name, value] : m_request.allHTTPHeaderFields) {
            append(m_fields, fieldLine(name, value));
        }
        set(CURLOPT_HTTPHEADER, m_fields.get());
        for (const std::string& rule : options.connectTo) append(m_connectTo, rule);
        set(CURLOPT_CONNECT_TO, m_connectTo.get());
        if (!options.certificateAuthorities.empty()) {
            set(CURLOPT_CAINFO, options.certificateAuthorities.c_str());
        }
    }

    // A line end in a value would begin another field: what is sent is one line.
    static std::string fieldLine(const std::string& name, const std::string& value) {
        std::string line = name + ": " + value;
        std::erase_if(line, [](char c) { return c == '\r' || c == '\n'; });
        return line;
    }

    static std::size_t onHeader(const char* bytes, std::size_t size, std::size_t count,
                                void* transfer) {
        return static_cast<Transfer*>(transfer)->takeHeader({bytes, size * count});
    }
    static std::size_t onData(const char* bytes, std::size_t size, std::size_t count,
                              void* transfer) {
        return static_cast<Transfer*>(transfer)->takeData({bytes, size * count});
    }

    // What stands behind the body is of no use.
    std::size_t takeHeader(std::string_view line) {
        m_lastArrival = SteadyClock::now();
        m_headBytes += line.size();
        if (m_headBytes > kMaxHeadBytes) return kAbort;
        if (m_isBodyBegun || m_head.add(line) == HttpResponseHead::Line::Field) return line.size();
        return takeHead() ? line.size() : kAbort;
    }

    bool takeHead() {
        if (m_isEnded) return false;
        if (m_head.isInterim()) return true;
        const URLResponse response = responseWith(m_head, m_request.url);
        if (m_head.isRedirect()) {
            if (m_client->willSendRequest(response)) return true;
            finish(CURLE_OK);
            return false;
        }
        m_isBodyBegun = true;
        // A little that was packed many times over unpacks for ever.
        if (m_head.contentCodings().size() + m_head.transferCodings().size() > 1) {
            finish(CURLE_BAD_CONTENT_ENCODING);
            return false;
        }
        if (!m_client->didReceiveResponse(response)) {
            m_isEnded = true;
        } else if (m_head.isChallenge() && !m_client->didReceiveAuthenticationChallenge()) {
            m_isEnded = true;
            m_client->didFailWithError(loadError::kAuthenticationCancelled);
        }
        return !m_isEnded;
    }

    std::size_t takeData(std::string_view bytes) {
        m_lastArrival = SteadyClock::now();
        if (m_isEnded || !m_isBodyBegun) return kAbort;  // a body without a head is none
        switch (m_client->didReceiveData(bytes)) {
            case URLLoadClient::Appetite::More:
                return bytes.size();
            case URLLoadClient::Appetite::Later:
                m_isPaused = true;
                return CURL_WRITEFUNC_PAUSE;
            case URLLoadClient::Appetite::NoMore:
                break;
        }
        m_isEnded = true;
        return kAbort;
    }

    static constexpr std::size_t kAbort = 0;  // less than was given

    const LoadID m_id;
    const URLRequest m_request;
    const std::shared_ptr<URLLoadClient> m_client;
    Address m_address;
    List m_fields;
    List m_connectTo;
    HttpResponseHead m_head;
    std::size_t m_headBytes = 0;
    bool m_isBodyBegun = false;
    bool m_isPaused = false;
    bool m_isEnded = false;  // the client is told no more
    SteadyClock::time_point m_lastArrival;
    std::unique_ptr<CURL, EasyDeleter> m_easy{require(curl_easy_init())};
};

CurlLoader::CurlLoader(Options options)
    : m_options(std::move(options)), m_multi(std::make_unique<Multi>()) {
    static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (isReady != CURLE_OK) throw std::bad_alloc();
    m_multi->handle.reset(require(curl_multi_init()));
    curl_multi_setopt(m_multi->handle.get(), CURLMOPT_MAXCONNECTS, kMaxConnections);
    m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

CurlLoader::~CurlLoader() {
    m_thread.request_stop();
    wakeUp();
    m_thread.join();
}

URLLoader::LoadID CurlLoader::start(const URLRequest& request,
                                    std::shared_ptr<URLLoadClient> client) {
    auto transfer = std::make_unique<Transfer>(++m_lastLoad, request, std::move(client), m_options);
    const LoadID id = transfer->id();
    {
        MutexLock lock(m_mutex);
        m_commands.starting.push_back(std::move(transfer));
    }
    wakeUp();
    return id;
}

void CurlLoader::cancel(LoadID load) {
    {
        MutexLock lock(m_mutex);
        m_commands.cancelled.push_back(load);
    }
    wakeUp();
}

void CurlLoader::resume() {
    {
        MutexLock lock(m_mutex);
        m_commands.mustResume = true;
    }
    wakeUp();
}

void CurlLoader::wakeUp() { curl_multi_wakeup(m_multi->handle.get()); }

void CurlLoader::run(const std::stop_token& stop) {
    nameThisThread("transfer");
    CURLM* const multi = m_multi->handle.get();
    while (!stop.stop_requested()) {
        Commands commands;
        {
            MutexLock lock(m_mutex);
            std::swap(commands, m_commands);
        }
        obey(std::move(commands));
        int running = 0;
        curl_multi_perform(multi, &running);
        endFinished();
        endIdle();
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(timeToNextDeadline()), nullptr);
    }
    while (!m_transfers.empty()) remove(m_transfers.begin()->first);
}

void CurlLoader::obey(Commands commands) {
    for (auto& transfer : commands.starting) begin(std::move(transfer));
    for (const LoadID load : commands.cancelled) remove(load);
    if (!commands.mustResume) return;
    for (const auto& [id, transfer] : m_transfers) transfer->resume();
}

void CurlLoader::begin(std::unique_ptr<Transfer> transfer) {
    transfer->noteStart();
    if (curl_multi_add_handle(m_multi->handle.get(), transfer->easy()) != CURLM_OK) {
        return transfer->finish(CURLE_FAILED_INIT);
    }
    const LoadID id = transfer->id();
    m_transfers[id] = std::move(transfer);
}

void CurlLoader::endFinished() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi->handle.get(), &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        void* owner = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &owner);
        auto* const transfer = static_cast<Transfer*>(owner);
        transfer->finish(message->data.result);
        remove(transfer->id());
    }
}

void CurlLoader::endIdle() {
    const auto now = SteadyClock::now();
    std::vector<LoadID> ended;
    for (const auto& [id, transfer] : m_transfers) {
        if (transfer->deadline().value_or(now) >= now) continue;
        transfer->finish(CURLE_OPERATION_TIMEDOUT);
        ended.push_back(id);
    }
    for (const LoadID id : ended) remove(id);
}

std::int64_t CurlLoader::timeToNextDeadline() const {
    auto next = SteadyClock::now() + kLongestWait;
    for (const auto& [id, transfer] : m_transfers) {
        next = std::min(next, transfer->deadline().value_or(next));
    }
    const auto wait = std::chrono::ceil<Milliseconds>(next - SteadyClock::now());
    return std::max<std::int64_t>(wait.count(), 0);
}

void CurlLoader::remove(LoadID load) {
    const auto found = m_transfers.find(load);
    if (found == m_transfers.end()) return;
    curl_multi_remove_handle(m_multi->handle.get(), found->second->easy());
    m_transfers.erase(found);
}

}  // namespace siftwell
