// Searching as the window does it: from the words to the first rows and to the last, and what a
// snippet costs.
//
//   bench_search [--documents N]
//
// N documents (1,000,000 unless told) of some fifty words each stand in 30 indexes. Every query is
// asked three times; the first time reads the index files.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/Log.h"
#include "base/Settings.h"
#include "search/ContentSearchController.h"
#include "support/TemporaryFolder.h"

namespace siftwell::bench {

namespace {

using Time = std::chrono::steady_clock;

constexpr std::size_t kIndexes = 30;
constexpr std::size_t kVocabulary = 50'000;

double millisecondsSince(Time::time_point start) {
    return std::chrono::duration<double, std::milli>(Time::now() - start).count();
}

// Words as texts have them: a few are everywhere, most are rare.
std::string textOf(std::size_t document) {
    std::uint64_t state = document * 0x9E3779B97F4A7C15U + 1;
    std::string text;
    for (int word = 0; word < 50; ++word) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        const double uniform = static_cast<double>(state >> 40) / static_cast<double>(1U << 24);
        const auto rank = static_cast<std::size_t>(kVocabulary * uniform * uniform * uniform);
        text += "Word" + std::to_string(rank) + (word % 9 == 8 ? ". " : " ");
    }
    return text;
}

class Offline : public NetworkReachability {
public:
    bool isReachable(const std::string&) override { return false; }
    bool isHostReachable(const std::string&) override { return false; }
};

class Window : public SearchObserver {
public:
    void windowShown(const std::string&) override {}
    void rowsCleared() override { rows.clear(); }
    void rowsAppended(std::vector<FoundRow> more, float) override {
        if (rows.empty()) first = millisecondsSince(start);
        rows.insert(rows.end(), more.begin(), more.end());
    }
    void placeholderShown(const std::string&) override {}
    void previewBlanked(const std::string&) override {}
    void statusChanged(const std::string&) override {}
    void searchDone() override {
        all = millisecondsSince(start);
        isDone = true;
    }

    void begin() {
        isDone = false;
        first = 0;
        start = Time::now();
    }

    std::vector<FoundRow> rows;
    Time::time_point start;
    double first = 0;
    double all = 0;
    bool isDone = false;
};

class SearchBench {
public:
    void run(std::size_t documents) {
        fill(documents);
        std::printf("%zu documents in %zu indexes\n", documents, kIndexes);
        std::printf("%-34s %10s %10s %10s %12s\n", "query", "first, ms", "again, ms", "all, ms",
                    "rows");
        measure("a rare word", "word49000", SearchType::AllWords);
        measure("a common word", "word1", SearchType::AllWords);
        measure("two words", "word3 word200", SearchType::AllWords);
        measure("any of three", "word3 word200 word40000", SearchType::AnyWord);
        measure("a part of words", "d490", SearchType::AllFragments);
        measure("a part of nearly all words", "or", SearchType::AllFragments);
        measureSnippets();
    }

private:
    void fill(std::size_t documents) {
        for (std::size_t i = 0; i < documents; ++i) {
            const std::string text = textOf(i);
            m_indexes.addDataToIndex({text, text, *Url::parse("http://host/" + std::to_string(i)),
                                      "Source " + std::to_string(i * kIndexes / documents), "Bench",
                                      Date::fromReference(static_cast<double>(i)), "A page",
                                      std::nullopt});
        }
        m_indexes.flush();
        m_loop->turn(std::chrono::milliseconds(0));
    }

    void measure(const char* what, const std::string& words, SearchType type) {
        m_controller.setSearchType(type);
        double first = 0;
        double again = 0;
        for (int time = 0; time < 3; ++time) {
            m_window.begin();
            m_controller.performSearch(words);
            m_loop->turnUntil([this] { return m_window.isDone; }, std::chrono::minutes(5));
            if (time == 0) first = m_window.first;
            again = m_window.first;
        }
        std::printf("%-34s %10.1f %10.1f %10.1f %12zu\n", what, first, again, m_window.all,
                    m_window.rows.size());
        std::fflush(stdout);
    }

    void measureSnippets() {
        const std::size_t count = std::min<std::size_t>(m_window.rows.size(), 1000);
        auto start = Time::now();
        for (std::size_t i = 0; i < count; ++i) m_controller.snippetFor(m_window.rows[i], 160);
        std::printf(
            "a snippet of a row: %.1f us\n",
            1000 * millisecondsSince(start) / static_cast<double>(std::max<std::size_t>(count, 1)));
        std::string text;
        while (text.size() < 10'000'000) text += textOf(text.size());
        start = Time::now();
        SnippetMaker("word1 nowhere", {}).snippetOf(text, 160);
        std::printf("of a text of 10 MB, to its end: %.1f ms", millisecondsSince(start));
        start = Time::now();
        SnippetMaker("*1* *2* *3* *4* nowhere", {}).snippetOf(text, 160);
        std::printf(", for parts of words %.1f ms\n", millisecondsSince(start));
    }

    const TemporaryFolder m_folder;
    const std::unique_ptr<RunLoop> m_loop = makeHeadlessRunLoop();
    NotificationCentre m_centre{*m_loop};
    const SystemClock m_clock;
    SWNotifier m_notifier{m_centre, m_clock};
    SystemClock m_sleepingClock;
    Offline m_network;
    std::unique_ptr<Settings> m_settings =
        *Settings::open(m_folder.file("settings.plist"), Settings::Access::ReadOnly, *m_loop);
    IndexController m_indexes{{.paths = {.settingsFile = "",
                                         .oldIndexFolder = m_folder.file("old"),
                                         .applicationData = m_folder.file("data"),
                                         .stateFolder = "",
                                         .resourceFolder = "",
                                         .indexerTool = ""},
                               .settings = *m_settings,
                               .mainLoop = *m_loop,
                               .centre = m_centre,
                               .notifier = m_notifier,
                               .clock = m_sleepingClock,
                               .network = m_network},
                              IndexController::Access::ReadWrite};
    Window m_window;
    ContentSearchController m_controller{{.indexes = m_indexes,
                                          .settings = *m_settings,
                                          .mainLoop = *m_loop,
                                          .centre = m_centre,
                                          .notifier = m_notifier,
                                          .clock = m_clock,
                                          .observer = m_window,
                                          .resourceFolder = ""}};
};

}  // namespace

}  // namespace siftwell::bench

int main(int argc, char** argv) {
    std::size_t documents = 1'000'000;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--documents") == 0) {
            documents = std::strtoull(argv[i + 1], nullptr, 10);
        }
    }
    siftwell::setLogSink([](std::string_view) {});
    siftwell::bench::SearchBench().run(documents);
}
