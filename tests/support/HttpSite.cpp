#include "HttpSite.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>

namespace siftwell {

// Counts a request while it is answered.
struct HttpSite::Answering {
    explicit Answering(HttpSite& owner) : site(owner) {
        const int now = ++site.m_atOnce;
        int most = site.m_mostAtOnce;
        while (now > most && !site.m_mostAtOnce.compare_exchange_weak(most, now)) {
        }
    }
    ~Answering() { --site.m_atOnce; }
    Answering(const Answering&) = delete;
    Answering& operator=(const Answering&) = delete;

    HttpSite& site;
};

HttpSite::HttpSite(const std::string& certificate, const std::string& key)
    : m_scheme(certificate.empty() ? "http" : "https") {
    m_server = certificate.empty()
                   ? std::make_unique<httplib::Server>()
                   : std::make_unique<httplib::SSLServer>(certificate.c_str(), key.c_str());
    m_server->set_keep_alive_max_count(100'000);
    m_server->set_keep_alive_timeout(1);  // seconds, for which the end may have to wait
    // A connection that is kept alive keeps its thread.
    m_server->new_task_queue = [] { return new httplib::ThreadPool(100); };
    m_server->set_tcp_nodelay(true);
    m_server->Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
        const Answering answering(*this);
        Page page{.status = 404, .body = "not there"};
        {
            MutexLock lock(m_mutex);
            m_requests[request.path].emplace_back(request.headers.begin(), request.headers.end());
            const auto found = m_pages.find(request.path);
            if (found != m_pages.end()) {
                page = found->second;
            } else if (m_otherPages) {
                page = m_otherPages(request.path);
            }
        }
        std::this_thread::sleep_for(page.delay);
        response.status = page.status;
        for (const auto& [name, value] : page.headers) response.headers.emplace(name, value);
        if (!page.isChunked) {
            // The library would compress, as slowly as it can, what is set as a whole.
            const auto send = [body = page.body](std::size_t at, std::size_t count,
                                                 httplib::DataSink& sink) {
                return sink.write(body.data() + at, count);
            };
            if (!page.body.empty()) response.set_content_provider(page.body.size(), "", send);
            response.headers.erase("Content-Type");
            if (!page.type.empty()) response.set_header("Content-Type", page.type);
            return;
        }
        response.set_chunked_content_provider(
            page.type, [body = page.body](std::size_t, httplib::DataSink& sink) {
                for (std::size_t at = 0; at < body.size(); at += 1000) {
                    const std::string piece = body.substr(at, 1000);
                    if (!sink.write(piece.data(), piece.size())) return false;
                }
                sink.done();
                return true;
            });
    });
    m_port = m_server->bind_to_any_port("127.0.0.1");
    m_thread = std::jthread([this] { m_server->listen_after_bind(); });
    while (!m_server->is_running()) std::this_thread::yield();
}

HttpSite::~HttpSite() { m_server->stop(); }

void HttpSite::page(const std::string& path, Page page) {
    MutexLock lock(m_mutex);
    m_pages[path] = std::move(page);
}

void HttpSite::otherPages(std::function<Page(const std::string& path)> make) {
    MutexLock lock(m_mutex);
    m_otherPages = std::move(make);
}

std::string HttpSite::address(const std::string& path) const {
    return m_scheme + "://127.0.0.1:" + std::to_string(m_port) + path;
}

int HttpSite::requests(const std::string& path) {
    MutexLock lock(m_mutex);
    return static_cast<int>(m_requests[path].size());
}

HttpSite::Fields HttpSite::fieldsOf(const std::string& path) {
    MutexLock lock(m_mutex);
    return m_requests[path].empty() ? Fields() : m_requests[path].back();
}

RawSite::RawSite(Answer answer)
    : m_answer(std::move(answer)), m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    void* const anonymous = &address;
    socklen_t size = sizeof address;
    bind(m_socket.get(), static_cast<sockaddr*>(anonymous), size);
    ::listen(m_socket.get(), 16);
    getsockname(m_socket.get(), static_cast<sockaddr*>(anonymous), &size);
    m_port = ntohs(address.sin_port);
    m_thread = std::jthread([this] { listen(); });
}

RawSite::~RawSite() {
    m_isEnding = true;
    m_isEnding.notify_all();
    m_thread.join();
    m_connections.clear();
}

void RawSite::listen() {
    while (!m_isEnding) {
        pollfd waiting{.fd = m_socket.get(), .events = POLLIN};
        if (poll(&waiting, 1, 20) <= 0) continue;
        FileDescriptor connection(accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        m_connections.emplace_back(
            [this, held = std::move(connection)]() mutable { this->answer(std::move(held)); });
    }
}

void RawSite::answer(FileDescriptor connection) {
    std::string head;
    while (!m_isEnding && head.find("\r\n\r\n") == std::string::npos) {
        pollfd waiting{.fd = connection.get(), .events = POLLIN};
        if (poll(&waiting, 1, 20) <= 0) continue;
        char bytes[4096];
        const ssize_t count = recv(connection.get(), bytes, sizeof bytes, 0);
        if (count <= 0) return;
        head.append(bytes, static_cast<std::size_t>(count));
    }
    if (!m_isEnding) m_answer(connection.get(), head);
}

bool RawSite::send(int connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

void RawSite::reset(int connection) {
    const linger none{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &none, sizeof none);
}

bool makeCertificate(const std::string& certificate, const std::string& key) {
    const std::string command =
        "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1 "
        "-addext subjectAltName=IP:127.0.0.1 -keyout '" +
        key + "' -out '" + certificate + "' 2>/dev/null";
    return std::system(command.c_str()) == 0;  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace siftwell
