// HttpSite and RawSite: web servers on the loopback address, for the life of the object.
//
// Threads: servers answer on threads of their own; everything may be called from any.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/Mutex.h"

namespace httplib {
class Server;
}

namespace siftwell {

// Answers requests for the pages that it was given, and 404 to all others.
class HttpSite {
public:
    struct Page {
        int status = 200;
        std::string type = "text/html; charset=utf-8";
        std::string body;
        std::multimap<std::string, std::string> headers;
        bool isChunked = false;
        std::chrono::milliseconds delay{0};
    };
    using Fields = std::multimap<std::string, std::string>;

    HttpSite() : HttpSite("", "") {}
    // Over TLS, with the certificate and its key in these files.
    HttpSite(const std::string& certificate, const std::string& key);
    ~HttpSite();

    void page(const std::string& path, Page page);
    // Pages for all paths that have none; null means 404.
    void otherPages(std::function<Page(const std::string& path)> make);

    int port() const { return m_port; }
    std::string address(const std::string& path) const;

    int requests(const std::string& path);
    // What the last request for the path bore.
    Fields fieldsOf(const std::string& path);
    int mostAtOnce() const { return m_mostAtOnce; }

private:
    struct Answering;

    const std::string m_scheme;
    std::unique_ptr<httplib::Server> m_server;
    int m_port = 0;
    std::atomic<int> m_atOnce = 0;
    std::atomic<int> m_mostAtOnce = 0;
    Mutex m_mutex;
    std::map<std::string, Page> m_pages SW_GUARDED_BY(m_mutex);
    std::function<Page(const std::string& path)> m_otherPages SW_GUARDED_BY(m_mutex);
    std::map<std::string, std::vector<Fields>> m_requests SW_GUARDED_BY(m_mutex);
    std::jthread m_thread;
};

// Reads a request's head and sends what no library would.
class RawSite {
public:
    // Has the connection until it returns; then it is closed, with a reset when that is asked for.
    using Answer = std::function<void(int connection, const std::string& head)>;

    explicit RawSite(Answer answer);
    ~RawSite();

    int port() const { return m_port; }
    std::string address(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }
    // Whether the site is about to go: an answer that waits asks now and then, or waits for it.
    bool isEnding() const { return m_isEnding; }
    void waitForEnd() const { m_isEnding.wait(false); }

    static bool send(int connection, std::string_view bytes);
    // The peer sees a broken connection, not an end.
    static void reset(int connection);

private:
    void listen();
    void answer(FileDescriptor connection);

    const Answer m_answer;
    FileDescriptor m_socket;
    int m_port = 0;
    std::atomic<bool> m_isEnding = false;
    std::vector<std::jthread> m_connections;  // the listening thread's
    std::jthread m_thread;
};

// Makes a certificate for 127.0.0.1 that signs itself, by the openssl program; whether it could.
bool makeCertificate(const std::string& certificate, const std::string& key);

}  // namespace siftwell
