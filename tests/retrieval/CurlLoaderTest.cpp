#include "retrieval/CurlLoader.h"

#include <gmock/gmock.h>

#include "support/HttpSite.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

namespace siftwell {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Key;
using testing::Not;
using testing::Pair;

using std::chrono::milliseconds;
using std::chrono::seconds;

// Keeps what it is told.
class Listener : public URLLoadClient {
public:
    bool willSendRequest(const URLResponse& redirectResponse) override {
        MutexLock lock(m_mutex);
        m_redirects.push_back(redirectResponse.statusCode.value_or(0));
        return true;
    }
    bool didReceiveResponse(const URLResponse& response) override {
        MutexLock lock(m_mutex);
        m_response = response;
        m_body.clear();
        return m_wantsBody;
    }
    bool didReceiveAuthenticationChallenge() override { return false; }
    Appetite didReceiveData(std::string_view bytes) override {
        if (m_isFull) {
            ++m_refusals;
            return Appetite::Later;
        }
        MutexLock lock(m_mutex);
        m_body += bytes;
        return m_body.size() <= m_maxBytes ? Appetite::More : Appetite::NoMore;
    }
    void didFailWithError(int code) override { end(code); }
    void didFinishLoading() override { end(0); }

    // The error, 0 for a good end; -1 when none came.
    int result() {
        const auto latest = std::chrono::steady_clock::now() + seconds(60);
        MutexLock lock(m_mutex);
        while (!m_error && m_changed.waitUntil(m_mutex, latest)) {
        }
        EXPECT_LE(m_ends, 1);
        return m_error.value_or(-1);
    }
    URLResponse response() {
        MutexLock lock(m_mutex);
        return m_response.value_or(URLResponse{.url = Url::fromFilePath("/none")});
    }
    std::string body() {
        MutexLock lock(m_mutex);
        return m_body;
    }
    // The body, when all went well.
    std::string loaded() {
        EXPECT_EQ(result(), 0);
        return body();
    }
    std::vector<int> redirects() {
        MutexLock lock(m_mutex);
        return m_redirects;
    }

    std::atomic<bool> m_isFull = false;
    std::atomic<int> m_refusals = 0;
    std::atomic<bool> m_wantsBody = true;
    std::atomic<std::size_t> m_maxBytes = SIZE_MAX;

private:
    void end(int error) {
        MutexLock lock(m_mutex);
        ++m_ends;
        m_error = error;
        m_changed.notifyAll();
    }

    Mutex m_mutex;
    Condition m_changed;
    std::optional<int> m_error SW_GUARDED_BY(m_mutex);
    int m_ends SW_GUARDED_BY(m_mutex) = 0;
    std::optional<URLResponse> m_response SW_GUARDED_BY(m_mutex);
    std::string m_body SW_GUARDED_BY(m_mutex);
    std::vector<int> m_redirects SW_GUARDED_BY(m_mutex);
};

class CurlLoaderTest : public testing::Test {
protected:
    static URLRequest request(const std::string& address, milliseconds timeout = seconds(10)) {
        URLRequest request{.url = Url::parse(address).value()};
        request.timeoutInterval = timeout;
        return request;
    }
    std::shared_ptr<Listener> load(const URLRequest& request) {
        const auto listener = std::make_shared<Listener>();
        m_load = m_loader->start(request, listener);
        return listener;
    }
    std::shared_ptr<Listener> load(const std::string& address, milliseconds timeout = seconds(10)) {
        return load(request(address, timeout));
    }
    // Answers with these bytes, word for word.
    static std::unique_ptr<RawSite> saying(const std::string& reply, bool isReset = false) {
        return std::make_unique<RawSite>([reply, isReset](int connection, const std::string&) {
            RawSite::send(connection, reply);
            if (isReset) RawSite::reset(connection);
        });
    }
    int resultOf(const std::string& reply, bool isReset = false) {
        const auto site = saying(reply, isReset);
        return load(site->address("/"))->result();
    }

