#include "indexers/CaminoBookmarks.h"

#include <utility>

#include "sources/PropertyListPages.h"

namespace siftwell {

CaminoBookmarks::CaminoBookmarks(const Surroundings& surroundings,
                                 std::shared_ptr<SearchItemRecord> searchItem)
    : WholeFileIndexer(surroundings, std::move(searchItem), "CaminoBookmarks") {}

std::optional<WholeFileIndexer::Entries> CaminoBookmarks::entriesInFile(const std::string& path) {
    auto entries =
        caminoBookmarks(bytesOfFile(path).value_or(""), [this] { return indexingEnabled(); });
    if (!entries) return std::nullopt;
    return newEntries(*std::move(entries), lastURLDate());
}

}  // namespace siftwell
