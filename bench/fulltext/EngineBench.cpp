// The engine beside SQLite FTS5 and Xapian: the same documents, the same questions, one thread
// each, in turn, several rounds.
//
//   bench_engine [--documents N] [--rounds N] [--only NAME]
//
// Every contestant runs in a process of its own, so that its memory can be told from the
// documents'.

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>

#include "Contestant.h"
#include "Table.h"
#include "support/Memory.h"

namespace siftwell::bench {

void fail(const std::string& message) {
    std::fprintf(stderr, "bench_engine: %s\n", message.c_str());
    std::exit(1);
}

namespace {

constexpr std::size_t kCommitInterval = 1000;
constexpr double kMega = 1e6;
constexpr double kMebi = 1 << 20;

using SteadyClock = std::chrono::steady_clock;
using MakeContestant = std::function<std::unique_ptr<Contestant>(const std::string& folder)>;

struct Answers {
    Figures figures{};
    std::size_t rankedHits = 0;
    std::size_t phraseHits = 0;
};

double secondsOf(const std::function<void()>& work) {
    const auto start = SteadyClock::now();
    work();
    return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

double bytesBelow(const std::string& folder) {
    double bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) bytes += static_cast<double>(entry.file_size());
    }
    return bytes;
}

// Milliseconds of each question.
template <typename Questions, typename Ask>
std::vector<double> timesOf(const Questions& questions, Ask ask) {
    std::vector<double> times;
    for (const auto& question : questions)
        times.push_back(1000 * secondsOf([&] { ask(question); }));
    return times;
}

void measureIndexing(Contestant& contestant, const Corpus& corpus, const std::string& folder,
                     Figures& figures) {
    const double before = memory("VmRSS:");
    figures[kIndexSeconds] = secondsOf([&] { contestant.index(corpus, kCommitInterval); });
    figures[kIndexMegabytesPerSecond] =
        static_cast<double>(corpus.wordBytes) / kMega / figures[kIndexSeconds];
    figures[kIndexMemory] = memory("VmHWM:") - before;
    figures[kFileBytes] = bytesBelow(folder) / kMega;
    figures[kCompactSeconds] = secondsOf([&] { contestant.compact(); });
    figures[kCompactBytes] = bytesBelow(folder) / kMega;
    figures[kCompactShare] =
        figures[kCompactBytes] * kMega / static_cast<double>(corpus.readableBytes);
}

void measureQuestions(Contestant& contestant, const Workload& workload, Answers& answers) {
    Figures& figures = answers.figures;
    // Once without the clock, so that all find their files in memory.
    for (const Words& query : workload.ranked) answers.rankedHits += contestant.best(query);
    for (const Words& words : workload.phrases) answers.phraseHits += contestant.phrase(words);

    const auto ranked = timesOf(workload.ranked, [&](const Words& q) { contestant.best(q); });
    figures[kRankedMedian] = medianOf(ranked);
    figures[kRanked95] = percentileOf(ranked, 95);
    figures[kRankedWorst] = percentileOf(ranked, 100);
    const auto phrases = timesOf(workload.phrases, [&](const Words& q) { contestant.phrase(q); });
    figures[kPhraseMedian] = medianOf(phrases);
    figures[kPhrase95] = percentileOf(phrases, 95);

    std::vector<double> terms;
    std::vector<double> fragments;
    for (const std::string& part : workload.fragments) {
        terms.push_back(1000 * secondsOf([&] { contestant.findTerms(part); }));
        fragments.push_back(1000 * secondsOf([&] { contestant.bestWithFoundTerms(part); }));
    }
    figures[kTermsMedian] = medianOf(terms);
    figures[kFragmentMedian] = medianOf(fragments);
    figures[kFragment95] = percentileOf(fragments, 95);
}

Answers measure(const MakeContestant& make, const Corpus& corpus, const Workload& workload,
                const std::string& folder) {
    Answers answers;
    measureIndexing(*make(folder), corpus, folder, answers.figures);
    const auto contestant = make(folder);
    const double before = ownMemory();
    answers.figures[kOpen] = 1000 * secondsOf([&] { contestant->open(); });
    answers.figures[kOpenMemory] = ownMemory() - before;
    measureQuestions(*contestant, workload, answers);
    return answers;
}

Answers measureInProcess(const MakeContestant& make, const Corpus& corpus,
                         const Workload& workload) {
    std::string folder = (std::filesystem::temp_directory_path() / "engine-XXXXXX").string();
    int ends[2];
    if (mkdtemp(folder.data()) == nullptr || pipe(ends) != 0) fail("there is no place to work in");
    const pid_t child = fork();
    if (child == 0) {
        const Answers answers = measure(make, corpus, workload, folder);
        const auto written = write(ends[1], &answers, sizeof answers);
        _exit(written == sizeof answers ? 0 : 1);
    }
    close(ends[1]);
    Answers answers;
    const auto got = read(ends[0], &answers, sizeof answers);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    std::filesystem::remove_all(folder);
    if (got != sizeof answers || status != 0) fail("a contestant ended early");
    return answers;
}

struct Options {
    std::size_t documents = 1'000'000;
    std::size_t rounds = 3;
    std::string only;
};

Options optionsIn(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        if (name == "--documents") options.documents = std::strtoul(argv[i + 1], nullptr, 10);
        if (name == "--rounds") options.rounds = std::strtoul(argv[i + 1], nullptr, 10);
        if (name == "--only") options.only = argv[i + 1];
    }
    if (options.documents == 0 || options.rounds == 0) fail("give numbers above 0");
    return options;
}

std::vector<MakeContestant> contestants() {
    std::vector<MakeContestant> all = {
        makeSiftwell,
        [](const std::string& folder) { return makeFts5(folder, false); },
        [](const std::string& folder) { return makeFts5(folder, true); },
    };
#ifdef SIFTWELL_HAS_XAPIAN
    all.push_back(makeXapian);
#endif
    return all;
}

void run(const Options& options) {
    const Corpus corpus = readCorpus(options.documents);
    std::printf("%zu documents, %.1f MB of readable text, %.1f MB of words; %zu rounds\n",
                corpus.documents.size(), static_cast<double>(corpus.readableBytes) / kMega,
                static_cast<double>(corpus.wordBytes) / kMega, options.rounds);
    const Workload workload = chooseWorkload(corpus);
    std::vector<Column> columns;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        std::size_t place = 0;
        for (const MakeContestant& make : contestants()) {
            const std::string name = make("")->name();
            if (!options.only.empty() && name != options.only) continue;
            const Answers answers = measureInProcess(make, corpus, workload);
            if (round == 0) {
                columns.push_back({name, {}});
                std::printf("%s: %zu hits for words, %zu for phrases\n", name.c_str(),
                            answers.rankedHits, answers.phraseHits);
                std::fflush(stdout);
            }
            columns[place++].rounds.push_back(answers.figures);
        }
    }
    if (columns.empty()) fail("there is no contestant of that name");
    printTable(columns);
}

}  // namespace

}  // namespace siftwell::bench

int main(int argc, char** argv) {
    siftwell::bench::run(siftwell::bench::optionsIn(argc, argv));
    return 0;
}
