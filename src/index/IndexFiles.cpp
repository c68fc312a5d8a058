#include "index/IndexFiles.h"

#include <algorithm>
#include <filesystem>

#include "base/Files.h"
#include "index/IndexNaming.h"
#include "text/NormalForm.h"

namespace siftwell {

std::vector<std::string> regularFilesBelow(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(
        folder, std::filesystem::directory_options::skip_permission_denied, error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored)) paths.push_back(entry->path().string());
    }
    return paths;
}

std::vector<IndexFile> indexFilesBelow(const std::string& folder) {
    std::vector<IndexFile> files;
    for (std::string& path : regularFilesBelow(folder)) {
        if (isExtensionBesideIndexes(pathExtension(path))) continue;
        const std::string name = std::filesystem::path(path).lexically_relative(folder).string();
        files.push_back({composed(name), std::move(path)});
    }
    std::sort(files.begin(), files.end(),
              [](const IndexFile& a, const IndexFile& b) { return a.path < b.path; });
    return files;
}

}  // namespace siftwell
