// IndexSalvager indexes anew the pages whose addresses stand in an index file, however damaged it
// is: a file of this program, also one that a repair has set aside.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class IndexSalvager : public SiftwellIndexer {
public:
    IndexSalvager(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // Reads each file when it was changed since the last scan.
    void performIndexingScan() override;

private:
    void indexFileWithPath(const std::string& path);
};

}  // namespace siftwell
