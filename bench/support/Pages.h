// The pages that benchmarks work on.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace siftwell::bench {

struct Page {
    std::string name;  // the path of its file
    std::string html;  // decoded
};

// The names of all files ending in .html or .htm below the folders that $SIFTWELL_BENCH_PAGES names
// (with colons between them), in the order of their paths; empty when it names none.
std::vector<std::filesystem::path> pageFiles();

Page readPage(const std::filesystem::path& file);

// Pages for a run without files: `count` of them, the longer the later, the same each time.
std::vector<Page> makePages(std::size_t count);

}  // namespace siftwell::bench
