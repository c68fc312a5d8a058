// Indexers: the indexer classes by the names that search items give them.
//
// Threads: any.
#pragma once

#include <memory>
#include <string>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

// Null when no class bears the name.
std::unique_ptr<SiftwellIndexer> makeIndexer(const std::string& className,
                                             const SiftwellIndexer::Surroundings& surroundings,
                                             std::shared_ptr<SearchItemRecord> searchItem);

// Whether there is a class of that name.
bool hasIndexer(const std::string& className);

// Whether the indexer reads files of this computer alone, so that a scan without a network loses
// nothing: the addresses that other indexers hand over would count as tried.
bool worksWithoutNetwork(const SearchItem& item);

}  // namespace siftwell