    HttpSite m_site;
    std::unique_ptr<CurlLoader> m_loader = std::make_unique<CurlLoader>();
    URLLoader::LoadID m_load = 0;
};

TEST_F(CurlLoaderTest, EveryStatusComesWithItsHeadAndBody) {
    for (const int status : {200, 203, 400, 403, 404, 410, 418, 500, 503}) {
        const std::string path = "/" + std::to_string(status);
        m_site.page(path, {.status = status, .type = "Text/HTML;Charset=\"KOI8-R\"", .body = "b"});
        const auto page = load(m_site.address(path));
        EXPECT_EQ(page->loaded(), "b");
        EXPECT_EQ(page->response().statusCode, status);
        EXPECT_EQ(page->response().mimeType, "text/html");
        EXPECT_EQ(page->response().textEncodingName, "KOI8-R");
        EXPECT_EQ(page->response().expectedContentLength, 1);
    }
    URLRequest named = request(m_site.address("/200"));
    named.allHTTPHeaderFields = {{"User-Agent", "Agent/1"}, {"Authorization", "Basic \r\nYQ=="}};
    EXPECT_EQ(load(named)->result(), 0);
    EXPECT_THAT(m_site.fieldsOf("/200"), Contains(Pair("User-Agent", "Agent/1")));
    EXPECT_THAT(m_site.fieldsOf("/200"), Contains(Pair("Authorization", "Basic YQ==")));
}

TEST_F(CurlLoaderTest, BodiesOfEveryShapeArrive) {
    std::string text;
    for (int i = 0; i < 20'000; ++i) text += "line " + std::to_string(i) + "\n";
    m_site.page("/plain", {.body = text});
    m_site.page("/chunked", {.body = text, .isChunked = true});
    m_site.page("/untyped", {.type = "", .body = text});
    for (const char* path : {"/plain", "/chunked", "/untyped"}) {
        const auto page = load(m_site.address(path));
        EXPECT_EQ(page->result(), 0);
        EXPECT_EQ(page->body(), text) << path;  // compressed where the server can
    }
    EXPECT_THAT(m_site.fieldsOf("/plain"), Contains(Key("Accept-Encoding")));

    const auto unannounced =
        saying("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\nto the end");
    const auto page = load(unannounced->address("/"));
    EXPECT_EQ(page->result(), 0);
    EXPECT_EQ(page->response().expectedContentLength, std::nullopt);
    EXPECT_EQ(page->body(), "to the end");

    std::string packed(  // 600 times "z"
        "\x1f\x8b\x08\0\0\0\0\0\2\3\xab\xaa\x1a\5\xa3\x80\xfa\0\0\xf3\xad\x90\xbcX\2\0\0", 27);
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n";
    const auto gzipped = saying(head + packed);
    const auto unpacked = load(gzipped->address("/"));
    EXPECT_EQ(unpacked->loaded(), std::string(600, 'z'));
    packed[packed.size() / 2] ^= 0x55;
    EXPECT_NE(resultOf(head + packed), 0);

    // Packed twice, a page of nothing takes for ever to unpack.
    for (const char* codings :
         {"Content-Encoding: gzip, gzip\r\n", "Content-Encoding: gzip\r\ncontent-encoding: br\r\n",
          "Content-Encoding: gzip\r\nTransfer-Encoding: gzip, chunked\r\n"}) {
        EXPECT_EQ(resultOf(std::string("HTTP/1.1 200 OK\r\n") + codings + "\r\n"), 61) << codings;
    }
}

TEST_F(CurlLoaderTest, RedirectsLeadOnWithinTheWebButNotForEver) {
    m_site.page("/goal", {.body = "reached"});
    for (const int status : {301, 302, 303, 307, 308}) {
        const std::string path = "/" + std::to_string(status);
        m_site.page(path, {.status = status, .headers = {{"Location", "goal"}}});
        const auto page = load(m_site.address(path));
        EXPECT_EQ(page->loaded(), "reached");
        EXPECT_EQ(page->response().statusCode, 200);
        EXPECT_THAT(page->redirects(), ElementsAre(status));
    }
    m_site.page("/loop", {.status = 302, .headers = {{"Location", "/loop"}}});
    EXPECT_EQ(load(m_site.address("/loop"))->result(), 47);
    EXPECT_EQ(m_site.requests("/loop"), 21);
    for (const char* target : {"file:///etc/hostname", "ftp://127.0.0.1/", "gopher://127.0.0.1/",
                               "data:text/plain,x", "javascript:x"}) {
        m_site.page("/out", {.status = 302, .headers = {{"Location", target}}});
        const auto page = load(m_site.address("/out"));
        EXPECT_THAT(page->result(), AnyOf(1, 3)) << target;
        EXPECT_EQ(page->body(), "");
    }
}

// What is not the head of the page must not pass for it.
TEST_F(CurlLoaderTest, OnlyThePagesOwnHeadCounts) {
    for (const char* reply : {"HTTP/1.1 302 Found\r\nLocation:\r\n\r\nbody",
                              "HTTP/1.1 101 Switching Protocols\r\n\r\nbody"}) {
        const auto site = saying(reply);
        const auto page = load(site->address("/"));
        const bool isTold = page->result() == 0 && page->response().statusCode == 302;
        EXPECT_TRUE(isTold || page->body().empty()) << reply;
    }
    const auto proxy = saying("HTTP/1.1 200 Connection established\r\nContent-Type: x/y\r\n\r\n");
    setenv("https_proxy", proxy->address("").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    const auto page = load("https://host.invalid/");
    EXPECT_NE(page->result(), 0);
    EXPECT_EQ(page->response().statusCode, std::nullopt);
    unsetenv("https_proxy");  // NOLINT(concurrency-mt-unsafe)
}

TEST_F(CurlLoaderTest, NobodyIsToldPasswordsThatAreNotTheirs) {
    HttpSite other;
    other.page("/goal", {.body = "other"});
    m_site.page("/away", {.status = 302, .headers = {{"Location", other.address("/goal")}}});
    m_site.page("/here", {.status = 302, .headers = {{"Location", "/goal"}}});
    m_site.page("/goal", {.body = "own"});
    for (const char* path : {"/away", "/here"}) {
        URLRequest secret = request(m_site.address(path));
        secret.allHTTPHeaderFields = {{"Authorization", "Basic c2VjcmV0"}};
        EXPECT_EQ(load(secret)->result(), 0);
    }
    EXPECT_THAT(m_site.fieldsOf("/goal"), Contains(Key("Authorization")));
    EXPECT_THAT(other.fieldsOf("/goal"), Not(Contains(Key("Authorization"))));

    std::string named = m_site.address("/goal");
    named.insert(named.find("127"), "ann:secret@");
    EXPECT_EQ(load(named)->result(), 0);
    EXPECT_THAT(m_site.fieldsOf("/goal"), Not(Contains(Key("Authorization"))));
    m_site.page("/named", {.status = 302, .headers = {{"Location", named}}});
    EXPECT_EQ(load(m_site.address("/named"))->result(), 0);
    EXPECT_THAT(m_site.fieldsOf("/goal"), Not(Contains(Key("Authorization"))));
    EXPECT_THAT(m_site.fieldsOf("/goal"), Not(Contains(Key("Cookie"))));
}

TEST_F(CurlLoaderTest, WhoAsksForAPasswordIsLeft) {
    m_site.page("/401",
                {.status = 401, .body = "who?", .headers = {{"WWW-Authenticate", "Basic"}}});
    m_site.page("/407",
                {.status = 407, .body = "who?", .headers = {{"Proxy-Authenticate", "Basic"}}});
    m_site.page("/bare", {.status = 401, .body = "who?"});
    for (const int status : {401, 407}) {
        const auto page = load(m_site.address("/" + std::to_string(status)));
        EXPECT_EQ(page->result(), loadError::kAuthenticationCancelled);
        EXPECT_EQ(page->response().statusCode, status);
        EXPECT_EQ(page->body(), "");
    }
    EXPECT_EQ(load(m_site.address("/bare"))->result(), 0);
    EXPECT_EQ(m_site.requests("/401"), 1);
}

TEST_F(CurlLoaderTest, BrokenRepliesFail) {
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    EXPECT_EQ(resultOf(""), loadError::kConnectionLost);
    EXPECT_EQ(resultOf("", true), loadError::kConnectionLost);
    EXPECT_EQ(resultOf(ok + "Content-Length: 100\r\n\r\nshort"), loadError::kConnectionLost);
    EXPECT_EQ(resultOf(ok + "Content-Length: 100\r\n\r\nshort", true), loadError::kConnectionLost);
    EXPECT_EQ(resultOf(ok + "Transfer-Encoding: chunked\r\n\r\n5\r\nabcde\r\n"),
              loadError::kConnectionLost);
    EXPECT_EQ(resultOf(ok + "Content-Length: 3\r\n\r\nlonger than that"), 0);
    for (const std::string& reply :
         {std::string("no HTTP at all\r\n\r\n"), ok + "Content-Length: -5\r\n\r\nx",
          ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
          ok + "Content-Encoding: gzip\r\n\r\nxx"}) {
        EXPECT_THAT(resultOf(reply), Not(AnyOf(0, -1))) << reply;
    }
    EXPECT_THAT(resultOf(ok + std::string(200'000, 'x') + "\r\n\r\n"), Not(AnyOf(0, -1)));
    std::string fields = ok;
    for (int i = 0; i < 60'000; ++i) fields += "X-Field: 0123456789012345\r\n";
    EXPECT_THAT(resultOf(fields + "\r\nbody"), Not(AnyOf(0, -1)));
    std::string interim;
    for (int i = 0; i < 60'000; ++i) interim += "HTTP/1.1 103 Early\r\nLink: x\r\n\r\n";
    EXPECT_THAT(resultOf(interim + ok + "\r\nbody"), Not(AnyOf(0, -1)));
}

TEST_F(CurlLoaderTest, ServersThatAreNotThereAreTold) {
    const int closed = std::make_unique<HttpSite>()->port();
    EXPECT_EQ(load("http://127.0.0.1:" + std::to_string(closed) + "/")->result(),
              loadError::kCannotConnect);
    EXPECT_EQ(load("http://name.invalid/")->result(), loadError::kHostNotFound);
    EXPECT_THAT(load("gopher://127.0.0.1/")->result(), Not(AnyOf(0, -1)));
    EXPECT_THAT(load("http:///path")->result(), Not(AnyOf(0, -1)));
}

// What arrives slowly may take its time; silence may not.
TEST_F(CurlLoaderTest, TheTimeoutIsOneOfSilence) {
    RawSite slow([&slow](int connection, const std::string& head) {
        RawSite::send(connection, "HTTP/1.1 200 OK\r\n\r\n");
        for (int i = 0; i < 8; ++i) {
            std::this_thread::sleep_for(milliseconds(100));
            RawSite::send(connection, "x");
        }
        if (head.find("/stall") != std::string::npos) slow.waitForEnd();
    });
    const auto start = std::chrono::steady_clock::now();
    const auto whole = load(slow.address("/slow"), milliseconds(500));
    EXPECT_EQ(whole->result(), 0) << "though it took longer as a whole";
    EXPECT_EQ(whole->body(), "xxxxxxxx");
    EXPECT_EQ(load(slow.address("/stall"), milliseconds(500))->result(), loadError::kTimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(10));

    RawSite silent([&silent](int, const std::string&) { silent.waitForEnd(); });
    EXPECT_EQ(load(silent.address("/"), milliseconds(200))->result(), loadError::kTimedOut);
}

TEST_F(CurlLoaderTest, WhoIsFullIsAskedAgainAndNeverTimesOut) {
    m_site.page("/large", {.body = std::string(3'000'000, 'x')});
    const auto page = std::make_shared<Listener>();
    page->m_isFull = true;
    m_loader->start(request(m_site.address("/large"), seconds(1)), page);
    waitUntil([&] { return page->m_refusals > 0; });
    std::this_thread::sleep_for(milliseconds(1500));
    EXPECT_EQ(page->m_refusals, 1);
    EXPECT_EQ(page->body(), "");
    page->m_isFull = false;
    m_loader->resume();
    EXPECT_EQ(page->result(), 0);
    EXPECT_EQ(page->body().size(), 3'000'000U);
}

TEST_F(CurlLoaderTest, BodiesThatNobodyWantsAreLeft) {
    std::atomic<std::int64_t> sent = 0;
    RawSite endless([&](int connection, const std::string&) {
        RawSite::send(connection, "HTTP/1.1 200 OK\r\n\r\n");
        const std::string block(100'000, 'x');
        while (!endless.isEnding() && RawSite::send(connection, block)) sent += 100'000;
    });
    const auto limited = std::make_shared<Listener>();
    limited->m_maxBytes = 1'000'000;
    m_loader->start(request(endless.address("/")), limited);
    const auto unwanted = std::make_shared<Listener>();
    unwanted->m_wantsBody = false;
    m_loader->start(request(endless.address("/")), unwanted);
    const auto cancelled = load(endless.address("/"));
    waitUntil([&] { return !cancelled->body().empty(); });
    m_loader->cancel(m_load);
    // All connections end; then the servers stop sending.
    std::int64_t before = -1;
    waitUntil([&] {
        std::this_thread::sleep_for(milliseconds(100));
        return std::exchange(before, sent.load()) == sent;
    });
    EXPECT_LT(limited->body().size(), 2'000'000U);
    EXPECT_EQ(unwanted->body(), "");
    m_site.page("/next", {.body = "next"});
    EXPECT_EQ(load(m_site.address("/next"))->result(), 0);
}

TEST_F(CurlLoaderTest, ACertificateThatNobodyTrustsIsRefused) {
    const TemporaryFolder folder;
    const std::string certificate = folder.file("certificate.pem");
    const std::string key = folder.file("key.pem");
    if (!makeCertificate(certificate, key)) GTEST_SKIP() << "there is no openssl program";
    HttpSite site(certificate, key);
    site.page("/", {.body = "safe"});
    EXPECT_EQ(load(site.address("/"))->result(), loadError::kInsecure);
    EXPECT_EQ(site.requests("/"), 0);
    m_loader = std::make_unique<CurlLoader>(
        CurlLoader::Options{.connectTo = {}, .certificateAuthorities = certificate});
    EXPECT_EQ(load(site.address("/"))->result(), 0);
    const std::string named = "https://localhost:" + std::to_string(site.port()) + "/";
    EXPECT_EQ(load(named)->result(), loadError::kInsecure) << "it is for another name";

    // A password that is sent over https does not follow to http.
    m_site.page("/plain", {.body = "plain"});
    site.page("/down", {.status = 302, .headers = {{"Location", m_site.address("/plain")}}});
    URLRequest secret = request(site.address("/down"));
    secret.allHTTPHeaderFields = {{"Authorization", "Basic c2VjcmV0"}};
    EXPECT_EQ(load(secret)->result(), 0);
    EXPECT_THAT(site.fieldsOf("/down"), Contains(Key("Authorization")));
    EXPECT_THAT(m_site.fieldsOf("/plain"), Not(Contains(Key("Authorization"))));
}

TEST_F(CurlLoaderTest, ManyLoadsAtOnceShareAThreadAndEndWithTheLoader) {
    m_site.otherPages([](const std::string& path) { return HttpSite::Page{.body = path}; });
    // The server's queue of new connections is short.
    for (int wave = 0; wave < 10; ++wave) {
        std::vector<std::shared_ptr<Listener>> pages;
        for (int i = 0; i < 20; ++i) {
            pages.push_back(load(m_site.address("/" + std::to_string(i)), seconds(60)));
        }
        for (std::size_t i = 0; i < pages.size(); ++i) {
            EXPECT_EQ(pages[i]->result(), 0);
            EXPECT_EQ(pages[i]->body(), "/" + std::to_string(i));
        }
    }
    RawSite silent([&silent](int, const std::string&) { silent.waitForEnd(); });
    for (int i = 0; i < 10; ++i) load(silent.address("/"));
    const auto start = std::chrono::steady_clock::now();
    m_loader.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(5));
}

}  // namespace
}  // namespace siftwell
