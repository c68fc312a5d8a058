// The engine alone, from thousands of documents to a million: what each further document costs, and
// how searches and opening grow.
//
//   bench_scale [--documents N]
//
// The documents are real ones over and over, with other words in each turn, so that the vocabulary
// grows too. One thread adds; merges and compactions are done by another, as in the program.

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "Contestant.h"
#include "Table.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"
#include "support/Memory.h"

namespace siftwell::bench {

void fail(const std::string& message) {
    std::fprintf(stderr, "bench_scale: %s\n", message.c_str());
    std::exit(1);
}

namespace {

using fulltext::Index;

constexpr std::size_t kCommitInterval = 1000;
constexpr std::size_t kRowEvery = 50'000;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Of this thread alone, or of all.
double processorSeconds(int whose) {
    rusage usage{};
    getrusage(whose, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// In each turn but the first, every fourth of the longer words gets another end.
std::string altered(const std::string& words, std::size_t turn) {
    constexpr std::size_t kLong = 6;
    if (turn == 0) return words;
    const std::string end = "x" + std::to_string(turn);
    std::string result;
    result.reserve(words.size() + words.size() / 8);
    for (std::size_t begin = 0; begin < words.size();) {
        const std::size_t behind = std::min(words.find(' ', begin), words.size());
        const std::string_view word = std::string_view(words).substr(begin, behind - begin);
        result += word;
        if (word.size() >= kLong && std::hash<std::string_view>()(word) % 4 == 0) result += end;
        result += ' ';
        begin = behind + 1;
    }
    return result;
}

class Scale {
public:
    explicit Scale(std::string folder) : m_path(std::move(folder) + "/pages") {}

    void run(std::size_t documents) {
        auto index = Index::create(m_path, {}, {.maintenance = &m_maintenance});
        if (!index) fail(index.status().message());
        std::printf("%10s%16s%10s%16s%10s%14s%12s%14s%12s\n", "documents", "us per document",
                    "growth", "merging, us", "file, GB", "ten best, ms", "95 %, ms", "*w*, ms",
                    "95 %, ms");
        for (std::size_t added = 0; added < documents; added += kRowEvery) {
            const std::size_t count = std::min(kRowEvery, documents - added);
            const double others = secondsOfOthers();
            const double seconds = addMore(**index, added, count);
            const double merging = secondsOfOthers() - others;
            printRow(**index, added + count, seconds / static_cast<double>(count),
                     merging / static_cast<double>(count));
        }
        if (!(*index)->close().isOk()) fail("the index could not be closed");
        index->reset();
        printOpening();
    }

private:
    static double secondsOfOthers() {
        return processorSeconds(RUSAGE_SELF) - processorSeconds(RUSAGE_THREAD);
    }

    // The time that the engine takes for it in this thread.
    double addMore(Index& index, std::size_t from, std::size_t count) {
        double seconds = 0;
        for (std::size_t i = from; i < from + count; ++i) {
            const Document& document = m_corpus.documents[i % m_corpus.documents.size()];
            const std::size_t turn = i / m_corpus.documents.size();
            const std::string words = altered(document.words, turn);
            const std::string name = document.name + '#' + std::to_string(turn);
            const double start = processorSeconds(RUSAGE_THREAD);
            if (!index.add({"file", name}, words, words)) fail("a document could not be added");
            if ((i + 1) % kCommitInterval == 0 && !index.flush().isOk()) fail("no flush");
            seconds += processorSeconds(RUSAGE_THREAD) - start;
        }
        return seconds;
    }

    void printRow(const Index& index, std::size_t documents, double secondsEach,
                  double secondsOfMerging) {
        if (m_firstSeconds == 0) m_firstSeconds = secondsEach;
        std::vector<std::string> queries;
        for (const Words& words : m_workload.ranked) {
            std::string& query = queries.emplace_back();
            for (const std::string& word : words) query += word + ' ';
        }
        std::vector<std::string> fragments;
        for (const std::string& part : m_workload.fragments) fragments.push_back('*' + part + '*');
        const std::vector<double> ranked = timesOf(index, queries);
        const std::vector<double> parts = timesOf(index, fragments);
        std::printf("%10zu%16.1f%10.2f%16.1f%10.2f%14.3f%12.3f%14.3f%12.3f\n", documents,
                    secondsEach * 1e6, secondsEach / m_firstSeconds, secondsOfMerging * 1e6,
                    static_cast<double>(index.fileBytes()) / 1e9, medianOf(ranked),
                    percentileOf(ranked, 95), medianOf(parts), percentileOf(parts, 95));
        std::fflush(stdout);
    }

    // Milliseconds of each query, the second time that it is asked.
    static std::vector<double> timesOf(const Index& index,
                                       const std::vector<std::string>& queries) {
        std::vector<double> times;
        for (int round = 0; round < 2; ++round) {
            times.clear();
            for (const std::string& query : queries) {
                const double start = now();
                if (!index.search(query)->findMatches(10, std::chrono::minutes(5))) fail("no hits");
                times.push_back(1000 * (now() - start));
            }
        }
        return times;
    }

    void printOpening() const {
        const double memory = ownMemory();
        const double start = now();
        const auto index = Index::open(m_path, std::nullopt, Index::Access::ReadOnly, {});
        if (!index) fail(index.status().message());
        const double opened = 1000 * (now() - start);
        std::printf("opening: %.2f ms, %.2f MiB of own memory\n", opened, ownMemory() - memory);
    }

    const std::string m_path;
    const Corpus m_corpus = readCorpus(1'000'000);
    const Workload m_workload = chooseWorkload(m_corpus);
    double m_firstSeconds = 0;
    fulltext::Maintenance m_maintenance;
};

}  // namespace

}  // namespace siftwell::bench

int main(int argc, char** argv) {
    using namespace siftwell::bench;
    std::size_t documents = 1'000'000;
    if (argc == 3 && std::strcmp(argv[1], "--documents") == 0) {
        documents = std::strtoul(argv[2], nullptr, 10);
    }
    if (documents == 0) fail("give a number above 0");
    std::string folder = (std::filesystem::temp_directory_path() / "scale-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) fail("there is no place to work in");
    Scale(folder).run(documents);
    std::filesystem::remove_all(folder);
    return 0;
}
