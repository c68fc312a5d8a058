// CaminoBookmarks indexes the bookmarks of Camino that were visited.
#pragma once

#include "indexers/WholeFileIndexer.h"

namespace siftwell {

class CaminoBookmarks : public WholeFileIndexer {
public:
    CaminoBookmarks(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

protected:
    // Those visited after lastURLDate().
    std::optional<Entries> entriesInFile(const std::string& path) override;
};

}  // namespace siftwell
