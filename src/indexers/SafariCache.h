// SafariCache indexes pages out of caches as programs of the Mac keep them: from the very bytes
// that a person saw, without asking for them again.
//
// A folder of such a cache holds databases (Cache.db), and in older versions a file for each page.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class SafariCache : public SiftwellIndexer {
public:
    SafariCache(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // What was changed since lastScanDate(), which moves on with every database and every page that
    // is a file: a database that is older than one before it in the folder is left out, and of one
    // that is newer only what is later than that.
    void performIndexingScan() override;

    // `objectPath` is a file of a page, or a database, "&entry_ID=" and a number. Of the latter
    // only what lies within the database: the files beside it come and go.
    std::optional<CachedData> dataFromCache(const std::string& objectPath) override;

private:
    std::vector<std::string> changedFiles();
    void indexFile(const std::string& path);
    bool indexPage(const std::string& path, Date modified);  // false when it is none
    void indexDatabase(const std::string& path, Date modified);
    void indexEntries(PLSqliteDatabase& database, const std::string& path);
    std::optional<CachedURLResponse> responseAt(const std::string& objectPath);
};

}  // namespace siftwell
