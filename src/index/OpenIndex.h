// OpenIndex: an index of the set, with the records of its documents.
//
// Threads: any.
#pragma once

#include <memory>
#include <string>

#include "fulltext/Index.h"
#include "index/DocumentProperties.h"

namespace siftwell {

struct OpenIndex {
    std::string name;  // file name relative to the index folder
    std::string path;
    std::unique_ptr<fulltext::Index> index;
    std::unique_ptr<DocumentProperties> properties;

    static std::string sideFileOf(const std::string& path) { return path + ".data"; }
};

// How the whole program refers to an index. Kept alive by whoever looks at it.
using SKIndex = std::shared_ptr<OpenIndex>;

}  // namespace siftwell
