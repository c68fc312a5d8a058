// OpenIndex: an index of the set, with the records of its documents.
//
// Threads: any.
#pragma once

#include <memory>
#include <string>

#include "base/Gate.h"
#include "fulltext/Index.h"
#include "index/DocumentProperties.h"

namespace siftwell {

struct OpenIndex {
    std::string name;  // file name relative to the index folder
    std::string path;
    std::unique_ptr<fulltext::Index> index;
    std::unique_ptr<DocumentProperties> properties;

    // Shared by whoever changes a document and its record, exclusive for writing both: what is
    // flushed has its records, whenever the program is killed.
    SharedGate pairGate;

    static std::string sideFileOf(const std::string& path) { return path + ".data"; }
};

// How the whole program refers to an index. Kept alive by whoever looks at it.
using SKIndex = std::shared_ptr<OpenIndex>;

}  // namespace siftwell
