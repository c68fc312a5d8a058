// IndexSizes: how much each index holds.
//
// Threads: any. Cost: a look at the folder for each file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "index/IndexSet.h"

namespace siftwell {

struct IndexSize {
    std::string name;
    std::uint64_t documents = 0;
    std::uint64_t bytes = 0;  // of all its files

    bool operator==(const IndexSize&) const = default;
};
std::vector<IndexSize> sizesOf(const IndexSet::List& indexes);

IndexSize sumOf(const std::vector<IndexSize>& sizes);  // without a name

}  // namespace siftwell
