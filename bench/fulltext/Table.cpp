#include "Table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace siftwell::bench {

namespace {

constexpr std::array<const char*, kFigures> kLabels = {
    "indexing, s",       "indexing, MB of text/s", "indexing, own MiB",   "file, MB",
    "compacting, s",     "file compacted, MB",     "  share of the text", "opening, ms",
    "open, own MiB",     "ten best, median ms",    "ten best, 95 % ms",   "ten best, worst ms",
    "phrase, median ms", "phrase, 95 % ms",        "terms of *w*, ms",    "*w*, median ms",
    "*w*, 95 % ms",
};

Figures medians(const Column& column) {
    Figures result{};
    for (std::size_t figure = 0; figure < kFigures; ++figure) {
        std::vector<double> values;
        for (const Figures& round : column.rounds) values.push_back(round[figure]);
        result[figure] = medianOf(std::move(values));
    }
    return result;
}

}  // namespace

double percentileOf(std::vector<double> values, double percent) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const double place = std::ceil(percent / 100 * static_cast<double>(values.size()));
    return values[static_cast<std::size_t>(std::max(place, 1.0)) - 1];
}

double medianOf(std::vector<double> values) { return percentileOf(std::move(values), 50); }

void printTable(const std::vector<Column>& columns) {
    std::printf("%-24s", "");
    for (const Column& column : columns) std::printf("%24s", column.name.c_str());
    std::printf("\n");
    std::vector<Figures> results;
    for (const Column& column : columns) results.push_back(medians(column));
    for (std::size_t figure = 0; figure < kFigures; ++figure) {
        std::printf("%-24s", kLabels[figure]);
        const double own = results.front()[figure];
        for (std::size_t i = 0; i < results.size(); ++i) {
            const double value = results[i][figure];
            std::printf("%14.3f", value);
            if (i == 0 || own <= 0) {
                std::printf("%10s", "");
            } else {
                std::printf(" x%-8.2f", value / own);
            }
        }
        std::printf("\n");
    }
}

}  // namespace siftwell::bench
