// How fast pages become text.
//
// Works on the pages of SIFTWELL_BENCH_PAGES; without them it makes some of its own. Beside the
// bytes of page per second every line tells what the time is in copies of the same pages
// ("copies"), taken in the same run.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/Pages.h"
#include "text/Alphanumeric.h"
#include "text/Encodings.h"
#include "text/HTMLProcessor.h"
#include "text/PageText.h"

namespace siftwell {
namespace {

using Pages = std::vector<std::string>;
using Seconds = std::chrono::duration<double>;
using SteadyClock = std::chrono::steady_clock;

Pages readOrMakePages() {
    Pages pages;
    for (const auto& file : bench::pageFiles()) {
        std::string html = bench::readPage(file).html;
        if (!html.empty()) pages.push_back(std::move(html));
    }
    if (!pages.empty()) return pages;
    for (bench::Page& page : bench::makePages(20)) pages.push_back(std::move(page.html));
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
