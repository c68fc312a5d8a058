// InternetExplorer indexes lists of anchors: histories and bookmarks as that browser and others
// write them.
#pragma once

#include "indexers/WholeFileIndexer.h"

namespace siftwell {

class InternetExplorer : public WholeFileIndexer {
public:
    InternetExplorer(const Surroundings& surroundings,
                     std::shared_ptr<SearchItemRecord> searchItem);

    // The text's anchors that have no date, or one later than lastURLDate().
    std::vector<BatchEntry> parseEntriesInString(std::string_view text) const;

protected:
    std::optional<Entries> entriesInFile(const std::string& path) override;
};

}  // namespace siftwell
