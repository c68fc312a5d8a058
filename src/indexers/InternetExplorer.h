// InternetExplorer indexes lists of anchors: histories and bookmarks as that browser and others
// write them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class InternetExplorer : public SiftwellIndexer {
public:
    InternetExplorer(const Surroundings& surroundings,
                     std::shared_ptr<SearchItemRecord> searchItem);

    // Each file that was changed since lastScanDate() is read and handed over on its own. One that
    // cannot be read or is empty is passed over without moving that date.
    void performIndexingScan() override;

    // The text's anchors that have no date, or one later than lastURLDate().
    std::vector<BatchEntry> parseEntriesInString(std::string_view text) const;

private:
    void indexFile(const std::string& path, Date modified);
};

}  // namespace siftwell
