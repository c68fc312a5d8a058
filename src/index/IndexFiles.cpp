#include "index/IndexFiles.h"

#include <algorithm>
#include <filesystem>

#include "base/Files.h"
#include "index/IndexNaming.h"
#include "text/NormalForm.h"

namespace siftwell {

std::vector<IndexFile> indexFilesBelow(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(
        folder, std::filesystem::directory_options::skip_permission_denied, error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(error)) {
        std::error_code ignored;
        if (!entry->is_regular_file(ignored)) continue;
        std::string name = entry->path().lexically_relative(folder).string();
        if (!isExtensionBesideIndexes(pathExtension(name))) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    std::vector<IndexFile> files;
    for (const std::string& name : names) {
        std::string path = folder;
        path.append(1, '/').append(name);
        files.push_back({composed(name), std::move(path)});
    }
    return files;
}

}  // namespace siftwell
