// SafariBookmarks indexes the bookmarks of Safari, its reading list among them.
#pragma once

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class SafariBookmarks : public SiftwellIndexer {
public:
    SafariBookmarks(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // Hands over what all changed files hold, at once.
    void performIndexingScan() override;

private:
    // Every bookmark that may be indexed; without its date when that is not later than
    // lastURLDate().
    void appendBookmarks(const std::string& inFile, std::vector<BatchEntry>& to);
};

}  // namespace siftwell
