// OmniWebHistory is the history of OmniWeb, which cannot be scanned: see entriesInFile.
#pragma once

#include "indexers/WholeFileIndexer.h"

namespace siftwell {

class OmniWebHistory : public WholeFileIndexer {
public:
    OmniWebHistory(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // The visits in a file's bytes that were made after lastScanDate(): not after lastURLDate(), as
    // everywhere else. None when they are no property list.
    std::optional<Entries> parseHistory(std::string_view bytes);

protected:
    // Throws "UnrecognisedOperation": the file is asked of the indexer's own `path`, and no indexer
    // has one. So it has always been, and so it stays: whoever switches such an item on is told by
    // the first scan that it does not work, which switches it off again.
    std::optional<Entries> entriesInFile(const std::string& path) override;
};

}  // namespace siftwell
