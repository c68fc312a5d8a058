// Checking an index and its side file as a pair.
//
// Threads: any; the index may be in use.
#pragma once

#include <cstdint>
#include <string>

#include "base/Status.h"
#include "index/OpenIndex.h"

namespace siftwell {

struct CheckedIndex {
    std::string name;
    std::uint64_t documents = 0;
    std::uint64_t withoutRecord = 0;  // documents that count as not indexed
    Status status;                    // the first damage that was found
};

// Reads all of both files.
CheckedIndex checkIndex(const OpenIndex& index);

}  // namespace siftwell
