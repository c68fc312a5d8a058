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

// Whether items of that class are left alone: the list offers it, but its reader comes with a later
// version of the program.
bool isStillToCome(const std::string& indexer);

}  // namespace siftwell
