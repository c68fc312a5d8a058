// LocalFiles indexes the readable files below folders, or files that are named; a saved web archive
// with all that it holds.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "indexers/SiftwellIndexer.h"
#include "sources/WebArchive.h"

namespace siftwell {

class LocalFiles : public SiftwellIndexer {
public:
    LocalFiles(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // On the item's first scan every file, later those that were changed after the newest one that
    // was handed over.
    void performIndexingScan() override;

    // Of a web archive all its bytes.
    std::optional<CachedData> dataFromCache(const std::string& objectPath) override;

private:
    std::vector<std::string> collectFiles();
    void indexFile(const std::string& path, std::optional<Date> date);
    void indexArchiveFile(const std::string& path, std::optional<Date> date);
    // The main resource, then the others, then the frames.
    void indexArchive(const WebArchive& archive, std::optional<Date> date,
                      const std::string& objectPath);
};

}  // namespace siftwell
