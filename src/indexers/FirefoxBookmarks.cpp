#include "indexers/FirefoxBookmarks.h"

#include "base/Files.h"
#include "sources/PathExpansion.h"

namespace siftwell {

std::vector<std::string> FirefoxBookmarks::pathsToRead() {
    std::vector<std::string> databases = paths();
    if (!databases.empty()) return databases;
    const std::string path = searchItem()->item().Path;
    const std::string folder = path.substr(0, path.size() - lastPathComponent(path).size());
    return pathsByExpandingAndGlobbing(folder + "bookmarkbackups", m_surroundings.paths);
}

}  // namespace siftwell
