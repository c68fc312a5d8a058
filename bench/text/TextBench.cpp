// How fast pages become text.
//
// Reads every file ending in .html or .htm below the folders named in SIFTWELL_BENCH_PAGES (with
// colons between them); without that it makes pages of its own. Beside the bytes of page per second
// every line tells what the time is in copies of the same pages ("copies"), taken in the same run.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "text/Alphanumeric.h"
#include "text/Encodings.h"
#include "text/HTMLProcessor.h"
#include "text/PageText.h"

namespace siftwell {
namespace {

using Pages = std::vector<std::string>;
using Seconds = std::chrono::duration<double>;
using SteadyClock = std::chrono::steady_clock;

std::string madePage(std::size_t paragraphs) {
    std::string page =
        "<!DOCTYPE html>\n<html>\n<head>\n  <meta charset=\"utf-8\">\n  <title>Notes &amp; "
        "Queries</title>\n  <style>p { margin: 0 }</style>\n</head>\n<body>\n";
    for (std::size_t i = 0; i < paragraphs; ++i) {
        page += "  <p class=\"n" + std::to_string(i) +
                "\">The <a href=\"/page?n=1&amp;m=2\">grey heron</a> of the caf\xC3\xA9 stands on "
                "one leg &mdash; always.\n    <span>See</span> <em>also</em> egret.</p>\n";
        if (i % 20 == 0) page += "  <script>if (a < b) { count(1) }</script>\n";
    }
    return page + "</body>\n</html>\n";
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void addPagesBelow(const std::string& folder, Pages& pages) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string extension = entry.path().extension();
        if (extension != ".html" && extension != ".htm") continue;
        if (auto page = decodePage(contentOf(entry.path()), "utf-8")) {
            pages.push_back(std::move(*page));
        }
    }
}

Pages readOrMakePages() {
    Pages pages;
    if (const char* folders = std::getenv("SIFTWELL_BENCH_PAGES")) {
        std::istringstream list(folders);
        for (std::string folder; std::getline(list, folder, ':');) addPagesBelow(folder, pages);
    }
    if (!pages.empty()) return pages;
    for (std::size_t i = 0; i < 20; ++i) pages.push_back(madePage(50 + 350 * i));
    return pages;
}

const Pages& allPages() {
    static const Pages pages = readOrMakePages();
    return pages;
}

Seconds timeOf(const std::function<void()>& work) {
    const auto start = SteadyClock::now();
    work();
    return SteadyClock::now() - start;
}

// Copies every page into the same place.
Seconds timeOfCopying(const Pages& pages, std::string& place) {
    return timeOf([&] {
        for (const std::string& page : pages) {
            if (place.size() < page.size()) place.resize(page.size());
            std::memcpy(place.data(), page.data(), page.size());
            benchmark::ClobberMemory();
        }
    });
}

// Times `work` on a copy of each page, and in turns with it the copying of all pages.
template <typename Work>
void measure(benchmark::State& state, const Pages& pages, Work work) {
    std::string place;
    Seconds copying = 0 * timeOfCopying(pages, place);
    Seconds working{};
    for (auto _ : state) {
        copying += timeOfCopying(pages, place);
        Seconds once{};
        for (const std::string& page : pages) {
            std::string own = page;
            once += timeOf([&] { benchmark::DoNotOptimize(work(std::move(own))); });
        }
        working += once;
        state.SetIterationTime(once.count());
    }
    std::size_t bytes = 0;
    for (const std::string& page : pages) bytes += page.size();
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) *
                            static_cast<std::int64_t>(state.iterations()));
    state.counters["copies"] = working / copying;
}

// Stands for a yield that has nothing to yield to.
Yield countingYield() {
    static std::size_t count = 0;
    return [] { benchmark::DoNotOptimize(++count); };
}

void wholeRoad(benchmark::State& state) {
    const Yield yield = countingYield();
    measure(state, allPages(), [&](std::string page) {
        PageText text = extractPageText(std::move(page), yield);
        reduceToAlphanumeric(text.indexText, yield);
        return text.indexText.size() + text.readable.size();
    });
}
BENCHMARK(wholeRoad)->UseManualTime()->Unit(benchmark::kMillisecond);

void copyPages(benchmark::State& state) {
    std::string buffer;
    measure(state, allPages(), [&](const std::string& page) {
        buffer.assign(page);
        return buffer.data();
    });
}
BENCHMARK(copyPages)->UseManualTime()->Unit(benchmark::kMillisecond);

Pages pagesAfter(const std::function<void(HTMLProcessor&)>& passes) {
    Pages pages;
    for (const std::string& page : allPages()) {
        HTMLProcessor processor(page);
        passes(processor);
        pages.push_back(processor.string());
    }
    return pages;
}

void decodeEntities(HTMLProcessor& page) { page.replaceHTMLEncodedChars({}); }
void deleteScripts(HTMLProcessor& page) {
    page.deleteTagsWithStartDelimiter("<SCRIPT", "/SCRIPT>", true, {});
}
void deleteTags(HTMLProcessor& page) { page.deleteTagsWithStartDelimiter("<", ">", false, {}); }
void decodeDelimiters(HTMLProcessor& page) { page.replaceHTMLEncodedDelimiters({}); }
void makeReadable(HTMLProcessor& page) { benchmark::DoNotOptimize(page.readableString()); }
void nothing(HTMLProcessor&) {}

void afterEntities(HTMLProcessor& page) {
    decodeEntities(page);
    deleteScripts(page);
}
void afterTags(HTMLProcessor& page) {
    afterEntities(page);
    deleteTags(page);
}

void onePass(benchmark::State& state, void (*before)(HTMLProcessor&),
             void (*pass)(HTMLProcessor&)) {
    const Pages pages = pagesAfter(before);
    measure(state, pages, [&](std::string page) {
        HTMLProcessor processor(std::move(page));
        pass(processor);
        return processor.string().size();
    });
}
#define ONE_PASS(name, before, pass) \
    BENCHMARK_CAPTURE(onePass, name, before, pass)->UseManualTime()->Unit(benchmark::kMillisecond)
ONE_PASS(checkOnly, nothing, nothing);
ONE_PASS(decodeEntities, nothing, decodeEntities);
ONE_PASS(deleteScripts, decodeEntities, deleteScripts);
ONE_PASS(deleteTags, afterEntities, deleteTags);
ONE_PASS(readable, afterTags, makeReadable);
ONE_PASS(decodeDelimiters, afterTags, decodeDelimiters);

void reduce(benchmark::State& state) {
    const Pages pages = pagesAfter([](HTMLProcessor& page) {
        afterTags(page);
        decodeDelimiters(page);
    });
    measure(state, pages, [&](std::string text) {
        reduceToAlphanumeric(text, {});
        return text.size();
    });
}
BENCHMARK(reduce)->UseManualTime()->Unit(benchmark::kMillisecond);

void decode(benchmark::State& state, const std::optional<std::string>& encodingName) {
    measure(state, allPages(),
            [&](const std::string& page) { return decodePage(page, encodingName)->size(); });
}
BENCHMARK_CAPTURE(decode, utf8, "utf-8")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, unnamed, std::nullopt)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace siftwell
