// The whole store with many documents: a search's first rows, and the walks over all documents.
//
//   bench_store [--documents N]
//
// A million documents unless told, of sixty words in sequence from real pages, over the two schemes
// of fifteen sources. They are added as a scan adds them, one source after another. A search is
// asked for the ten best of every index and for their records, on the main thread; while it has
// the priority others wait at their next safe point. Everything is asked twice, and the second
// answer counts, but for walks, which are done once.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include "Corpus.h"
#include "Table.h"
#include "base/Log.h"
#include "fulltext/Search.h"
#include "records/URLFilter.h"
#include "support/BenchSession.h"
#include "support/Memory.h"
#include "support/TemporaryFolder.h"

namespace siftwell::bench {

void fail(const std::string& message) {
    std::fprintf(stderr, "bench_store: %s\n", message.c_str());
    std::exit(1);
}

namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kSources = 15;
constexpr std::size_t kWords = 60;
constexpr std::size_t kQueries = 100;
constexpr const char* kSchemes[] = {"http", "https"};
constexpr double kSecondsPerDocument = 60;
constexpr milliseconds kPause(20);  // between searches that others come in between

double secondsSince(SteadyClock::time_point start) {
    return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

// The words of real pages, one behind the other.
class WordStream {
public:
    WordStream() {
        for (const Document& document : readCorpus(2000).documents) m_text += document.words + ' ';
        for (std::size_t at = 0; at < m_text.size();) {
            const std::size_t end = std::min(m_text.find(' ', at), m_text.size());
            if (end > at) m_words.push_back(std::string_view(m_text).substr(at, end - at));
            at = end + 1;
        }
        if (m_words.size() < 2 * kWords) fail("there are no pages");
    }

    std::string text(std::size_t document) const {
        std::string text;
        for (std::size_t i = 0; i < kWords; ++i) {
            text.append(word(document * 37 + i)).append(1, ' ');
        }
        return text;
    }
    std::string_view word(std::size_t number) const { return m_words[number % m_words.size()]; }

private:
    std::string m_text;
    std::vector<std::string_view> m_words;
};

class Store {
public:
    void open() { m_session.open(); }
    void close() { m_session.close(); }
    Settings& settings() { return m_session->settings(); }
    IndexController& indexes() { return m_session->indexes(); }

    // Seconds for what is done on a thread of its own while the main thread serves its loop.
    template <typename Action>
    double timeOf(Action action) {
        std::atomic<bool> isDone = false;
        double seconds = 0;
        std::jthread worker([&] {
            const auto start = SteadyClock::now();
            action();
            seconds = secondsSince(start);
            isDone = true;
        });
        while (!isDone) serve(milliseconds(10));
        return seconds;
    }
    void serve(milliseconds time) {
        const auto end = SteadyClock::now() + time;
        do {
            m_session.loop().turn(milliseconds(1));
        } while (SteadyClock::now() < end);
    }

private:
    BenchSession m_session;
};

class StoreBench {
public:
    explicit StoreBench(std::size_t documents) : m_documents(documents) {}

    void run() {
        build();
        reload();
        searchTimes("first rows", [] {});
        const auto pause = [this] { m_store.serve(kPause); };
        const double alone = medianOf(searchTimes("first rows, a search now and then", pause));
        searchWhileAdding(alone);
        searchDuringLoader(alone);
        filter();
        expire();
    }

private:
    // Of those that are there at first, one source comes behind the other; what is added later is
    // of one source for a thousand documents, and new.
    std::string source(std::size_t document) const {
        const std::size_t source =
            document < m_documents ? document * kSources / m_documents : document / 1000 % kSources;
        return "Source " + std::to_string(source);
    }

    AddRequest request(std::size_t document) const {
        const std::string address = std::string(kSchemes[document % std::size(kSchemes)]) +
                                    "://www.example" + std::to_string(document % 997) +
                                    ".org/section/" + std::to_string(document) + "/page.html";
        const std::string text = m_words.text(document);
        // Dates do not follow the order in which documents come.
        const std::size_t age = document < m_documents ? document * 7919 % m_documents : 0;
        return {.content = text,
                .readable = text,
                .url = Url::parse(address).value(),
                .source = source(document),
                .indexer = "Bench",
                .date = Date::fromReference(7e8 - static_cast<double>(age) * kSecondsPerDocument),
                .title = text.substr(0, 30),
                .cachePath = std::nullopt};
    }

    void build() {
        const double seconds = m_store.timeOf([this] {
            for (std::size_t i = 0; i < m_documents; ++i) {
                m_store.indexes().addDataToIndex(request(i));
            }
            m_store.indexes().flush();
        });
        std::printf("%zu documents in %zu indexes: %.1f s, %.1f us each; memory %.1f MiB\n",
                    m_documents, m_store.indexes().indexes()->size(), seconds,
                    1e6 * seconds / static_cast<double>(m_documents), ownMemory());
        std::fflush(stdout);
    }

    // From files that were closed to an open gate: the loader's walk is behind it.
    void reload() {
        m_store.close();
        const auto start = SteadyClock::now();
        m_store.open();
        std::printf("loading, and the loader's walk: %.2f s (bound 10 s); memory %.1f MiB\n",
                    secondsSince(start), ownMemory());
        std::fflush(stdout);
    }

    std::string query(std::size_t number) const {
        std::minstd_rand random(static_cast<unsigned>(number + 1));
        const std::size_t at = random();
        std::string query(m_words.word(at));
        if (number % 2 == 0) query.append(" ").append(m_words.word(at + 1));
        return query;
    }

    // Milliseconds until the ten best of every index are there with their records.
    double timeOfFirstRound(const std::string& query) {
        const auto start = SteadyClock::now();
        std::size_t rows = 0;
        const RunningSearches searches = m_store.indexes().startSearch(std::nullopt, query);
        for (const RunningSearch& running : *searches) {
            const auto matches = running.search->findMatches(10, std::chrono::seconds(60));
            if (!matches) fail(matches.status().message());
            for (const fulltext::Hit& hit : matches->hits) {
                const auto record =
                    m_store.indexes().propertiesForDocumentID(hit.document, running.index);
                if (record) ++rows;
            }
        }
        const double time = 1000 * secondsSince(start);
        m_store.indexes().finishSearchAfterIdlePeriod(std::chrono::seconds(0));
        m_rows += rows;
        return time;
    }

    template <typename Between>
    std::vector<double> searchTimes(const char* what, Between between) {
        std::vector<double> times;
        for (int round = 0; round < 2; ++round) {
            times.clear();
            m_rows = 0;
            for (std::size_t i = 0; i < kQueries; ++i) {
                times.push_back(timeOfFirstRound(query(i)));
                between();
            }
        }
        std::printf("%s: median %.2f ms, 95 %% %.2f ms, longest %.2f ms; %.0f rows each", what,
                    medianOf(times), percentileOf(times, 95), percentileOf(times, 100),
                    static_cast<double>(m_rows) / static_cast<double>(kQueries));
        std::printf(std::strcmp(what, "first rows") == 0 ? " (bound 100 ms)\n" : "\n");
        std::fflush(stdout);
        return times;
    }

    void searchWhileAdding(double alone) {
        std::atomic<std::size_t> added = 0;
        const auto start = SteadyClock::now();
        std::jthread adder([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                m_store.indexes().yieldForPriorityThread();
                m_store.indexes().addDataToIndex(request(m_documents + added));
                ++added;
            }
        });
        m_store.serve(milliseconds(200));
        const auto times = searchTimes("while adding", [this] { m_store.serve(milliseconds(20)); });
        const double seconds = secondsSince(start);
        adder.request_stop();
        adder.join();
        std::printf(
            "  %.2f times as long as without (bound 1.5); %.0f documents added per second\n",
            medianOf(times) / alone, static_cast<double>(added) / seconds);
    }

    void searchDuringLoader(double alone) {
        m_store.indexes().flush();
        m_store.indexes().loadIndex();
        const auto times =
            searchTimes("during the loader's walk", [this] { m_store.serve(kPause); });
        std::printf("  %.2f times as long as without\n", medianOf(times) / alone);
        while (!m_store.indexes().indexingEnabled()) m_store.serve(milliseconds(10));
    }

    void filter() {
        Settings& settings = m_store.settings();
        auto filters = urlFiltersIn(settings.array("URLFilters"));
        const std::size_t ofOthers = filters.size();
        filters.push_back({.String = "www.example7.org/"});
        settings.set("URLFilters", listOf(filters));
        std::size_t removed = 0;
        const double seconds =
            m_store.timeOf([&] { removed = m_store.indexes().filterDocuments(); });
        std::printf("filter pass, %zu filters: %.2f s (bound 60 s), %zu documents removed\n",
                    ofOthers + 1, seconds, removed);
        std::fflush(stdout);
    }

    void expire() {
        std::vector<std::string> sources;
        for (std::size_t i = 0; i < kSources; ++i) sources.push_back("Source " + std::to_string(i));
        const auto before = m_store.indexes().documentCount();
        const double age = 0.9 * static_cast<double>(m_documents) * kSecondsPerDocument;
        const double seconds = m_store.timeOf(
            [&] { m_store.indexes().expireOlderThan(Date::fromReference(7e8 - age), sources); });
        std::printf("expiry of %lld documents: %.2f s (bound 30 s for 100,000)\n",
                    static_cast<long long>(before - m_store.indexes().documentCount()), seconds);
    }

    const std::size_t m_documents;
    const WordStream m_words;
    Store m_store;
    std::size_t m_rows = 0;
};

}  // namespace

}  // namespace siftwell::bench

int main(int argc, char** argv) {
    using namespace siftwell::bench;
    std::size_t documents = 1'000'000;
    if (argc == 3 && std::strcmp(argv[1], "--documents") == 0) {
        documents = std::strtoul(argv[2], nullptr, 10);
    }
    if (documents < 100) fail("give a number of at least 100");
    siftwell::setLogSink([](std::string_view) {});
    StoreBench(documents).run();
    siftwell::setLogSink(nullptr);
    return 0;
}
