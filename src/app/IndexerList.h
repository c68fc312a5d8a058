// IndexerList: the kinds of sources that a user may add.
#pragma once

#include <string>
#include <vector>

namespace siftwell {

struct IndexerChoice {
    std::string displayName;  // localized
    std::string indexer;      // the class that reads it

    bool operator==(const IndexerChoice&) const = default;
};

std::vector<IndexerChoice> indexerList();

}  // namespace siftwell
