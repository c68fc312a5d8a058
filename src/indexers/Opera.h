// Opera indexes the histories and bookmarks of the Opera that had its own engine.
#pragma once

#include "indexers/WholeFileIndexer.h"

namespace siftwell {

class Opera : public WholeFileIndexer {
public:
    Opera(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // All pages of the text, however old and whether or not they may be indexed: which of them are
    // new is left to the index.
    std::vector<BatchEntry> parseEntriesInString(std::string_view text) const;

protected:
    std::optional<Entries> entriesInFile(const std::string& path) override;
};

}  // namespace siftwell
