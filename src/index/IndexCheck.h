// Checking an index and its side file as a pair.
//
// Threads: any; the index may be in use.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Status.h"
#include "fulltext/Findings.h"
#include "index/IndexFiles.h"
#include "index/OpenIndex.h"

namespace siftwell {

struct CheckedIndex {
    std::string name;
    std::string path;
    std::optional<std::uint64_t> documents;  // none when it cannot be opened
    std::uint64_t withoutRecord = 0;         // documents that count as not indexed
    fulltext::Findings findings;             // what is damaged in the index file
    Status records;                          // what is damaged in the side file

    // The first damage that was found, or why the index cannot be opened.
    Status status;
};

// Reads all of both files.
CheckedIndex checkIndex(const OpenIndex& index);

// The same for files that nobody has open; it changes nothing. None for a file that is no index,
// for an index of another name, and for an empty one: those are not used either.
std::optional<CheckedIndex> checkIndexFile(const IndexFile& file);

std::uint64_t countWithoutRecord(const OpenIndex& index);

}  // namespace siftwell
