// IndexFiles: which files of the index folder may be indexes.
//
// Threads: any.
#pragma once

#include <string>
#include <vector>

namespace siftwell {

struct IndexFile {
    std::string name;  // relative to the folder, precomposed
    std::string path;
};

// In the order of their paths. Links to folders are not followed; what stands beside indexes is
// left out.
std::vector<IndexFile> indexFilesBelow(const std::string& folder);

}  // namespace siftwell
