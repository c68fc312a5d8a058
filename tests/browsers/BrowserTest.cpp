// The browsers themselves: what they visit is found while they run, and they never notice.

#include <cstdio>

#include "base/FileDescriptor.h"
#include "base/Processes.h"
#include "cli/ProgramFixture.h"
#include "support/HttpSite.h"

namespace siftwell {
namespace {

using testing::IsEmpty;

// visit.py, with its browser.
class Visitor {
public:
    Visitor(const std::string& browser, const std::map<std::string, std::string>& variables) {
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) std::abort();
        m_process = fork();
        if (m_process == 0) {
            for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
            dup2(input[0], STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            execlp("python3", "python3", SIFTWELL_SOURCE_DIR "/tests/browsers/visit.py",
                   browser.c_str(), nullptr);
            _exit(127);
        }
        m_input = FileDescriptor(input[1]);
        m_output = fdopen(output[0], "r");
        close(input[0]);
        close(output[1]);
    }
    ~Visitor() {
        end();
        std::fclose(m_output);
    }
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    // An address, or "click"; whether the browser shows the page. The script bounds the wait.
    bool visit(const std::string& what) {
        const std::string line = what + "\n";
        if (write(m_input.get(), line.data(), line.size()) < 0) return false;
        char answer[16] = "";
        return std::fgets(answer, sizeof answer, m_output) && std::string(answer) == "ready\n";
    }

    // 0 when the browser did all it was asked for, and then ended by itself.
    int end() {
        m_input.reset();
        if (m_process != 0) waitpid(std::exchange(m_process, 0), &m_status, 0);
        return m_status;
    }

private:
    FileDescriptor m_input;
    FILE* m_output = nullptr;
    pid_t m_process = 0;
    int m_status = 0;
};

class BrowserTest : public ProgramFixture, public testing::WithParamInterface<const char*> {
protected:
    BrowserTest() : m_members([this](int at, const std::string& head) { answer(at, head); }) {
        m_variables["SIFTWELL_ONLINE"] = "yes";
        m_variables["XDG_CACHE_HOME"] = m_home.file("cache");
        page("/typed", "quokka <a href=/linked>on</a>");
        page("/linked", "wombat");
        page("/goal", "numbat");
        page("/later", "bilby");
        m_site.page("/moved", {.status = 302, .headers = {{"Location", "/goal"}}});
    }

    void SetUp() override {
        if (std::getenv("SIFTWELL_BROWSERS") == nullptr) {
            GTEST_SKIP() << "SIFTWELL_BROWSERS is not set; see script/test --browsers";
        }
        for (const std::string program : {"python3", GetParam()}) {
            if (!pathOfProgram(program)) GTEST_SKIP() << program << " is not installed";
        }
        // A peer that has gone is told by what is written to it.
        std::signal(SIGPIPE, SIG_IGN);
        m_visitor.emplace(GetParam(), m_variables);
    }

    // In no cache: only a history leads there.
    void page(const std::string& path, const std::string& words) {
        m_site.page(path, {.body = "<title>Page</title><p>" + words,
                           .headers = {{"Cache-Control", "no-store"}}});
    }
    // Whoever has logged in may see, and keep, the secret.
    void answer(int connection, const std::string& head) {
        std::string answer = "403 Forbidden\r\nConnection: close\r\n\r\n";
        if (head.starts_with("GET /login ")) {
            answer = ok("potoroo", "no-store\r\nSet-Cookie: key=open");
        } else if (head.starts_with("GET /secret ") && head.find("key=open") != std::string::npos) {
            answer = ok("bandicoot", "max-age=3600");
        } else if (head.starts_with("GET /secret ")) {
            ++m_refusals;
        }
        RawSite::send(connection, "HTTP/1.1 " + answer);
    }
    static std::string ok(const std::string& words, const std::string& caching) {
        return "200 OK\r\nContent-Type: text/html; charset=utf-8\r\nConnection: close\r\n"
               "Cache-Control: " +
               caching + "\r\n\r\n<p>" + words;
    }

    // Bounded: browsers write some seconds late.
    static bool waitUntil(const std::function<bool()>& isSo) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!isSo()) {
            if (HasFailure() || std::chrono::steady_clock::now() > end) return false;
        }
        return true;
    }
    // The names of the browser's cache and history, once both are there. Its bookmarks, which lead
    // out of the machine, stay off.
    bool discover() {
        for (const auto& line : linesOf(siftwell({"sources", "discover", "--enable", "--json"}))) {
            const std::string indexer = line["indexer"];
            const std::string source = line["source"];
            if (indexer.ends_with("Cache")) m_cache = source;
            if (indexer.ends_with("History")) m_history = source;
            if (!indexer.ends_with("Cache")) siftwell({"sources", "disable", source});
        }
        return !m_cache.empty() && !m_history.empty();
    }
    void scan() {
        const Outcome outcome = siftwell({"scan"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }
    // By a scan, sooner or later, under this address alone.
    void expectFound(const std::string& word, const std::string& url) {
        EXPECT_TRUE(waitUntil([&] {
            scan();
            return find(word, 0) == std::set<std::string>{url};
        })) << word
            << " did not find " << url;
    }
    int documents() {
        int sum = 0;
        for (const auto& line : linesOf(siftwell({"status", "--json"}))) {
            sum += line.value("documents", 0);
        }
        return sum;
    }

    HttpSite m_site;
    std::atomic<int> m_refusals = 0;
    RawSite m_members;
    std::string m_cache, m_history;
    std::optional<Visitor> m_visitor;
};

TEST_P(BrowserTest, FindsWhatWasVisitedInABrowserThatRunsOnUndisturbed) {
    for (const std::string& what :
         {m_site.address("/typed"), std::string("click"), m_site.address("/moved"),
          m_members.address("/login"), m_members.address("/secret")}) {
        ASSERT_TRUE(m_visitor->visit(what)) << what << "\n" << m_home.read("browser.log");
    }
    // Firefox writes its history at once and its cache some seconds late. A page that has refused
    // itself in between would stay left out, so the cache comes first.
    ASSERT_TRUE(waitUntil([this] { return discover(); }));
    expectFound("bandicoot", m_members.address("/secret"));
    ASSERT_EQ(siftwell({"sources", "enable", m_history}).status, 0);
    expectFound("quokka", m_site.address("/typed"));
    expectFound("wombat", m_site.address("/linked"));
    expectFound("potoroo", m_members.address("/login"));
    expectFound("numbat", m_site.address("/goal"));
    EXPECT_EQ(m_site.requests("/moved"), 1) << "the browser's own";
    EXPECT_EQ(m_refusals, 0) << "the secret comes from the cache alone";

    EXPECT_EQ(documents(), 5);
    const int requests = m_site.requests("/typed");
    scan();
    EXPECT_EQ(documents(), 5);
    EXPECT_EQ(m_site.requests("/typed"), requests);

    EXPECT_TRUE(m_visitor->visit(m_site.address("/later")));
    expectFound("bilby", m_site.address("/later"));
    EXPECT_EQ(m_visitor->end(), 0) << m_home.read("browser.log");
    scan();
    EXPECT_EQ(documents(), 6) << "what a browser writes at its end is nothing new";
    EXPECT_EQ(m_refusals, 0);
    EXPECT_THAT(linesOf(siftwell({"errors", "--json"})), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Debian, BrowserTest, testing::Values("firefox-esr", "chromium"),
                         [](const auto& each) {
                             return std::string(each.index == 0 ? "Firefox" : "Chromium");
                         });

}  // namespace
}  // namespace siftwell
