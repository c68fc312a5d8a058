// IndexFiles: the files of the index folder, and which of them may be indexes.
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

// The paths of all plain files. Links to folders are not followed.
std::vector<std::string> regularFilesBelow(const std::string& folder);

// In the order of their paths, without what stands beside indexes.
std::vector<IndexFile> indexFilesBelow(const std::string& folder);

}  // namespace siftwell
