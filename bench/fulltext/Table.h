// What was measured, as one table: a row per figure, a column per contestant.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace siftwell::bench {

// The rows of the table, in their order.
enum Figure : std::size_t {
    kIndexSeconds,
    kIndexMegabytesPerSecond,
    kIndexMemory,
    kFileBytes,
    kCompactSeconds,
    kCompactBytes,
    kCompactShare,  // of the readable text
    kOpen,
    kOpenMemory,
    kRankedMedian,
    kRanked95,
    kRankedWorst,
    kPhraseMedian,
    kPhrase95,
    kTermsMedian,
    kFragmentMedian,
    kFragment95,
    kFigures
};

using Figures = std::array<double, kFigures>;

struct Column {
    std::string name;
    std::vector<Figures> rounds;
};

double medianOf(std::vector<double> values);
double percentileOf(std::vector<double> values, double percent);

// Medians of the rounds; beside each but the first column's, how many times the first one's it is.
void printTable(const std::vector<Column>& columns);

}  // namespace siftwell::bench
