// The road of many pages into the index: files from the disk, and pages from a server on this
// machine.
//
//   bench_retrieval [--documents N]
//
// N files (10,000 unless told) through the retriever; N/10 addresses, and then 2 N, from a server
// in another process, five at once; and how the memory of the process grows with them.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>

#include "base/Log.h"
#include "support/BenchSession.h"
#include "support/HttpSite.h"
#include "support/Memory.h"
#include "support/Pages.h"
#include "support/TemporaryFolder.h"

namespace siftwell::bench {

namespace {

using Clock = std::chrono::steady_clock;

// A server in a process of its own. Every address has another page.
class Site {
public:
    explicit Site(const std::vector<Page>& pages) {
        int ends[2];
        if (pipe(ends) != 0) std::exit(1);
        m_process = fork();
        if (m_process == 0) serve(pages, ends[1]);
        if (read(ends[0], &m_port, sizeof m_port) != sizeof m_port) std::exit(1);
        close(ends[0]);
        close(ends[1]);
    }
    ~Site() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    std::string address(std::size_t number) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + "/" + std::to_string(number);
    }

private:
    [[noreturn]] static void serve(const std::vector<Page>& pages, int ready) {
        HttpSite site;
        site.otherPages([&pages](const std::string& path) {
            const auto number = std::strtoull(path.c_str() + 1, nullptr, 10);
            const std::string& html = pages[number % pages.size()].html;
            return HttpSite::Page{.body = html + "<p>number" + path.substr(1)};
        });
        const int port = site.port();
        if (write(ready, &port, sizeof port) != sizeof port) std::exit(1);
        while (true) pause();
    }

    pid_t m_process = 0;
    int m_port = 0;
};

// A program with an empty index, until it is closed.
class Run {
public:
    Run() {
        m_session->settings().set("URLFilters", PropertyList::Array());
        m_session->indexes().applyPreferences();
    }
    void queue(const Url& url) {
        m_session->indexes().addToPendingDocumentCount(1);
        m_session->retriever().indexDocument(url, m_session->clock().now(), std::nullopt, "Pages",
                                             "SingleURL");
    }

    // Seconds until all that was queued is in the index.
    double finish() {
        DocumentRetriever& retriever = m_session->retriever();
        const auto start = Clock::now();
        m_session.loop().turnUntil(
            [&retriever] { return !retriever.isAtWorkForSource(std::nullopt); },
            std::chrono::hours(1));
        return std::chrono::duration<double>(Clock::now() - start).count();
    }
    std::int64_t documents() { return m_session->indexes().documentCount(); }

private:
    BenchSession m_session;
};

void report(const char* what, std::size_t asked, std::int64_t added, double seconds) {
    std::printf("%-28s %7zu asked for %7lld added %9.2f s %9.0f per second\n", what, asked,
                static_cast<long long>(added), seconds, static_cast<double>(asked) / seconds);
}

void benchFiles(const std::vector<Page>& pages, std::size_t count) {
    const TemporaryFolder folder;
    std::vector<Url> files;
    for (std::size_t i = 0; i < count; ++i) {
        files.push_back(Url::fromFilePath(
            folder.write(std::to_string(i) + ".html",
                         pages[i % pages.size()].html + "<p>number" + std::to_string(i))));
    }
    Run run;
    for (const Url& file : files) run.queue(file);
    const double seconds = run.finish();
    report("files", count, run.documents(), seconds);
}

void benchSite(const Site& site, std::size_t count) {
    Run run;
    for (std::size_t i = 0; i < count; ++i) run.queue(*Url::parse(site.address(i)));
    const double seconds = run.finish();
    report("pages from a server", count, run.documents(), seconds);
}

// In ten parts, so that growth shows.
void benchMemory(const Site& site, std::size_t count) {
    Run run;
    for (std::size_t part = 0; part < 10; ++part) {
        for (std::size_t i = part * count / 10; i < (part + 1) * count / 10; ++i) {
            run.queue(*Url::parse(site.address(i)));
        }
        run.finish();
        std::printf("%7lld pages from a server: %6.1f MiB of own memory\n",
                    static_cast<long long>(run.documents()), ownMemory());
    }
}

std::vector<Page> realOrMadePages() {
    std::vector<Page> pages;
    for (const auto& file : pageFiles()) {
        pages.push_back(readPage(file));
        if (pages.back().html.size() > (1 << 20)) pages.pop_back();
        if (pages.size() == 2000) break;
    }
    return pages.empty() ? makePages(200) : pages;
}

}  // namespace

int run(std::size_t documents) {
    setLogSink([](std::string_view) {});
    setenv("SIFTWELL_ONLINE", "yes", 1);  // NOLINT(concurrency-mt-unsafe)
    const std::vector<Page> pages = realOrMadePages();
    std::size_t bytes = 0;
    for (const Page& page : pages) bytes += page.html.size();
    std::printf("%zu pages of %zu bytes on average, over and over\n", pages.size(),
                bytes / pages.size());
    const Site site(pages);
    benchFiles(pages, documents);
    benchSite(site, std::max<std::size_t>(documents / 10, 1));
    benchMemory(site, 2 * documents);
    return 0;
}

}  // namespace siftwell::bench

int main(int argc, char** argv) {
    std::size_t documents = 10'000;
    if (argc == 3 && std::string_view(argv[1]) == "--documents") {
        documents = std::strtoull(argv[2], nullptr, 10);
    } else if (argc != 1) {
        std::fprintf(stderr, "usage: bench_retrieval [--documents N]\n");
        return 2;
    }
    return siftwell::bench::run(documents);
}
